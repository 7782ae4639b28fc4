// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/address_elements.h"

#include "mimelib/src/tokenizer.h"

namespace mimelib {

std::optional<AddressElement> AddressElements::next() {
    if (position_ > text_.size()) {
        return std::nullopt;
    }
    Tokenizer tokenizer(text_, kAddressBytes, position_);
    enum class Within { kNothing, kAngle, kGroup } within = Within::kNothing;
    AddressElement element;
    element.slice.begin = position_;
    bool is_before_colon = true;
    for (Token token = tokenizer.next(); token.kind != TokenKind::kEnd; token = tokenizer.next()) {
        is_before_colon = is_before_colon && !token.is(':');
        element.is_named = element.is_named || (is_before_colon && token.is_word());
        if (within == Within::kAngle) {
            within = token.is('>') ? Within::kNothing : within;
        } else if (within == Within::kGroup) {
            within = token.is(';') ? Within::kNothing : within;
        } else if (token.is(',')) {
            element.slice.length = token.slice.begin - element.slice.begin;
            position_ = tokenizer.position();
            return element;
        } else if (token.is('<')) {
            within = Within::kAngle;
        } else if (token.is(':') && groups_ == Groups::kRecognised) {
            within = Within::kGroup;
            element.is_group = true;
        }
    }
    element.slice.length = text_.size() - element.slice.begin;
    position_ = text_.size() + 1;
    return element;
}

}  // namespace mimelib
