// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace autoresponder {

class Session;
struct Mail_content;

/// A number as the panel stores it: as text, which is read with atoi(3).
struct PanelNumber {
    explicit PanelNumber(std::string stored = "0");

    std::string text;
    int value;
};

/// Where a responder looks for its key word.
enum class KeyPlace { kNoKey, kSubject, kText };

/// The values of a responder that stand in headers of its replies as they are.
struct HeaderValues {
    std::string reply_to = {};      ///< Reply-To address; empty: none
    std::string charset = {};       ///< of the text
    std::string content_type = {};  ///< of the text
};

/// One responder of a mailbox: a row of mail_resp, with the defaults that stand for SQL NULL.
struct ResponderRow {
    std::string id = {};                    ///< key of resp_attach, resp_freq and resp_forward
    std::string key = {};                   ///< key word
    KeyPlace key_place = KeyPlace::kNoKey;  ///< kNoKey: the responder answers everything
    std::string text = {};                  ///< body of the reply, UTF-8
    bool on = true;
    PanelNumber ans_freq = PanelNumber();   ///< replies per sender and day
    PanelNumber mem_limit = PanelNumber();  ///< senders remembered
    std::string subject = {};  ///< subject template; empty: "Re: " and the incoming subject
    HeaderValues header = {};
};

/// The responders of a mailbox, in the server's order. Throws EndOfRun if the statement fails.
std::vector<ResponderRow> read_responders(Session& session, const std::string& mailbox_id);

/// Whether the responder's key word occurs in `mail` where it is looked for. Compares bytes; an
/// empty key word occurs everywhere, and so does one that is looked for nowhere.
bool key_occurs(const ResponderRow& responder, const Mail_content& mail);

/// Why the responder does not apply to `mail`; null if it is on and its key word occurs.
std::optional<std::string> why_not_applying(const ResponderRow& responder,
                                            const Mail_content& mail);

/// The values of the responder for headers, with defaults in place of those that contain a control
/// character: with a newline, whoever may write to the panel could write headers of their own. A
/// charset with a quote or backslash is replaced, too, as it stands between quotes (RFC 2045,
/// section 5.1) and could end them. Each replacement is reported on standard error.
HeaderValues safe_header_values(const ResponderRow& responder);

}  // namespace autoresponder
