#include "core/responder_row.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/control_characters.h"
#include "core/database.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"

namespace {

// memmem, because its time stays linear for any text, and the text comes from strangers.
bool contains(std::string_view text, const std::string& key) {
    return memmem(text.data(), text.size(), key.data(), key.size()) != nullptr;
}

}  // namespace

QueryResult select_responders(MYSQL* connection, const std::string& mailbox_id) {
    return rows_or_end_run(
        connection,
        "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to,"
        " charset, content_type from mail_resp where mn_id=" +
            mailbox_id);
}

ResponderRow read_responder_row(const QueryResult& rows) {
    return {.id = rows.text(0, "0"),
            .keystr = rows.text(1, ""),
            .key_where = rows.text(2, "no"),
            .text = rows.text(3, ""),
            .resp_on = rows.text(4, "false"),
            .ans_freq = rows.text(5, "10"),
            .mem_limit = rows.text(6, "1000"),
            .subject = rows.text(7, ""),
            .reply_to = rows.text(8, ""),
            .charset = rows.text(9, "UTF-8"),
            .content_type = rows.text(10, "text/plain")};
}

void make_header_values_safe(ResponderRow& responder) {
    const auto replace = [&](std::string& value, const char* by, const char* change) {
        if (has_control_character(value)) {
            value = by;
            report("autoresponder: Responder ", responder.id, ": ", change);
        }
    };
    replace(responder.reply_to, "", "reply_to holds a control character, left out");
    replace(responder.charset, "UTF-8", "charset holds a control character, UTF-8 used");
    replace(responder.content_type, "text/plain",
            "content_type holds a control character, text/plain used");
}

bool is_on(const ResponderRow& responder) {
    return responder.resp_on != "false";
}

bool key_matches(const ResponderRow& responder, const Mail_content& mail) {
    if (responder.key_where == "subj") {
        return contains(mail.subject, responder.keystr);
    }
    if (responder.key_where == "body") {
        return std::ranges::any_of(mail.body_lines, [&responder](std::string_view line) {
            return contains(line, responder.keystr);
        });
    }
    return true;
}

bool applies_to(const ResponderRow& responder, const Mail_content& mail) {
    return is_on(responder) && key_matches(responder, mail);
}
