#pragma once

#include <string>

#include "support/db.h"

struct Mail_content;
class QueryResult;

/// One responder of a mailbox: a row of mail_resp, with the defaults that stand for SQL NULL.
struct ResponderRow {
    std::string id;            ///< key of resp_attach, resp_freq and resp_forward
    std::string keystr;        ///< text to look for
    std::string key_where;     ///< "subj", "body"; anything else: no condition
    std::string text;          ///< body of the reply, UTF-8
    std::string resp_on;       ///< on unless exactly "false"
    std::string ans_freq;      ///< replies per sender and day, a number as text
    std::string mem_limit;     ///< senders remembered, a number as text
    std::string subject;       ///< subject template; empty: "Re: " and the incoming subject
    std::string reply_to;      ///< Reply-To address of the reply; empty: none
    std::string charset;       ///< charset of the reply's text
    std::string content_type;  ///< content type of the reply's text
};

/// The rows of a mailbox's responders, to be read with read_responder_row. Throws EndOfRun if the
/// statement fails.
QueryResult select_responders(MYSQL* connection, const std::string& mailbox_id);

/// Reads the current row of what select_responders returned.
ResponderRow read_responder_row(const QueryResult& rows);

/// Replaces the values that stand in headers as they are, Reply-To address, charset and content
/// type, where they hold a control character: with a line end, whoever may write to the panel could
/// write headers of their own. A line on standard error tells of each.
void make_header_values_safe(ResponderRow& responder);

/// Whether the responder is switched on: unless its column says exactly "false".
bool is_on(const ResponderRow& responder);

/// Whether the responder's key word, if it has a condition, occurs where it is looked for. Compares
/// bytes; an empty key word occurs everywhere.
bool key_matches(const ResponderRow& responder, const Mail_content& mail);

/// Whether the responder is on and its key word matches.
bool applies_to(const ResponderRow& responder, const Mail_content& mail);
