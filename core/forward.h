#pragma once

#include <string>

#include "support/db.h"

struct Mail_content;

/// Sends the incoming message, byte for byte as it lies in the file `mail_file_name`, to the
/// addresses that table resp_forward lists for the responder `rn_id`: one run of the mail program
/// for all of them, with the recipient of `mail` as envelope sender. Does nothing when there are
/// none.
///
/// A message that cannot be forwarded is reported on standard error; a failed query ends the run.
void forward(st_mysql* connection, Mail_content* mail, std::string rn_id);
