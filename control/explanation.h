#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "core/incoming_message.h"
#include "core/mailbox.h"
#include "core/responder_row.h"

/// What the autoresponder would do with a message, as a record that can be shown. Texts are bytes
/// as the autoresponder holds them, UTF-8 as far as they could be converted.

enum class Verdict {
    kWouldAnswer,
    kWouldNotAnswer,
    kCannotTell,  ///< something that the answer depends on could not be found out
};

/// A direct part of a multipart message.
struct ExplainedPart {
    std::string type = {};  ///< its Content-Type field up to the first parameter; empty: none
    bool is_multipart = false;
};

struct ExplainedMessage {
    MessageAnalysis analysis = {};
    std::string text_type = {};  ///< type of the text that was taken, as in ExplainedPart
    std::vector<ExplainedPart> parts = {};  ///< of a multipart
};

/// Where a responder looks for its key word.
enum class KeyPlace { kEverything, kSubject, kText };

struct ExplainedCondition {
    KeyPlace place = KeyPlace::kEverything;
    bool holds = true;
    std::string near_miss = {};  ///< what alone keeps the key word from being found; empty: nothing
};

struct ExplainedLimit {
    std::string replies_today = {};  ///< to this sender, a number as text
    std::string senders = {};        ///< remembered today, a number as text
    bool evicts = false;             ///< others have to be forgotten for this sender
};

struct ExplainedAttachment {
    enum class State { kPresent, kMissing, kUnreadable };

    std::string name = {};
    State state = State::kPresent;
    std::string reason = {};  ///< why it cannot be read
};

/// A mail as it would be handed to the mail program.
struct ExplainedMail {
    enum class Kind { kForward, kNotice, kReply, kSizeNotice };

    Kind kind = Kind::kReply;
    std::string responder = {};  ///< its id
    std::string sender = {};     ///< of the envelope
    std::vector<std::string> recipients = {};
    std::size_t size = 0;
    std::string file = {};  ///< where its bytes were written to; empty: nowhere
};

struct ExplainedReply {
    std::string subject = {};       ///< not encoded
    std::string charset = {};       ///< of its text
    std::string content_type = {};  ///< of its text
    std::size_t size = 0;
    bool too_large = false;
};

struct ExplainedResponder {
    ResponderRow row = {};
    Verdict verdict = Verdict::kWouldNotAnswer;
    std::string reason = {};  ///< why it would not answer
    ExplainedCondition condition = {};
    // What follows is told of a responder that is on and applies; what comes after the limit only
    // of one that may answer.
    std::optional<ExplainedLimit> limit = {};
    std::vector<std::string> forwards = {};
    std::vector<ExplainedAttachment> attachments = {};
    std::optional<ExplainedReply> reply = {};
};

struct Explanation {
    std::string recipient = {};
    Verdict verdict = Verdict::kWouldNotAnswer;
    std::string reason = {};  ///< the verdict in one line
    bool empty = false;       ///< nothing was given for a message
    std::optional<ExplainedMessage> message = {};
    std::string loop = {};          ///< why it would make a loop; empty: it would not
    bool only_people = false;       ///< whether only people are answered
    std::string not_a_person = {};  ///< the rule that says it is no person's mail; empty: none
    std::optional<Mailbox> mailbox = {};
    std::optional<int> size_limit = {};  ///< of the mail system in bytes
    std::vector<ExplainedResponder> responders = {};
    std::vector<ExplainedMail> mails = {};
    std::string diagnostics = {};  ///< what the autoresponder would write to standard error
};
