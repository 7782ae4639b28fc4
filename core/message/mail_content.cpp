// SPDX-License-Identifier: Apache-2.0

#include "core/message/mail_content.h"

#include <algorithm>
#include <utility>

namespace autoresponder {

namespace {

std::size_t first_line_length(std::string_view text) {
    return std::min(text.find('\n'), text.size());
}

}  // namespace

BodyLines::Iterator::Iterator(std::string_view text)
    : rest_(text), length_(first_line_length(text)), at_end_(false) {}

BodyLines::Iterator& BodyLines::Iterator::operator++() {
    if (length_ == rest_.size()) {
        at_end_ = true;
    } else {
        rest_.remove_prefix(length_ + 1);
        length_ = first_line_length(rest_);
    }
    return *this;
}

void set_recipient(Mail_content& mail, std::string address) {
    mail.to = std::move(address);
    // Without "@" both are the whole address: npos + 1 is 0.
    const std::size_t at = mail.to.find('@');
    mail.to_mailname = mail.to.substr(0, at);
    mail.to_domain = mail.to.substr(at + 1);
}

}  // namespace autoresponder
