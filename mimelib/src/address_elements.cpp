#include "mimelib/src/address_elements.h"

namespace mimelib {

std::optional<AddressElement> AddressElements::next() {
    if (at_end_) {
        return std::nullopt;
    }
    enum class Within { kNothing, kAngle, kGroup } within = Within::kNothing;
    AddressElement element;
    element.slice.begin = tokenizer_.position();
    bool has_word = false;
    for (Token token = tokenizer_.next(); token.kind != TokenKind::kEnd;
         token = tokenizer_.next()) {
        if (within == Within::kAngle) {
            within = token.is('>') ? Within::kNothing : within;
        } else if (within == Within::kGroup) {
            within = token.is(';') ? Within::kNothing : within;
        } else if (token.is(',')) {
            element.slice.length = token.slice.begin - element.slice.begin;
            return element;
        } else if (token.is('<')) {
            within = Within::kAngle;
        } else if (token.is(':') && groups_ == Groups::kRecognised) {
            within = Within::kGroup;
            element.is_named = element.is_named || (!element.is_group && has_word);
            element.is_group = true;
        }
        has_word = has_word || token.is_word();
    }
    at_end_ = true;
    element.slice.length = size_ - element.slice.begin;
    return element;
}

}  // namespace mimelib
