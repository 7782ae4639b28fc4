// SPDX-License-Identifier: Apache-2.0

#include "core/walk.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/ending.h"
#include "core/message/dw_string.h"
#include "core/panel/database_session.h"
#include "core/people/loop_and_daemon_check.h"
#include "core/people/recipient_check.h"
#include "core/reader/message_reader.h"
#include "core/reply/auto_submitted.h"
#include "core/reply/reply.h"
#include "core/reply/reply_file.h"
#include "core/run/diagnostics.h"
#include "core/run/run_end.h"
#include "core/send/delivery.h"
#include "core/send/forward.h"
#include "core/send/missing_file_notice.h"
#include "core/story.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

// Whether the message yields what a reply needs.
bool can_be_answered(const MessageAnalysis& message, Story& story) {
    if (message.objection != nullptr) {
        give_up(story, message.objection);
    }
    return message.objection == nullptr;
}

bool would_loop(Story& story) {
    const char* loop = loop_reason(story.message->content);
    if (loop != nullptr) {
        report(loop);
        story.loop = loop;
        story.reason = std::string("it would make a loop: ") + loop;
    }
    return loop != nullptr;
}

// Reports that the message is not a person's, and returns why nobody answers it.
std::string note_not_a_person(Story& story, const std::string& rule) {
    report("autoresponder: Not answered: ", rule);
    story.not_a_person = rule;
    return "only people are answered: " + rule;
}

bool is_from_machine(Story& story, const PersonalFacts& facts) {
    if (!facts.machine.empty()) {
        story.reason = note_not_a_person(story, facts.machine);
    }
    return !facts.machine.empty();
}

// What is asked and written of a message where only people are answered.
struct OnlyPeople {
    MessageReader& reader;
    const PersonalFacts& facts;
};

// The half of the walk that asks the panel.
class MailboxWalk {
  public:
    // `only_people` is null where everybody is answered.
    MailboxWalk(const std::optional<OnlyPeople>& only_people, Story& story, Ending& ending)
        : only_people_(only_people),
          story_(story),
          ending_(ending),
          mail_(story.message->content),
          recipient_(escape_recipient(mail_)),
          session_(Session::open()) {
        if (!session_.escapes_with_backslash()) {
            recipient_ = escape_address(session_, mail_.to_mailname, mail_.to_domain);
        }
        if (!has_effects_) {
            session_.make_read_only();
        }
    }

    void go() {
        if (!look_up_mailbox() || !select_responders() || (only_people_ && is_impersonal())) {
            return;
        }
        const AttachmentRepository repository(*story_.mailbox);
        for (ResponderStory* responder : applying_) {
            if (may_answer_once_more(*responder)) {
                answer(*responder, repository);
            }
        }
    }

  private:
    bool look_up_mailbox() {
        story_.mailbox = find_mailbox(session_, recipient_);
        if (!story_.mailbox) {
            session_.close();  // nobody else has to wait for it until the line is written
            report("autoresponder: Mailname not found: ", mail_.to_mailname, "@", mail_.to_domain);
            story_.reason = "there is no mailbox " + tolva::without_control_characters(mail_.to);
        }
        return story_.mailbox.has_value();
    }

    bool select_responders() {
        for (ResponderRow& row : read_responders(session_, story_.mailbox->id)) {
            story_.responders.push_back({.row = std::move(row)});
        }
        if (story_.responders.empty()) {
            story_.reason = "the mailbox has no responder";
        }
        for (ResponderStory& responder : story_.responders) {
            if (auto reason = why_not_applying(responder.row, mail_)) {
                responder.refuse(std::move(*reason));
                responder.row.text = {};  // which may be large
            } else {
                applying_.push_back(&responder);
            }
        }
        return !applying_.empty();
    }

    bool is_impersonal() {
        const auto rule =
            impersonal_reason(session_, mail_, *story_.mailbox, only_people_->facts.sender,
                              [this](const MailboxNames& names) {
                                  return only_people_->reader.stand_in_header(names);
                              });
        if (rule) {
            const std::string reason = note_not_a_person(story_, *rule);
            for (ResponderStory* responder : applying_) {
                responder->refuse(reason);
            }
        }
        return rule.has_value();
    }

