// SPDX-License-Identifier: Apache-2.0

#include "core/verdict_line.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "core/story.h"
#include "encoding/utf8.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

// qmail keeps the first 3,000 bytes of what a delivery writes, complaints and all.
constexpr std::size_t kLongestLine = 599;

// Two addresses leave room for a reason.
constexpr std::size_t kLongestAddress = 200;

std::string shortened(const std::string& text, std::size_t most) {
    constexpr std::string_view dots = "...";
    return text.size() <= most
               ? text
               : std::string(tolva::utf8_prefix(text, most - dots.size())).append(dots);
}

// In the order of the verdicts.
constexpr std::array kOutcomes = {" not looked at", " not answered", " answered"};

std::string outcomes(const Story& story) {
    if (story.responders.empty()) {
        return "not answered, " + story.reason;
    }
    std::string all;
    for (const ResponderStory& responder : story.responders) {
        all.append(all.empty() ? "" : "; ").append(responder.row.id);
        all.append(kOutcomes.at(static_cast<std::size_t>(responder.verdict)));
        all.append(responder.reason.empty() ? "" : ", ").append(responder.reason);
        for (const std::string& end : responder.bad_statuses) {
            all.append(", ").append(end);
        }
    }
    return all;
}

}  // namespace

std::string verdict_line(const Story& story) {
    const std::string sender = story.message ? story.message->content.from : "-";
    const std::string line =
        "autoresponder: Verdict: " + shortened(story.recipient.value_or("-"), kLongestAddress) +
        " from " + shortened(sender, kLongestAddress) + ": " + outcomes(story);
    return tolva::without_control_characters(shortened(line, kLongestLine));
}

}  // namespace autoresponder
