// SPDX-License-Identifier: Apache-2.0

#include "control/explain.h"

#include <cstddef>
#include <map>
#include <memory>
#include <sstream>
#include <utility>
#include <vector>

#include "control/captured_output.h"
#include "control/details.h"
#include "control/mail_files.h"
#include "core/ending.h"
#include "core/message/dw_string.h"
#include "core/reply/reply_text.h"
#include "core/reply/subject_placeholders.h"
#include "core/run/diagnostics.h"
#include "core/send/delivery.h"
#include "core/send/missing_file_notice.h"
#include "core/verdict_line.h"
#include "core/walk.h"

namespace autoresponder::control {

namespace {

// The ending that shows: it counts and sends nothing, and keeps what would be handed over.
class Show : public Ending {
  public:
    // `source` is the message as it was read.
    Show(const DwString& source, MailFiles& files)
        : Ending(Effects::kNone), source_(source), files_(files) {}

    int forward(const ResponderStory& responder, const Mail_content& mail) override {
        files_.add(keep(ExplainedMail::Kind::kForward, responder, mail.to, responder.forwards),
                   to_view(source_));
        return 0;
    }

    int notify(const ResponderStory& responder, const MissingFileNotice& notice,
               const Mail_content& mail) override {
        std::ostringstream text;
        write_missing_file_notice(text, notice, mail);
        files_.add(keep(ExplainedMail::Kind::kNotice, responder, notice.sender, {notice.recipient}),
                   text.view());
        return 0;
    }

    int reply(const ResponderStory& responder, tolva::Descriptor contents, const Envelope& envelope,
              ReplyKind kind) override {
        replies_[&responder] = mails_.size();
        files_.add(keep(kind == ReplyKind::kReply ? ExplainedMail::Kind::kReply
                                                  : ExplainedMail::Kind::kSizeNotice,
                        responder, envelope.sender, {envelope.recipient}),
                   contents);
        return 0;
    }

    [[nodiscard]] const std::vector<ExplainedMail>& mails() const { return mails_; }

    // The reply of that responder; null if it has none.
    [[nodiscard]] const ExplainedMail* reply_of(const ResponderStory& responder) const {
        const auto found = replies_.find(&responder);
        return found != replies_.end() ? &mails_[found->second] : nullptr;
    }

  private:
    ExplainedMail& keep(ExplainedMail::Kind kind, const ResponderStory& responder,
                        const std::string& sender, const std::vector<std::string>& recipients) {
        return mails_.emplace_back(ExplainedMail{.kind = kind,
                                                 .responder = responder.row.id,
                                                 .sender = sender,
                                                 .recipients = recipients});
    }

    const DwString& source_;
    MailFiles& files_;
    std::vector<ExplainedMail> mails_;
    std::map<const ResponderStory*, std::size_t> replies_;  // where they are in mails_
};

std::vector<ExplainedAttachment> explain_attachments(const Attachments& attachments,
                                                     const AttachmentRepository& repository) {
    std::vector<ExplainedAttachment> explained;
    for (const std::string& name : attachments.present) {
        const auto file = repository.open(name);
        explained.push_back({.name = name,
                             .state = file ? ExplainedAttachment::State::kPresent
                                           : ExplainedAttachment::State::kUnreadable,
                             .reason = file ? "" : error_text(file.error())});
    }
    for (const std::string& name : attachments.missing) {
        explained.push_back({.name = name, .state = ExplainedAttachment::State::kMissing});
    }
    return explained;
}

ExplainedReply explain_reply(const ResponderStory& responder, const Mail_content& mail,
                             const ExplainedMail& reply) {
    return {.subject = reply_subject(mail, responder.row),
            .charset = reply_text(responder.row.text, responder.header.charset).charset,
            .content_type = responder.header.content_type,
            .size = reply.size,
            .too_large = reply.kind == ExplainedMail::Kind::kSizeNotice};
}

// `near_misses` has one text for each responder.
void explain_responders(Explanation& explanation, const std::vector<std::string>& near_misses,
                        const Show& show) {
    const Story& story = explanation.story;
    if (story.responders.empty()) {
        return;
    }
    const Mail_content& mail = story.message->content;
    const AttachmentRepository repository(*story.mailbox);
    for (std::size_t i = 0; i < story.responders.size(); ++i) {
        const ResponderStory& responder = story.responders[i];
        ExplainedResponder explained;
        explained.key_occurs = key_occurs(responder.row, mail);
        explained.near_miss = near_misses[i];
        explained.attachments = explain_attachments(responder.attachments, repository);
        if (const ExplainedMail* reply = show.reply_of(responder)) {
            explained.reply = explain_reply(responder, mail, *reply);
        }
        explanation.responders.push_back(std::move(explained));
    }
}

std::string answering_ids(const Story& story) {
    std::string ids;
    for (const ResponderStory& responder : story.responders) {
        if (responder.verdict == Verdict::kAnswered) {
            ids.append(ids.empty() ? "" : ", ").append(responder.row.id);
        }
    }
    return ids;
}

std::string refusals(const std::vector<ResponderStory>& responders) {
    if (responders.size() == 1) {
        return "responder " + responders[0].row.id + ": " + responders[0].reason;
    }
    std::string all = "none of the " + std::to_string(responders.size()) + " responders answers";
    for (const ResponderStory& responder : responders) {
        all += &responder == &responders.front() ? ": " : "; ";
        all += responder.row.id + ": " + responder.reason;
    }
    return all;
}

// Sums the story up.
void conclude(Explanation& explanation) {
    const Story& story = explanation.story;
    const std::string answering = answering_ids(story);
    if (story.failed) {
        explanation.answer = Answer::kCannotTell;
        explanation.reason = story.reason;
    } else if (!answering.empty()) {
        explanation.answer = Answer::kWouldAnswer;
        const bool several = answering.find(',') != std::string::npos;
        explanation.reason = (several ? "responders " : "responder ") + answering;
    } else if (!story.responders.empty()) {
        explanation.reason = refusals(story.responders);
    } else {
        explanation.reason = story.reason;
    }
}

}  // namespace

Explanation explain(const DwString& text, const std::string& recipient,
                    const std::optional<std::string>& mail_directory) {
    const Settings settings = read_settings();
    Explanation explanation{.story = {.recipient = recipient},
                            .audience = settings.audience,
                            .empty = text.length() <= 1,  // the newline that reading adds
                            .size_limit = SizeLimit::of_mail_system().bytes()};
    MailFiles files(mail_directory);
    Show show(text, files);
    {
        const CapturedOutput captured;
        tell(explanation.story, [&] { walk(text, settings.audience, explanation.story, show); });
        if (settings.verdicts) {
            report(verdict_line(explanation.story));
        }
        explanation.diagnostics = captured.errors();
    }
    files.throw_if_failed();
    if (explanation.story.message) {
        MessageDetails details = details_of(text, explanation.story);
        explanation.text_type = std::move(details.text_type);
        explanation.parts = std::move(details.parts);
        explain_responders(explanation, details.near_misses, show);
    }
    explanation.mails = show.mails();
    conclude(explanation);
    return explanation;
}

}  // namespace autoresponder::control
