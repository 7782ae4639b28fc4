// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/files/attachment_repository.h"  // IWYU pragma: export
#include "core/message/message_analysis.h"     // IWYU pragma: export
#include "core/panel/mailbox.h"                // IWYU pragma: export
#include "core/panel/reply_limit.h"            // IWYU pragma: export
#include "core/panel/responder.h"              // IWYU pragma: export

/// What was found out and decided about one message, and why. The walk writes it down as it goes;
/// `autoresponderctl explain` and the log show it in the same words.
namespace autoresponder {

class EndOfRun;

enum class Verdict {
    kNotLookedAt,  ///< a statement before it failed
    kNotAnswered,
    kAnswered,
};

struct ResponderStory {
    ResponderRow row;
    Verdict verdict = Verdict::kNotLookedAt;
    std::string reason = {};  ///< why it was not answered or not looked at

    // Set only as far as the walk came.
    bool begun = false;  ///< whether the walk came to this responder's limit
    LimitDecision limit = {};
    HeaderValues header = {};  ///< as the reply bears them
    std::vector<std::string> forwards = {};
    Attachments attachments = {};
    /// The mail programs that ended badly, such as "mail program ended with status 111".
    std::vector<std::string> bad_statuses = {};

    void refuse(std::string why);

    /// Notes how the mail program with that wait status ended, unless it ended well. `mail` names
    /// the mail, such as " for the forward"; it is empty for the reply.
    void note_status(std::string_view mail, int status);
};

struct Story {
    std::optional<std::string> recipient = {};  ///< RESP_RECIPIENT; null: it is not set
    std::optional<MessageAnalysis> message = {};
    std::string loop = {};          ///< why it would make a loop; empty: it would not
    std::string not_a_person = {};  ///< the rule that says it is no person's mail; empty: none
    std::optional<Mailbox> mailbox = {};
    std::vector<ResponderStory> responders = {};
    /// Why nothing is answered, where the message itself, the mailbox or a failure decides.
    std::string reason = {};
    bool failed = false;  ///< whether a failure ended the story before the last responder

    /// Ends the story before the last responder. Those that no decision has been made about were
    /// not looked at for that reason; one that had been begun is not answered.
    void break_off(const EndOfRun& end);
};

}  // namespace autoresponder
