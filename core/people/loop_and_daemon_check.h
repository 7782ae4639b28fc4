// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace autoresponder {

struct Mail_content;

/// Why answering `mail` would make mail go in circles, as the text to report; null when it would
/// not. Only the sender's address is looked at, byte for byte: a sender equal to the recipient
/// comes first, then the names under which mail systems send their own notices.
const char* loop_reason(const Mail_content& mail);

}  // namespace autoresponder
