// SPDX-License-Identifier: Apache-2.0

#include "control/words.h"

#include <array>
#include <cstddef>

namespace autoresponder::control {

namespace {

// The word for the enumerator of that position.
template <typename Enum, std::size_t count>
const char* word_at(Enum value, const std::array<const char*, count>& words) {
    return words.at(static_cast<std::size_t>(value));
}

}  // namespace

const char* word_of(Answer answer) {
    return word_at(answer, std::array{"would answer", "would not answer", "cannot tell"});
}

const char* word_of(Verdict verdict) {
    return word_at(verdict, std::array{"not looked at", "would not answer", "would answer"});
}

const char* word_of(Sender::Field field) {
    return word_at(field, std::array{"Reply-To", "From"});
}

const char* word_of(MessageText::Source source) {
    return word_at(source, std::array{"the message", "a part", "no part", "nothing"});
}

const char* word_of(Lookup lookup) {
    return word_at(lookup, std::array{"its own name", "a mail alias", "a domain alias",
                                      "a mail alias on a domain alias"});
}

const char* word_of(KeyPlace place) {
    return word_at(place, std::array{"everything", "subject", "text"});
}

const char* word_of(ExplainedAttachment::State state) {
    return word_at(state, std::array{"present", "missing", "unreadable"});
}

const char* word_of(ExplainedMail::Kind kind) {
    return word_at(kind, std::array{"forward", "notice", "reply", "size-notice"});
}

bool is_taken(MessageText::Source source) {
    return source == MessageText::Source::kMessage || source == MessageText::Source::kPart;
}

}  // namespace autoresponder::control
