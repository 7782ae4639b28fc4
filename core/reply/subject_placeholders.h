// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace autoresponder {

struct Mail_content;
struct ResponderRow;

/// The subject of the reply, UTF-8, not yet encoded: the responder's own with its placeholders
/// filled in, else "Re: " and the incoming subject.
///
/// The values of the placeholders are those of the first message of the process, which must stay
/// in place as long as this is called.
std::string reply_subject(const Mail_content& mail, const ResponderRow& responder);

}  // namespace autoresponder
