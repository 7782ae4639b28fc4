// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>

#include <string>
#include <vector>

#include "support/result.h"

namespace autoresponder {

class Session;
struct Mail_content;

/// The addresses that table resp_forward lists for the responder `rn_id`, in the order of the rows.
/// One that the mail program must not be given is left out, with a line on standard error. Throws
/// EndOfRun if the statement fails.
std::vector<std::string> forward_addresses(Session& session, const std::string& rn_id);

/// Sends the copy of the incoming message, byte for byte, to all of `addresses` with one run of the
/// mail program. `whole` is whether the copy is whole; a copy that is cut short is sent, too.
/// Returns the status of the mail program. A failure is reported on standard error.
int send_copy(const std::string& sender, const std::vector<std::string>& addresses,
              tolva::Result<void> whole);

/// Sends the copy of the incoming message to the forward addresses of the responder `rn_id`, with
/// the recipient of `mail` as envelope sender, for tools of the panel that have a connection. Does
/// nothing when there are none. Throws as forward_addresses does.
void forward(st_mysql* connection, Mail_content* mail, std::string rn_id);

}  // namespace autoresponder
