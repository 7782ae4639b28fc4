#include "core/responder_row.h"

#include <algorithm>
#include <cstring>

#include "core/database.h"
#include "core/mail_content.h"

namespace {

// memmem, because its time stays linear for any text, and the text comes from strangers.
bool contains(const std::string& text, const std::string& key) {
    return memmem(text.data(), text.size(), key.data(), key.size()) != nullptr;
}

}  // namespace

std::string responder_rows_of(const std::string& mailbox_id) {
    return "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to,"
           " charset, content_type from mail_resp where mn_id=" +
           mailbox_id;
}

ResponderRow read_responder_row(const QueryResult& result) {
    return {.id = result.text(0, "0"),
            .keystr = result.text(1, ""),
            .key_where = result.text(2, "no"),
            .text = result.text(3, ""),
            .resp_on = result.text(4, "false"),
            .ans_freq = result.text(5, "10"),
            .mem_limit = result.text(6, "1000"),
            .subject = result.text(7, ""),
            .reply_to = result.text(8, ""),
            .charset = result.text(9, "UTF-8"),
            .content_type = result.text(10, "text/plain")};
}

bool applies_to(const ResponderRow& responder, const Mail_content& mail) {
    if (responder.resp_on == "false") {
        return false;
    }
    if (responder.key_where == "subj") {
        return contains(mail.subject, responder.keystr);
    }
    if (responder.key_where == "body") {
        return std::ranges::any_of(mail.body_lines, [&responder](const std::string& line) {
            return contains(line, responder.keystr);
        });
    }
    return true;
}
