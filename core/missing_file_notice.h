#pragma once

#include <string>

#include "support/db.h"

struct Mail_content;

/// Tells the client who owns the recipient's domain that files of a responder are missing.
///
/// `escaped_domain` is the domain of the recipient's address, escaped for SQL; `reply_to` the
/// responder's Reply-To address, may be empty; `missing` the missing names, each with a line feed
/// behind it. A notice that cannot be sent is reported on standard error and left at that: the
/// reply goes out all the same.
void send_missing_file_notice(MYSQL* connection, const Mail_content& mail,
                              const std::string& escaped_domain, const std::string& reply_to,
                              const std::string& missing);
