// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>

#include "control/explanation.h"

/// The words for the contents of an explanation, the same for people and programs.
namespace autoresponder::control {

/// How many lines of a message's text are shown.
inline constexpr std::size_t kShownLines = 5;

const char* word_of(Answer answer);
const char* word_of(Verdict verdict);
const char* word_of(Sender::Field field);
const char* word_of(MessageText::Source source);
const char* word_of(Lookup lookup);
const char* word_of(KeyPlace place);
const char* word_of(ExplainedAttachment::State state);
const char* word_of(ExplainedMail::Kind kind);

/// Whether a text was taken from the message at all.
bool is_taken(MessageText::Source source);

}  // namespace autoresponder::control
