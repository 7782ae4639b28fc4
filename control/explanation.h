// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "core/run/settings.h"  // IWYU pragma: export
#include "core/story.h"         // IWYU pragma: export

/// What the autoresponder would do with a message, as a record that can be shown. Texts are bytes
/// as the autoresponder has them, UTF-8 as far as they could be converted.
namespace autoresponder::control {

/// The values are exit statuses.
enum class Answer {
    kWouldAnswer = 0,
    kWouldNotAnswer = 1,
    kCannotTell = 2,  ///< something that the answer depends on could not be found out
};

/// A direct part of a multipart message.
struct ExplainedPart {
    std::string type = {};  ///< its Content-Type field up to the first parameter; empty: none
    bool is_multipart = false;
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

/// What is shown of a responder besides its story.
struct ExplainedResponder {
    bool key_occurs = true;
    std::string near_miss = {};  ///< what alone keeps the key word from being found; empty: nothing
    std::vector<ExplainedAttachment> attachments = {};
    std::optional<ExplainedReply> reply = {};
};

struct Explanation {
    Story story = {};
    Answer answer = Answer::kWouldNotAnswer;
    std::string reason = {};  ///< of the answer, in one line
    Audience audience = Audience::kEverybody;
    bool empty = false;                     ///< nothing was given for a message
    std::string text_type = {};             ///< of the text that was taken, as in ExplainedPart
    std::vector<ExplainedPart> parts = {};  ///< of a multipart
    std::optional<int> size_limit = {};     ///< of the mail system in bytes
    std::vector<ExplainedResponder> responders = {};  ///< one for each of the story's
    std::vector<ExplainedMail> mails = {};
    std::string diagnostics = {};  ///< what the autoresponder would write to standard error
};

/// The explanation for people, in lines; the answer is the last one.
std::string to_text(const Explanation& explanation);

/// The explanation for programs: an object on one line, without a newline. Its members are
/// described in autoresponderctl(8).
std::string to_json(const Explanation& explanation);

}  // namespace autoresponder::control
