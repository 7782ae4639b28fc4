#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

#include "core/incoming_message.h"
#include "core/loop_check.h"
#include "core/mail_content.h"
#include "core/responder.h"
#include "core/run_end.h"
#include "core/run_start.h"
#include "support/conf.h"
#include "support/log.h"

namespace {

// The program is installed for root; where it was started without the right to become root, it goes
// on as whoever it is.
void become_root() {
    [[maybe_unused]] const int uid_result = setuid(0);
    [[maybe_unused]] const int gid_result = setgid(0);
}

void answer_message() {
    autoprepend();
    Mail_content mail;
    become_root();

    if (parse_message(&mail) != 0) {
        std::cerr << "Abnormal exit." << std::endl;
        return;
    }
    if (const char* reason = loop_reason(mail)) {
        std::cerr << reason << std::endl;
        return;
    }
    db_mail_act(&mail);
}

}  // namespace

int main(int argc, char* argv[]) {
    PROGNAME = argc > 0 && *argv[0] != '\0' ? argv[0] : "autoresponder";
    // A message of the support library that asks for the end of the process is a line in the log:
    // the run goes on, or ends where its own story says, with status 0.
    messlog_set_end([](int /*status*/) {});
    prepare_run();

    try {
        answer_message();
    } catch (const std::bad_alloc&) {
        std::cerr << "autoresponder: Program failed due to exhausted memory" << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "autoresponder: Failed to process the message: " << error.what() << std::endl;
    }
    correct_exit();
}
