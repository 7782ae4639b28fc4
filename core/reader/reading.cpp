// SPDX-License-Identifier: Apache-2.0

#include "core/reader/reading.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "core/message/dw_string.h"
#include "core/message/header_fields.h"
#include "core/message/mail_address.h"
#include "core/message/message_analysis.h"
#include "core/message/message_id.h"
#include "core/people/automatic_mail.h"
#include "core/people/mailbox_addresses.h"
#include "core/run/items.h"

namespace autoresponder {

namespace {

class Teller : public TextSink {
  public:
    explicit Teller(ItemWriter& out) : out_(out) {}

    void tell(Fact fact, std::string_view text) {
        out_.put(static_cast<std::uint32_t>(fact), text);
    }

    template <typename Number>
    void tell_number(Fact fact, Number number) {
        out_.put_number(static_cast<std::uint32_t>(fact), static_cast<std::uint64_t>(number));
    }

    void begin(std::size_t expected) override { tell_number(Fact::kTextBegins, expected); }
    void add(std::string_view piece) override { tell(Fact::kText, piece); }

  private:
    ItemWriter& out_;
};

void tell_message(Teller& teller, const MessageAnalysis& analysis) {
    const Mail_content& content = analysis.content;
    teller.tell(Fact::kSender, content.from);
    teller.tell_number(Fact::kSenderField, analysis.sender_field);
    teller.tell(Fact::kSubject, content.subject);
    teller.tell(Fact::kDate, content.date);
    teller.tell(Fact::kCharset, content.charset);
    teller.tell_number(Fact::kTextSource, analysis.text_source);
    teller.tell_number(Fact::kTextPart, analysis.text_part);
}

void tell_personal(Teller& teller, const Mail_content& mail, const HeaderFields& header) {
    teller.tell(Fact::kMachine, machine_reason(mail, envelope_sender(header), header).value_or(""));
    for (const MailAddress& address : spellings(mail.from)) {
        teller.tell(Fact::kSenderLocalPart, address.local_part);
        teller.tell(Fact::kSenderDomain, address.domain);
    }
    teller.tell(Fact::kMessageId, message_id(header));
}

// Answers whether the addresses that are asked for stand in the header, until nobody asks any more.
void answer_questions(ConfinedEnd& end, Teller& teller, const HeaderFields& header) {
    MailboxAddresses addresses;
    for (;;) {
        const Item item = end.next();
        switch (static_cast<Fact>(item.kind)) {
            case Fact::kLocalPart:
                addresses.add_local_part(std::string(item.bytes));
                break;
            case Fact::kDomain:
                addresses.add_domain(std::string(item.bytes));
                break;
            default:
                teller.tell_number(Fact::kInHeader, addresses.stand_in(header));
                addresses = {};
                break;
        }
    }
}

}  // namespace

void read_message_and_tell(ConfinedEnd& end, DwString text, const char* recipient,
                           Audience audience) {
    Teller teller(end.out());
    std::string header_text;
    const MessageAnalysis analysis =
        analyse_message(take(text), recipient, audience, header_text, teller);
    if (analysis.objection != nullptr) {
        teller.tell_number(Fact::kObjection, analysis.objection == kNoSender ? Missing::kSender
                                                                             : Missing::kRecipient);
        return;
    }
    tell_message(teller, analysis);
    if (audience == Audience::kEverybody) {
        return;
    }
    const HeaderFields header(header_text);
    tell_personal(teller, analysis.content, header);
    teller.tell(Fact::kAll, "");
    answer_questions(end, teller, header);
}

}  // namespace autoresponder
