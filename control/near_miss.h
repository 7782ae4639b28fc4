#pragma once

#include <string>

#include <mimelib/mimepp.h>

#include "core/mail_content.h"
#include "core/responder_row.h"

/// `text`, UTF-8, in lower case. Bytes that are not UTF-8 stay as they are.
std::string in_lower_case(const std::string& text);

/// The one thing that keeps the key word of `responder`, which was not found, from being found in
/// `mail`: its letter case, a line break, or that it stands where it is not looked for. Empty if it
/// is none of these. `message` is what `mail` was taken from.
std::string near_miss(const ResponderRow& responder, const Mail_content& mail,
                      const DwMessage& message);
