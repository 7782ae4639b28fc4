// SPDX-License-Identifier: Apache-2.0

#pragma once

// Mail as an independent parser (GMime) reads it.

#include <cstddef>
#include <string>
#include <vector>

struct ReadAttachment {
    std::string name;
    std::string bytes;
};

struct ReadMail {
    std::string from;     // as displayed, UTF-8
    std::string to;       // likewise
    std::string subject;  // decoded, UTF-8
    std::string reply_to;
    std::string text_type;  // "text/plain" and the like, of the first part
    std::string text;       // of the first part, converted from its charset to UTF-8
    std::vector<ReadAttachment> attachments;
    std::size_t parts = 0;  // leaves of the MIME tree
};

// Throws std::runtime_error when the parser cannot read it.
ReadMail read_mail(const std::string& bytes);

// A header's text with its encoded words decoded, UTF-8.
std::string decode_words(const std::string& text);
