// SPDX-License-Identifier: Apache-2.0

#include "core/reader/message_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "core/message/dw_string.h"
#include "core/message/incoming_message.h"
#include "core/message/message_copy.h"
#include "core/people/recipient_check.h"
#include "core/reader/reading.h"
#include "core/run/diagnostics.h"
#include "core/run/items.h"
#include "core/run/run_end.h"
#include "support/ascii.h"
#include "support/result.h"

namespace autoresponder {

namespace {

[[noreturn]] void end_run(const std::string& reason) {
    throw EndOfRun("autoresponder: The message could not be read: " + reason);
}

template <typename Step>
auto or_end_run(Step step) {
    try {
        return step();
    } catch (const ConfinedProcessError& error) {
        end_run(error.what());
    }
}

[[noreturn]] void end_run_for_nonsense() {
    end_run("the reading process gave an answer that makes no sense");
}

// The number in the item, which must be below `end`.
std::uint64_t number_below(std::uint64_t end, const Item& item) {
    const auto number = number_in(item);
    if (!number || *number >= end) {
        end_run_for_nonsense();
    }
    return *number;
}

constexpr std::size_t kMostSpellings = 3;  // as it is written, in ASCII, in UTF-8

// Puts the facts together, item by item.
class Collector {
  public:
    // `size` is that of the message.
    explicit Collector(std::size_t size) : size_(size) {}

    void add(const Item& item);
    MessageFacts take();

  private:
    void begin_text(const Item& item);

    const std::size_t size_;
    MessageFacts facts_;
    std::string text_;
};

void Collector::add(const Item& item) {
    MessageAnalysis& analysis = facts_.analysis;
    PersonalFacts& personal = facts_.personal;
    switch (static_cast<Fact>(item.kind)) {
        case Fact::kObjection:
            analysis.objection = number_below(2, item) == 0 ? kNoSender : kNoRecipient;
            break;
        case Fact::kSender:
            analysis.content.from += item.bytes;
            break;
        case Fact::kSenderField:
            analysis.sender_field = static_cast<Sender::Field>(number_below(2, item));
            break;
        case Fact::kSubject:
            analysis.content.subject += item.bytes;
            break;
        case Fact::kDate:
            analysis.content.date += item.bytes;
            break;
        case Fact::kCharset:
            analysis.content.charset += item.bytes;
            break;
        case Fact::kTextBegins:
            begin_text(item);
            break;
        case Fact::kText:
            text_ += item.bytes;
            break;
        case Fact::kTextSource:
            analysis.text_source = static_cast<MessageText::Source>(number_below(4, item));
            break;
        case Fact::kTextPart:
            analysis.text_part = number_below(size_, item);
            break;
        case Fact::kMachine:
            personal.machine += tolva::without_control_characters(item.bytes);
            break;
        case Fact::kSenderLocalPart:
            if (personal.sender.size() == kMostSpellings) {
                end_run_for_nonsense();  // each is looked up in the database
            }
            personal.sender.push_back({.local_part = std::string(item.bytes), .domain = {}});
            break;
        case Fact::kSenderDomain:
            if (personal.sender.empty()) {
                end_run_for_nonsense();
            }
            personal.sender.back().domain = item.bytes;
            break;
        case Fact::kMessageId:
            personal.message_id += item.bytes;
            break;
        default:
            end_run_for_nonsense();
    }
}

void Collector::begin_text(const Item& item) {
    text_.clear();
    text_.reserve(std::min<std::size_t>(number_in(item).value_or(0), size_));
}

MessageFacts Collector::take() {
    facts_.analysis.content.body_lines = BodyLines(std::move(text_));
    return std::move(facts_);
}

}  // namespace

MessageReader::MessageReader(DwString text, const std::optional<std::string>& recipient,
                             Audience audience)
    : size_(text.length()), recipient_(recipient) {
    or_end_run([&] {
        process_.emplace(size_, [&](ConfinedEnd& end) {
            read_message_and_tell(end, take(text), recipient ? recipient->c_str() : nullptr,
                                  audience);
        });
    });
}

MessageFacts MessageReader::read() {
    Collector collector(size_);
    for (;;) {
        const auto item = or_end_run([this] { return process_->next(); });
        if (!item || item->kind == static_cast<std::uint32_t>(Fact::kAll)) {
            break;
        }
        collector.add(*item);
    }
    MessageFacts facts = collector.take();
    const MessageAnalysis& analysis = facts.analysis;
    if (analysis.objection == nullptr && !tolva::contains(analysis.content.from, "@")) {
        end_run_for_nonsense();  // a mail program would be given it (core/message/sender.h)
    }
    set_recipient(facts.analysis.content, recipient_.value_or(""));
    return facts;
}

bool MessageReader::stand_in_header(const MailboxNames& names) {
    const auto item = or_end_run([&] {
        for (const std::string& local_part : names.local_parts) {
            process_->put(static_cast<std::uint32_t>(Fact::kLocalPart), local_part);
        }
        for (const std::string& domain : names.domains) {
            process_->put(static_cast<std::uint32_t>(Fact::kDomain), domain);
        }
        process_->put(static_cast<std::uint32_t>(Fact::kIsInHeader), "");
        process_->flush();
        return process_->next();
    });
    if (!item || item->kind != static_cast<std::uint32_t>(Fact::kInHeader)) {
        end_run_for_nonsense();
    }
    return number_below(2, *item) == 1;
}

int parse_message(Mail_content* mail) {
    tolva::Result<MessageCopy> copy = MessageCopy::make();
    if (!copy) {
        report(kNoCopy);
        return 1;
    }
    const char* recipient = std::getenv("RESP_RECIPIENT");
    MessageReader reader(
        receive_message(*copy),
        recipient != nullptr ? std::optional<std::string>(recipient) : std::nullopt,
        Audience::kEverybody);
    MessageFacts facts = reader.read();
    if (facts.analysis.objection != nullptr) {
        report(facts.analysis.objection);
        return 1;
    }
    *mail = std::move(facts.analysis.content);
    return 0;
}

}  // namespace autoresponder
