// SPDX-License-Identifier: Apache-2.0

#include "encoding/rfc1522.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "encoding/base64_decode_internal.h"
#include "encoding/complaints.h"
#include "encoding/iconv_recode.h"
#include "encoding/loaded_charsets.h"
#include "encoding/rfc1522_internal.h"

namespace tolva::rfc1522 {

namespace {

constexpr const char* kBlanks = " \t";

// The byte that the one or two characters after a "=" stand for. strtoul(3) reads them, so a sign
// or a white-space character before a digit counts too.
char qp_byte(const std::string& pair, Complaints& complaints) {
    char* end = nullptr;
    const unsigned long byte = std::strtoul(pair.c_str(), &end, 16);
    if (end == pair.c_str() && !pair.empty()) {
        complaints.add("Bad hex in quoted-printable string: ", pair);
    }
    return static_cast<char>(byte);
}

std::string qp_decode(std::string_view data, Complaints& complaints) {
    std::string bytes;
    bytes.reserve(data.size());
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (data[i] == '_') {
            bytes += ' ';
        } else if (data[i] == '=') {
            const std::string pair(data.substr(i + 1, 2));
            bytes += qp_byte(pair, complaints);
            i += pair.size();
        } else {
            bytes += data[i];
        }
    }
    return bytes;
}

// Decodes the words of one field body.
class WordDecoder {
  public:
    std::string decode(const std::string& word);

  private:
    std::string decode_data(std::string_view encoding, std::string_view data);

    Complaints complaints_;
    LoadedCharsets charsets_;
};

std::string WordDecoder::decode_data(std::string_view encoding, std::string_view data) {
    if (encoding == "q" || encoding == "Q") {
        return qp_decode(data, complaints_);
    }
    if (encoding == "b" || encoding == "B") {
        return base64_decode(data, complaints_);
    }
    return {};
}

std::string WordDecoder::decode(const std::string& word) {
    if (!word.starts_with("=?")) {
        return word;
    }
    const std::size_t charset = 2;
    const std::size_t charset_end = word.find('?', charset);
    if (charset_end == std::string::npos) {
        complaints_.add("wrong rfc1522 sequence (no charset): ", word);
        return word;
    }
    const std::size_t encoding = charset_end + 1;
    const std::size_t encoding_end = word.find('?', encoding);
    if (encoding_end == std::string::npos) {
        complaints_.add("wrong rfc1522 sequence (no encoding): ", word);
        return word;
    }
    const std::size_t data = encoding_end + 1;
    const std::size_t data_end = word.find("?=", data);
    if (data_end == std::string::npos) {
        complaints_.add("wrong rfc1522 sequence (no data): ", word);
        return word;
    }
    const std::size_t word_end = data_end + 2;
    if (word_end != word.size()) {
        complaints_.add("wrong rfc1522 sequence (trailing stuff): ", word);
    }
    const std::string_view view = word;
    const std::string bytes = decode_data(view.substr(encoding, encoding_end - encoding),
                                          view.substr(data, data_end - data));
    const std::string charset_name = word.substr(charset, charset_end - charset);
    charsets_.keep(charset_name);
    return iconvRecode(bytes, charset_name, "utf-8", true).append(word, word_end);
}

}  // namespace

bool rfc1522_nonprintable(char c) {
    constexpr std::string_view special = "!\"()*+-/=?_";
    return static_cast<signed char>(c) < 0x20 || special.find(c) != std::string_view::npos;
}

std::string qp_encode(const std::string& text) {
    constexpr const char* hex_digits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() * 3);
    for (const char c : text) {
        if (c == ' ') {
            encoded += '_';
        } else if (rfc1522_nonprintable(c)) {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '=';
            encoded += hex_digits[byte >> 4];
            encoded += hex_digits[byte & 0xF];
        } else {
            encoded += c;
        }
    }
    return encoded;
}

std::string rfc1522_decode_word(const std::string& word) {
    return WordDecoder().decode(word);
}

std::string decode(std::string text) {  // NOLINT(performance-unnecessary-value-param)
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::out_of_range("rfc1522::decode: text of 4 GiB or more");
    }
    WordDecoder words;
    std::string result;
    std::uint32_t position = 0;
    for (;;) {
        const std::size_t blanks = text.find_first_of(kBlanks, position);
        const std::string word = text.substr(position, blanks - position);
        result += words.decode(word);
        if (blanks == std::string::npos) {
            return result;
        }
        // On purpose in 32 bits: after trailing blanks "none found" becomes 4294967295, no longer
        // npos, and the next substr throws std::out_of_range. Such a text is not decodable.
        const auto next = static_cast<std::uint32_t>(text.find_first_not_of(kBlanks, blanks));
        if (!word.ends_with("?=") || text.substr(next, 2) != "=?") {
            result.append(text, blanks, next - blanks);
        }
        position = next;
    }
}

std::string encode(std::string text) {
    const auto special = std::find_if(text.begin(), text.end(), rfc1522_nonprintable);
    if (special == text.end()) {
        return text;
    }
    // Only the first byte of the text can stay plain, and only when it is a blank; a leading tab is
    // itself special.
    if (text.front() == ' ') {
        return " =?utf-8?Q?" + qp_encode(text.substr(1)) + "?=";
    }
    return "=?utf-8?Q?" + qp_encode(text) + "?=";
}

}  // namespace tolva::rfc1522
