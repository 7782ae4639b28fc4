#pragma once

#include <string>
#include <vector>

#include "support/db.h"

struct Mail_content;

/// The addresses that table resp_forward lists for the responder `rn_id`, in the order of the rows.
/// One that the mail program must not be given is left out, with a line on standard error. Throws
/// EndOfRun if the statement fails.
std::vector<std::string> forward_addresses(MYSQL* connection, const std::string& rn_id);

/// Sends the copy of the incoming message, byte for byte, to the forward addresses of the responder
/// `rn_id`: one run of the mail program for all of them, with the recipient of `mail` as envelope
/// sender. Does nothing when there are none.
///
/// A message that cannot be forwarded, or only cut short, is reported on standard error. Throws
/// EndOfRun as forward_addresses does.
void forward(st_mysql* connection, Mail_content* mail, std::string rn_id);
