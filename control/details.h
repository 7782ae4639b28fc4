// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

#include <mimelib/mimepp.h>

#include "control/explanation.h"

namespace autoresponder::control {

/// What is shown of a message besides its story.
struct MessageDetails {
    std::string text_type = {};                 ///< as in Explanation
    std::vector<ExplainedPart> parts = {};      ///< as in Explanation
    std::vector<std::string> near_misses = {};  ///< one for each of the story's responders
};

/// Looks into the message `text` once more, in a confined process, as a stranger wrote it. `story`
/// is that of the message, which could be read. Throws Failure if that process does not do its
/// work.
MessageDetails details_of(const DwString& text, const Story& story);

}  // namespace autoresponder::control
