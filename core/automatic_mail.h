#pragma once

#include <optional>
#include <string>

#include "core/mail_address.h"

class HeaderFields;
struct Mail_content;

/// Telling mail of machines from mail of people by what the message itself says of it. The rules
/// and where they come from: docs/whom-it-answers.md.

/// Why `mail` is taken for a machine's, as the end of a message about it such as "List-Id: field";
/// null when no rule speaks. `header` is its header, `envelope_sender` null where it is not known.
/// Of several reasons the first is named: the envelope sender, then the fields in the order of the
/// header, then the sender. No part of the message is in the text.
std::optional<std::string> machine_reason(const Mail_content& mail,
                                          const std::optional<MailAddress>& envelope_sender,
                                          const HeaderFields& header);
