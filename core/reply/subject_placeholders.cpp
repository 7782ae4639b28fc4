// SPDX-License-Identifier: Apache-2.0

#include "core/reply/subject_placeholders.h"

#include <array>
#include <cstddef>

#include "core/message/mail_content.h"
#include "core/panel/responder.h"
#include "support/template.h"

namespace autoresponder {

namespace {

// Sorted by name, as templ_replace needs it. Filled once: the values point into the first message.
const std::array<par_templ, 5>& autoresp_templs(const Mail_content& mail) {
    static const std::array<par_templ, 5> templs{{
        {"incoming_message_subject", mail.subject.c_str()},
        {"orig_emails_sender_mailname", mail.from.c_str()},
        {"orig_emails_subj", mail.subject.c_str()},
        {"request_from", mail.from.c_str()},
        {"request_subject", mail.subject.c_str()},
    }};
    return templs;
}

std::string fill_in(const std::string& subject, const Mail_content& mail) {
    const auto& templs = autoresp_templs(mail);
    std::array<char, 1000> filled{};
    repl_ctl control{};
    control.input_flags = TEMPL_KEEP_UNKNOWN;
    templ_replace('<', '>', templs.data(), templs.size(), subject.c_str(), filled.data(),
                  filled.size() - 1, &control);
    return {filled.data(), static_cast<std::size_t>(control.output_length)};
}

}  // namespace

std::string reply_subject(const Mail_content& mail, const ResponderRow& responder) {
    return responder.subject.empty() ? "Re: " + mail.subject : fill_in(responder.subject, mail);
}

}  // namespace autoresponder
