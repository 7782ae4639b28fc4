// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

#include <mimelib/mimepp.h>

#include "core/message/mail_content.h"
#include "core/panel/responder.h"

namespace autoresponder::control {

/// The one thing that keeps the key word of `responder`, which was not found, from being found in
/// `mail`: its letter case, a line break, or that it stands where it is not looked for. Empty if it
/// is none of these. `message` is what `mail` was taken from.
std::string near_miss(const ResponderRow& responder, const Mail_content& mail,
                      const DwMessage& message);

}  // namespace autoresponder::control
