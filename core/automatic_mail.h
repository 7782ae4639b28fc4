#pragma once

#include <optional>
#include <string>

#include "core/mail_address.h"

class HeaderFields;
struct Mail_content;

/// Tells the mail of machines from that of people by what the message itself says. The rules and
/// their sources: docs/whom-it-answers.md.

/// Why `mail` is taken for a machine's, as the end of a message about it such as "List-Id: field";
/// null if no rule applies. `header` is its header; `envelope_sender` is null if it is not known.
/// The first reason found is returned, from the envelope sender, then the fields in the order of
/// the header, then the sender. The text quotes nothing of the message.
std::optional<std::string> machine_reason(const Mail_content& mail,
                                          const std::optional<MailAddress>& envelope_sender,
                                          const HeaderFields& header);