    bool may_answer_once_more(ResponderStory& responder) {
        responder.begun = true;
        responder.limit = check_limit(session_, responder.row, mail_.from,
                                      has_effects_ ? Counting::kCount : Counting::kOnlyLook);
        if (responder.limit.refusal) {
            responder.refuse(*responder.limit.refusal);
        }
        return !responder.limit.refusal;
    }

    void answer(ResponderStory& responder, const AttachmentRepository& repository) {
        responder.header = safe_header_values(responder.row);
        responder.forwards = forward_addresses(session_, responder.row.id);
        if (!responder.forwards.empty()) {
            responder.note_status(" for the forward", ending_.forward(responder, mail_));
        }
        // Every reply takes the next boundary of the run, whether or not it attaches anything.
        const std::string boundary = makeBoundaryStr();
        const ReplyFile file(has_effects_ ? ReplyFile::Place::kTmp : ReplyFile::Place::kMemory);
        responder.attachments = find_attachments(session_, responder.row.id, repository);
        const std::optional<MissingFileNotice> notice = notice_about(responder);
        if (&responder == applying_.back()) {
            session_.close();  // others may be waiting for it while the mail program runs
        }
        if (notice) {
            responder.note_status(" for the notice", ending_.notify(responder, *notice, mail_));
        }
        reply(responder, file,
              {responder.row, responder.header, marks_, repository, responder.attachments.present,
               boundary});
    }

    std::optional<MissingFileNotice> notice_about(const ResponderStory& responder) {
        if (responder.attachments.missing.empty()) {
            return std::nullopt;
        }
        return prepare_missing_file_notice(session_, recipient_, responder.header.reply_to,
                                           responder.attachments.missing);
    }

    void reply(ResponderStory& responder, const ReplyFile& file, const ReplySource& source) {
        const bool sent = sent_or_recorded([&] {
            check_reply_recipient(mail_);
            const ReplyKind kind = compose_reply(file, mail_, source);
            tolva::Descriptor contents = file.open();
            const Envelope envelope = reply_envelope(mail_);
            responder.note_status("",
                                  ending_.reply(responder, std::move(contents), envelope, kind));
        });
        if (sent) {
            responder.verdict = Verdict::kAnswered;
        } else {
            responder.refuse("its reply cannot be sent, but counts all the same");
        }
    }

    const std::optional<OnlyPeople> only_people_;
    Story& story_;
    Ending& ending_;
    const bool has_effects_ = ending_.effects() == Ending::Effects::kReal;
    const Mail_content& mail_;
    EscapedAddress recipient_;
    Session session_;
    std::vector<ResponderStory*> applying_;  // in the server's order
    const ReplyMarks marks_ =
        only_people_ ? ReplyMarks(only_people_->facts.message_id) : ReplyMarks();
};

}  // namespace

void walk(DwString text, Audience audience, Story& story, Ending& ending) {
    MessageReader reader(take(text), story.recipient, audience);
    MessageFacts facts = reader.read();
    if (!can_be_answered(facts.analysis, story)) {
        return;
    }
    story.message = std::move(facts.analysis);
    if (would_loop(story)) {
        return;
    }
    if (audience == Audience::kEverybody) {
        MailboxWalk(std::nullopt, story, ending).go();
    } else if (!is_from_machine(story, facts.personal)) {
        MailboxWalk(OnlyPeople{reader, facts.personal}, story, ending).go();
    }
}

void walk_mailbox(Story& story, Ending& ending) {
    MailboxWalk(std::nullopt, story, ending).go();
}

void give_up(Story& story, const char* objection) {
    report(objection);
    report("Abnormal exit.");
    story.reason = objection;
}

void tell(Story& story, const std::function<void()>& steps) {
    try {
        steps();
    } catch (...) {
        report_end_of_run();
        story.break_off(current_end());
    }
}

}  // namespace autoresponder
