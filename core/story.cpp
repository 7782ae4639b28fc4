// SPDX-License-Identifier: Apache-2.0

#include "core/story.h"

#include <utility>

#include "core/run/run_end.h"
#include "core/send/mail_program.h"

namespace autoresponder {

void ResponderStory::refuse(std::string why) {
    verdict = Verdict::kNotAnswered;
    reason = std::move(why);
}

void ResponderStory::note_status(std::string_view mail, int status) {
    const std::string end = bad_status(status);
    if (!end.empty()) {
        bad_statuses.push_back(std::string("mail program").append(mail).append(" ").append(end));
    }
}

void Story::break_off(const EndOfRun& end) {
    reason = end.reason();
    failed = end.cause() == EndOfRun::Cause::kFailure || !responders.empty();
    for (ResponderStory& responder : responders) {
        if (responder.verdict == Verdict::kNotLookedAt) {
            responder.reason = reason;
            responder.verdict = responder.begun ? Verdict::kNotAnswered : Verdict::kNotLookedAt;
        }
    }
}

}  // namespace autoresponder
