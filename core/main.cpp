#include <unistd.h>

#include <mimelib/mimepp.h>

#include "core/automatic_mail.h"
#include "core/diagnostics.h"
#include "core/envelope_sender.h"
#include "core/header_fields.h"
#include "core/incoming_message.h"
#include "core/loop_check.h"
#include "core/mail_content.h"
#include "core/only_people.h"
#include "core/responder.h"
#include "core/run_end.h"
#include "core/run_start.h"
#include "support/conf.h"
#include "support/log.h"

namespace {

// The program is installed for root; where it was started without the right to become root, it
// keeps its current identity.
void become_root() {
    [[maybe_unused]] const int uid_result = setuid(0);
    [[maybe_unused]] const int gid_result = setgid(0);
}

// Answers the message unless a machine seems to have sent it.
void answer_person(Mail_content& mail, const DwString& header_text) {
    const HeaderFields header({header_text.data(), header_text.length()});
    if (const auto reason = machine_reason(mail, envelope_sender(header), header)) {
        report_not_answered(*reason);
        return;
    }
    db_mail_act(&mail, &header);
}

void answer_message() {
    prepare_run();
    const bool only_people = autoprepend() == 0 && answers_only_people();
    Mail_content mail;
    DwString header;
    become_root();

    if (parse_message(&mail, only_people ? &header : nullptr) != 0) {
        report(kAbnormalExit);
        return;
    }
    if (const char* reason = loop_reason(mail)) {
        report(reason);
        return;
    }
    if (only_people) {
        answer_person(mail, header);
    } else {
        db_mail_act(&mail);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    PROGNAME = argc > 0 && *argv[0] != '\0' ? argv[0] : "autoresponder";
    // A message of the support library that asks for the end of the process is a line in the log:
    // the run continues, or ends by its own rules, with status 0.
    messlog_set_end([](int /*status*/) {});

    try {
        answer_message();
    } catch (...) {
        report_end_of_run();
    }
    correct_exit();
}
