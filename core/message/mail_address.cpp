// SPDX-License-Identifier: Apache-2.0

#include "core/message/mail_address.h"

#include <cstddef>

#include "support/ascii.h"

namespace autoresponder {

namespace {

constexpr std::size_t kLongestPart = 1000;

void append_lowered(std::string& part, std::string_view text) {
    for (const char c : text) {
        if (part.size() == kLongestPart) {
            return;
        }
        part += tolva::to_lower(c);
    }
}

// Leaves out the backslashes that escape, and newlines, which only fold the field.
void append_unquoted(std::string& part, std::string_view text) {
    for (std::size_t i = 0; i < text.size() && part.size() < kLongestPart; ++i) {
        if (text[i] == '\\') {
            ++i;
        }
        if (text[i] != '\r' && text[i] != '\n') {
            part += tolva::to_lower(text[i]);
        }
    }
}

// Puts the address of one mailbox together from its tokens.
class AddressBuilder {
  public:
    void take(const FieldToken& token) {
        if (token.is('<') || token.is(':')) {
            *this = {};  // what came before was a name or a route
        } else if (token.is('@')) {
            begin_domain();
        } else if (part_ == Part::kLocalPart) {
            take_in_local_part(token);
        } else if (part_ == Part::kDomain) {
            take_in_domain(token);
        }
    }

    [[nodiscard]] const MailAddress& address() const { return address_; }

  private:
    enum class Part { kLocalPart, kDomain, kAfterDomain };

    void begin_domain() {
        if (part_ != Part::kLocalPart) {
            address_.local_part.clear();  // with a second "@" it is no address
        }
        part_ = Part::kDomain;
        expects_word_ = true;
    }

    void take_in_local_part(const FieldToken& token) {
        if (token.is('.')) {
            append_lowered(address_.local_part, token.text);
            expects_word_ = true;
        } else if (token.is_word()) {
            if (!expects_word_) {
                address_.local_part.clear();  // the words before were a name
            }
            append_word(token);
            expects_word_ = false;
        }
    }

    void append_word(const FieldToken& word) {
        if (word.kind == FieldToken::Kind::kQuotedString) {
            append_unquoted(address_.local_part, word.text);
        } else {
            append_lowered(address_.local_part, word.text);
        }
    }

    void take_in_domain(const FieldToken& token) {
        const bool is_label =
            token.kind == FieldToken::Kind::kAtom || token.kind == FieldToken::Kind::kDomainLiteral;
        if (token.is('.') || (is_label && expects_word_)) {
            append_lowered(address_.domain, token.text);
            expects_word_ = token.is('.');
        } else {
            part_ = Part::kAfterDomain;
        }
    }

    MailAddress address_;
    Part part_ = Part::kLocalPart;
    bool expects_word_ = true;  // at the start of either part and after a dot
};

bool ends_mailbox(const FieldToken& token) {
    return token.kind == FieldToken::Kind::kEnd || token.is(',') || token.is(';') || token.is('>');
}

}  // namespace

MailAddress bare_address(std::string_view text) {
    const std::size_t at = text.rfind('@');
    MailAddress address;
    append_lowered(address.local_part, text.substr(0, at));
    if (at != std::string_view::npos) {
        append_lowered(address.domain, text.substr(at + 1));
    }
    return address;
}

std::optional<MailAddress> AddressReader::next() {
    AddressBuilder builder;
    for (;;) {
        const FieldToken token = tokens_.next();
        if (!ends_mailbox(token)) {
            builder.take(token);
        } else if (!builder.address().local_part.empty()) {
            return builder.address();
        } else if (token.kind == FieldToken::Kind::kEnd) {
            return std::nullopt;
        } else {
            builder = {};
        }
    }
}

}  // namespace autoresponder
