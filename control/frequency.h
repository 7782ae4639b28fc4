#pragma once

#include <string>
#include <vector>

#include "core/response_freq.h"
#include "support/db.h"

/// Table resp_freq as it is today, read without changing it. Rows of earlier days, which the
/// autoresponder deletes before it looks, are passed over.

/// What counts for a reply of the responder `rn_id` to `sender`. Throws EndOfRun if a statement
/// fails.
FrequencyRecord frequency_today(MYSQL* connection, const std::string& rn_id,
                                const std::string& sender);

struct AnsweredSender {
    std::string email;
    std::string replies;  ///< a number as text
    std::string since;    ///< when the first of them was counted
};

/// Whom the responder `rn_id` answered today, the earliest first. Throws EndOfRun if the statement
/// fails.
std::vector<AnsweredSender> answered_today(MYSQL* connection, const std::string& rn_id);
