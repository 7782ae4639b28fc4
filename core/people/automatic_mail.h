// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

#include "core/message/mail_address.h"

/// Tells the mail of machines from that of people by what the message itself says. The rules and
/// their sources: docs/whom-it-answers.md.
namespace autoresponder {

class HeaderFields;
struct Mail_content;

/// The envelope sender of the message that this run is about (RFC 5321, 4.5.5 and 4.4): the
/// environment variable SENDER, which qmail-local sets (qmail-command(8)), else RETURN_PATH, else
/// the first Return-Path field. Both parts are empty for a message from nobody, as notices about
/// failed deliveries are; null if it is not known.
std::optional<MailAddress> envelope_sender(const HeaderFields& header);

/// Why `mail` is taken for a machine's, as the end of a message about it such as "List-Id: field";
/// null if no rule applies. `header` is its header; `envelope_sender` is null if it is not known.
/// The first reason found is returned, from the envelope sender, then the fields in the order of
/// the header, then the sender. The text quotes nothing of the message.
std::optional<std::string> machine_reason(const Mail_content& mail,
                                          const std::optional<MailAddress>& envelope_sender,
                                          const HeaderFields& header);

}  // namespace autoresponder
