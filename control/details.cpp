// SPDX-License-Identifier: Apache-2.0

#include "control/details.h"

#include <cstddef>
#include <cstdint>
#include <memory>

#include "control/failure.h"
#include "control/near_miss.h"
#include "control/parts.h"
#include "core/run/confined_process.h"
#include "core/run/items.h"

namespace autoresponder::control {

namespace {

enum Kind : std::uint32_t {
    kTextType = ConfinedEnd::kFirstFreeKind,
    kPart,       // begins another part: its number tells whether it is a multipart
    kPartType,   // of the part that was begun last
    kResponder,  // begins another responder's near miss
    kNearMiss,
};

void tell_parts(ItemWriter& out, const DwMessage& message, const MessageAnalysis& analysis) {
    std::string text_type = type_of(message);
    std::size_t number = 0;
    for (const DwBodyPart* part = message.Body().FirstBodyPart(); part != nullptr;
         part = part->Next(), ++number) {
        const std::string type = type_of(*part);
        out.put_number(kPart, is_multipart(*part) ? 1 : 0);
        out.put(kPartType, type);
        if (analysis.text_source == MessageText::Source::kPart && analysis.text_part == number) {
            text_type = type;
        }
    }
    out.put(kTextType, text_type);
}

void tell_near_misses(ItemWriter& out, const DwMessage& message, const Story& story) {
    const Mail_content& mail = story.message->content;
    for (const ResponderStory& responder : story.responders) {
        out.put(kResponder, "");
        if (!key_occurs(responder.row, mail)) {
            out.put(kNearMiss, near_miss(responder.row, mail, message));
        }
    }
}

void tell_details(ItemWriter& out, const DwString& text, const Story& story) {
    DwInitialize();
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    message->Parse();
    tell_parts(out, *message, *story.message);
    tell_near_misses(out, *message, story);
}

[[noreturn]] void fail(const std::string& reason) {
    throw Failure("the message cannot be looked into: " + reason);
}

// What an item adds to, which another item must have begun.
template <typename Begun>
Begun& last_of(std::vector<Begun>& all) {
    if (all.empty()) {
        fail("the reading process gave an answer that makes no sense");
    }
    return all.back();
}

void add(MessageDetails& details, const Item& item) {
    switch (item.kind) {
        case kTextType:
            details.text_type += item.bytes;
            break;
        case kPart:
            details.parts.push_back({.type = {}, .is_multipart = number_in(item) == 1});
            break;
        case kPartType:
            last_of(details.parts).type += item.bytes;
            break;
        case kResponder:
            details.near_misses.emplace_back();
            break;
        case kNearMiss:
            last_of(details.near_misses) += item.bytes;
            break;
        default:
            fail("the reading process gave an answer that makes no sense");
    }
}

}  // namespace

MessageDetails details_of(const DwString& text, const Story& story) {
    MessageDetails details;
    try {
        ConfinedProcess process(text.length(),
                                [&](ConfinedEnd& end) { tell_details(end.out(), text, story); });
        while (const auto item = process.next()) {
            add(details, *item);
        }
    } catch (const ConfinedProcessError& error) {
        fail(error.what());
    }
    details.near_misses.resize(story.responders.size());
    return details;
}

}  // namespace autoresponder::control
