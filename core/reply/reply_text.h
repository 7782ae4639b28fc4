// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace autoresponder {

/// The text of a reply as it is sent.
struct ReplyText {
    std::string bytes;
    std::string charset;
};

/// `text`, UTF-8, in `charset`, or as it is where it cannot be converted. The mailbox's owner chose
/// both, so they are converted in a confined process, unless there is nothing to convert. Throws
/// std::bad_alloc.
ReplyText reply_text(const std::string& text, const std::string& charset);

}  // namespace autoresponder
