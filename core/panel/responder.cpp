// SPDX-License-Identifier: Apache-2.0

#include "core/panel/responder.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "core/run/diagnostics.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

KeyPlace key_place(std::string_view key_where) {
    if (key_where == "subj") {
        return KeyPlace::kSubject;
    }
    return key_where == "body" ? KeyPlace::kText : KeyPlace::kNoKey;
}

ResponderRow read_row(const QueryResult& rows) {
    return {.id = rows.text(0, "0"),
            .key = rows.text(1, ""),
            .key_place = key_place(rows.text(2, "no")),
            .text = rows.text(3, ""),
            .on = rows.text(4, "false") != "false",
            .ans_freq = PanelNumber(rows.text(5, "10")),
            .mem_limit = PanelNumber(rows.text(6, "1000")),
            .subject = rows.text(7, ""),
            .header = {.reply_to = rows.text(8, ""),
                       .charset = rows.text(9, "UTF-8"),
                       .content_type = rows.text(10, "text/plain")}};
}

}  // namespace

PanelNumber::PanelNumber(std::string stored)
    : text(std::move(stored)), value(std::atoi(text.c_str())) {}

std::vector<ResponderRow> read_responders(Session& session, const std::string& mailbox_id) {
    QueryResult rows = session.ask_or_end_run(
        "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to,"
        " charset, content_type from mail_resp where mn_id=" +
        mailbox_id);
    std::vector<ResponderRow> responders;
    while (rows.fetch()) {
        responders.push_back(read_row(rows));
    }
    return responders;
}

bool key_occurs(const ResponderRow& responder, const Mail_content& mail) {
    switch (responder.key_place) {
        case KeyPlace::kSubject:
            return tolva::contains(mail.subject, responder.key);
        case KeyPlace::kText:
            return std::ranges::any_of(mail.body_lines, [&responder](std::string_view line) {
                return tolva::contains(line, responder.key);
            });
        case KeyPlace::kNoKey:
            break;
    }
    return true;
}

std::optional<std::string> why_not_applying(const ResponderRow& responder,
                                            const Mail_content& mail) {
    if (!responder.on) {
        return "it is switched off";
    }
    if (key_occurs(responder, mail)) {
        return std::nullopt;
    }
    return responder.key_place == KeyPlace::kSubject ? "its key word is not in the subject"
                                                     : "its key word is not in the text";
}

HeaderValues safe_header_values(const ResponderRow& responder) {
    HeaderValues values = responder.header;
    const auto replace = [&](std::string& value, const char* by, const char* change) {
        value = by;
        report("autoresponder: Responder ", responder.id, ": ", change);
    };
    if (tolva::has_control_character(values.reply_to)) {
        replace(values.reply_to, "", "reply_to holds a control character, left out");
    }
    if (tolva::has_control_character(values.charset)) {
        replace(values.charset, "UTF-8", "charset holds a control character, UTF-8 used");
    } else if (values.charset.find_first_of("\"\\") != std::string::npos) {
        replace(values.charset, "UTF-8", "charset holds a quote or backslash, UTF-8 used");
    }
    if (tolva::has_control_character(values.content_type)) {
        replace(values.content_type, "text/plain",
                "content_type holds a control character, text/plain used");
    }
    return values;
}

}  // namespace autoresponder
