// SPDX-License-Identifier: Apache-2.0

#include "control/answered.h"

#include <iostream>
#include <vector>

#include "control/panel.h"
#include "control/terminal.h"
#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"
#include "core/panel/reply_limit.h"

namespace autoresponder::control {

void list_answered(const std::string& recipient) {
    Session session = connect_or_fail();
    const Mailbox mailbox = mailbox_or_fail(session, recipient);
    for (const ResponderRow& responder : read_responders(session, mailbox.id)) {
        const std::vector<AnsweredSender> senders = answered_today(session, responder.id);
        std::cout << coloured("responder " + responder.id, Colour::kStrong)
                  << (responder.on ? "" : ", which is off") << ": " << senders.size()
                  << (senders.size() == 1 ? " sender" : " senders")
                  << " answered today; replies allowed to each: "
                  << printable(responder.ans_freq.text) << "\n";
        for (const AnsweredSender& sender : senders) {
            std::cout << "  " << printable(sender.replies) << "  " << printable(sender.email)
                      << "  since " << printable(sender.since) << "\n";
        }
    }
}

void clear_answered(const std::string& recipient, const std::optional<std::string>& sender) {
    Session session = connect_or_fail();
    const Mailbox mailbox = mailbox_or_fail(session, recipient);
    for (const ResponderRow& responder : read_responders(session, mailbox.id)) {
        std::cout << "responder " << responder.id << ": "
                  << forget_answered(session, responder.id, sender) << " forgotten\n";
    }
}

}  // namespace autoresponder::control
