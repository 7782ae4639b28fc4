// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_text.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string_view>

#include "core/run/confined_process.h"
#include "encoding/iconv_recode.h"
#include "encoding/utf8.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

constexpr std::uint32_t kText = ConfinedEnd::kFirstFreeKind;

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = tolva::utf8_character_length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string recode_confined(const std::string& text, const std::string& charset) {
    ConfinedProcess process(text.size(), [&](ConfinedEnd& end) {
        tolva::iconvRecode(text, "UTF-8", charset, true,
                           [&end](std::string_view piece) { end.out().put(kText, piece); });
    });
    std::string recoded;
    while (const auto item = process.next()) {
        recoded += item->bytes;
    }
    return recoded;
}

}  // namespace

ReplyText reply_text(const std::string& text, const std::string& charset) {
    if (tolva::equals_ignoring_case(charset, "UTF-8") && is_utf8(text)) {
        return {text, charset};
    }
    try {
        return {recode_confined(text, charset), charset};
    } catch (const std::exception&) {
        // Whatever the charset's name or the text causes, exhausted memory included: a reply in
        // UTF-8 is better than none.
        return {text, "UTF-8"};
    }
}

}  // namespace autoresponder
