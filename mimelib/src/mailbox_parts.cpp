// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/mailbox_parts.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "mimelib/src/tokenizer.h"
#include "mimelib/src/view.h"

namespace mimelib {
namespace {

// Joins tokens. As long as they follow each other without a gap, the result is a slice.
class JoinedTokens {
  public:
    explicit JoinedTokens(const DwString& source) : source_(source) {}

    void add(Slice token) {
        if (!pieces_.empty()) {
            pieces_.append(view(source_), token.begin, token.length);
        } else if (run_.length == 0) {
            run_ = token;
        } else if (run_.begin + run_.length == token.begin) {
            run_.length += token.length;
        } else {
            pieces_.assign(view(source_), run_.begin, run_.length);
            pieces_.append(view(source_), token.begin, token.length);
        }
    }
    void clear() {
        run_ = {};
        pieces_.clear();
    }
    DwString text() const {
        return pieces_.empty() ? slice_of(source_, run_) : DwString(pieces_.data(), pieces_.size());
    }

  private:
    const DwString& source_;
    Slice run_;
    std::string pieces_;
};

enum class State {
    kStart,      // display name or local part; '<' will tell
    kAngle,      // after '<', before the local part
    kRoute,      // after an '@' there: "@relay,@relay:"
    kLocalPart,  // within <...>
    kDomain,
    kEnd
};

class MailboxReader {
  public:
    explicit MailboxReader(const DwString& text) : local_part_(text), domain_(text) {}

    State take(State state, const Token& token) {
        switch (state) {
            case State::kStart:
                return at_start(token);
            case State::kAngle:
                return after_angle(token);
            case State::kRoute:
                return token.is(':') ? State::kLocalPart : State::kRoute;
            case State::kLocalPart:
                return in_local_part(token);
            case State::kDomain:
            case State::kEnd:
                break;
        }
        return in_domain(token);
    }

    DwString local_part() const { return local_part_.text(); }
    DwString domain() const { return domain_.text(); }

  private:
    State at_start(const Token& token) {
        if (token.is('<')) {
            local_part_.clear();
            return State::kAngle;
        }
        return in_local_part(token) == State::kDomain ? State::kDomain : State::kStart;
    }

    State after_angle(const Token& token) {
        if (token.is('@')) {
            return State::kRoute;
        }
        return token.is_word() ? in_local_part(token) : State::kAngle;
    }

    State in_local_part(const Token& token) {
        if (token.is('@')) {
            return State::kDomain;
        }
        if (token.is_word() || token.is('.')) {
            local_part_.add(token.slice);
        }
        return State::kLocalPart;
    }

    State in_domain(const Token& token) {
        if (token.is('>')) {
            return State::kEnd;
        }
        if (token.kind == TokenKind::kAtom || token.kind == TokenKind::kDomainLiteral ||
            token.is('.')) {
            domain_.add(token.slice);
        }
        return State::kDomain;
    }

    JoinedTokens local_part_;
    JoinedTokens domain_;
};

// The text with one space in place of each CR LF, CR and LF.
DwString on_one_line(const DwString& text) {
    if (view(text).find_first_of("\r\n") == std::string_view::npos) {
        return text;
    }
    std::string line;
    line.reserve(text.length());
    for (std::size_t i = 0; i < text.length(); ++i) {
        if (text[i] == '\r' && i + 1 < text.length() && text[i + 1] == '\n') {
            ++i;
        }
        line += text[i] == '\r' || text[i] == '\n' ? ' ' : text[i];
    }
    return {line.data(), line.size()};
}

}  // namespace

MailboxParts read_mailbox(const DwString& text) {
    Tokenizer tokenizer(view(text), kAddressBytes);
    MailboxReader reader(text);
    State state = State::kStart;
    for (Token token = tokenizer.next(); token.kind != TokenKind::kEnd && state != State::kEnd;
         token = tokenizer.next()) {
        state = reader.take(state, token);
    }
    return {on_one_line(reader.local_part()), reader.domain()};
}

}  // namespace mimelib
