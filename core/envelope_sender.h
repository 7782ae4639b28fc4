#pragma once

#include <optional>

#include "core/mail_address.h"

class HeaderFields;

/// The envelope sender of the message that this run is about (RFC 5321, 4.5.5 and 4.4): the
/// environment variable SENDER, which qmail-local sets (qmail-command(8)), else RETURN_PATH, else
/// the first Return-Path field. Both parts are empty for a message from nobody, as notices about
/// failed deliveries are; null if it is not known.
std::optional<MailAddress> envelope_sender(const HeaderFields& header);
