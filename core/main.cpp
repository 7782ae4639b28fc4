// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include <cstdlib>

#include <mimelib/mimepp.h>

#include "core/act.h"
#include "core/message/dw_string.h"
#include "core/message/incoming_message.h"  // IWYU pragma: keep
#include "core/message/message_copy.h"
#include "core/run/diagnostics.h"
#include "core/run/run_end.h"
#include "core/run/run_start.h"
#include "core/run/settings.h"
#include "core/run/temporary_files.h"
#include "core/story.h"
#include "core/verdict_line.h"
#include "core/walk.h"
#include "support/log.h"
#include "support/result.h"

namespace autoresponder {

namespace {

// The program is installed for root; where it was started without the right to become root, it
// keeps its current identity.
void become_root() {
    [[maybe_unused]] const int uid_result = setuid(0);
    [[maybe_unused]] const int gid_result = setgid(0);
}

void answer_message(Story& story, Audience audience) {
    tolva::Result<MessageCopy> copy = MessageCopy::make();
    if (!copy) {
        give_up(story, kNoCopy);
        return;
    }
    DwString text = receive_message(*copy);
    act(take(text), audience, copy->whole(), story);
}

void run() {
    prepare_run();
    const Settings settings = read_settings();
    become_root();
    Story story;
    if (const char* recipient = std::getenv("RESP_RECIPIENT")) {
        story.recipient = recipient;
    }
    tell(story, [&] { answer_message(story, settings.audience); });
    if (settings.verdicts) {
        report(verdict_line(story));
    }
}

}  // namespace

}  // namespace autoresponder

int main(int argc, char* argv[]) {
    PROGNAME = argc > 0 && *argv[0] != '\0' ? argv[0] : "autoresponder";
    // A message of the support library that asks for the end of the process is a line in the log:
    // the run continues, or ends by its own rules, with status 0.
    messlog_set_end([](int /*status*/) {});

    try {
        autoresponder::run();
    } catch (...) {
        autoresponder::report_end_of_run();
    }
    autoresponder::correct_exit();
}
