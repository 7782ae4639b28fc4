#pragma once

#include <string>

#include "support/db.h"

struct Mail_content;

/// Decides whether the responder `rn_id` may answer the sender of `mail` once more today, and if so
/// counts the reply in table resp_freq.
///
/// `ans_freq` is the number of replies per sender and calendar day of the database server,
/// `mem_limit` the number of senders remembered; both are read with atoi(3). No value means
/// unlimited. Returns 1 when the reply may be sent, 0 when not. Ends the run if a query fails.
int can_response_freq(st_mysql* connection, Mail_content* mail, std::string rn_id,
                      std::string ans_freq, std::string mem_limit);
