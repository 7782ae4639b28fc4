// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>

#include <optional>
#include <string>
#include <vector>

#include "core/panel/responder.h"  // IWYU pragma: export

/// How often a responder answers one sender a day, and how many senders it remembers: table
/// resp_freq. A day is a calendar day of the database server.
namespace autoresponder {

class Session;
struct Mail_content;

/// Whether a reply that may be sent is counted, and rows of earlier days are deleted.
enum class Counting { kCount, kOnlyLook };

/// Rows of a responder in resp_freq, without those of earlier days.
struct FrequencyRecord {
    PanelNumber senders;                 ///< how many are remembered
    std::optional<PanelNumber> replies;  ///< to this sender; null: the sender is not remembered
};

struct LimitDecision {
    /// Why there is no reply; null if there may be one.
    std::optional<std::string> refusal = {};
    /// The rows that this was decided by; null if the responder never answers, whatever they are.
    std::optional<FrequencyRecord> record = {};
    /// Whether others have to be forgotten for this sender.
    bool evicts = false;
};

/// Decides whether `responder` may answer `sender` once more today. Throws EndOfRun if a statement
/// fails.
LimitDecision check_limit(Session& session, const ResponderRow& responder,
                          const std::string& sender, Counting counting);

/// The same for the responder `rn_id` and the sender of `mail`, counting the reply, for tools of
/// the panel that have a connection. Returns 1 when the reply may be sent, 0 when not.
int can_response_freq(st_mysql* connection, Mail_content* mail, std::string rn_id,
                      std::string ans_freq, std::string mem_limit);

struct AnsweredSender {
    std::string email;
    std::string replies;  ///< a number as text
    std::string since;    ///< when the first of them was counted
};

/// Whom the responder `rn_id` answered today, the earliest first. Throws EndOfRun if the statement
/// fails.
std::vector<AnsweredSender> answered_today(Session& session, const std::string& rn_id);

/// Has the responder forget `sender`, or everybody if that is null. Returns how many rows that
/// were. Throws EndOfRun if the statement fails.
unsigned long long forget_answered(Session& session, const std::string& rn_id,
                                   const std::optional<std::string>& sender);

}  // namespace autoresponder
