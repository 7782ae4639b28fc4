// SPDX-License-Identifier: Apache-2.0

#include "core/act.h"

#include <utility>

#include "core/ending.h"
#include "core/message/dw_string.h"
#include "core/send/delivery.h"
#include "core/send/forward.h"
#include "core/send/missing_file_notice.h"
#include "core/story.h"
#include "core/walk.h"

namespace autoresponder {

namespace {

class Act : public Ending {
  public:
    explicit Act(tolva::Result<void> copy_whole)
        : Ending(Effects::kReal), copy_whole_(copy_whole) {}

    int forward(const ResponderStory& responder, const Mail_content& mail) override {
        return send_copy(mail.to, responder.forwards, copy_whole_);
    }

    int notify(const ResponderStory& /*responder*/, const MissingFileNotice& notice,
               const Mail_content& mail) override {
        return send_missing_file_notice(notice, mail);
    }

    int reply(const ResponderStory& /*responder*/, tolva::Descriptor contents,
              const Envelope& envelope, ReplyKind /*kind*/) override {
        return submit_reply(std::move(contents), envelope);
    }

  private:
    const tolva::Result<void> copy_whole_;
};

}  // namespace

void act(DwString text, Audience audience, tolva::Result<void> copy_whole, Story& story) {
    Act ending(copy_whole);
    walk(take(text), audience, story, ending);
}

int db_mail_act(Mail_content* mail) {
    Story story{.recipient = mail->to, .message = MessageAnalysis{.content = *mail}};
    Act ending({});
    walk_mailbox(story, ending);
    return 0;
}

}  // namespace autoresponder
