#pragma once

#include <optional>
#include <string>

#include "support/db.h"

struct Mail_content;

/// How often a responder answers one sender a day.

/// What table resp_freq holds of a responder.
struct FrequencyRecord {
    /// Senders remembered, a number as text.
    std::string senders = "0";
    /// Replies to this sender, a number as text; null when the sender is not remembered.
    std::optional<std::string> replies;
};

enum class FrequencyVerdict {
    kLimitReached,      ///< no reply
    kAnswerAgain,       ///< a reply to a sender who is remembered
    kAnswerFirst,       ///< a first reply
    kAnswerFirstEvict,  ///< the same, and others have to be forgotten for it
};

/// Whether the responder may answer once more. `ans_freq` is the number of replies per sender and
/// day, `mem_limit` the number of senders remembered, both read with atoi(3). No value means
/// unlimited.
FrequencyVerdict judge_frequency(const FrequencyRecord& record, const std::string& ans_freq,
                                 const std::string& mem_limit);

/// Whether a responder with this `ans_freq` never answers, whatever the table holds.
bool never_answers(const std::string& ans_freq);

/// Decides whether the responder `rn_id` may answer the sender of `mail` once more on this calendar
/// day of the database server, and if so counts the reply in table resp_freq. Returns 1 when the
/// reply may be sent, 0 when not. Throws EndOfRun if a statement fails.
int can_response_freq(st_mysql* connection, Mail_content* mail, std::string rn_id,
                      std::string ans_freq, std::string mem_limit);
