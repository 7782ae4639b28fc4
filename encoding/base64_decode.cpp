#include "encoding/base64_decode.h"

#include <iostream>

namespace tolva {

namespace {

constexpr unsigned kNoSymbol = 64;

unsigned symbol_value(char symbol) {
    if (symbol >= 'A' && symbol <= 'Z') {
        return static_cast<unsigned>(symbol - 'A');
    }
    if (symbol >= 'a' && symbol <= 'z') {
        return static_cast<unsigned>(symbol - 'a') + 26;
    }
    if (symbol >= '0' && symbol <= '9') {
        return static_cast<unsigned>(symbol - '0') + 52;
    }
    if (symbol == '+') {
        return 62;
    }
    return symbol == '/' ? 63 : kNoSymbol;
}

// Standard error is unbuffered: what is wrong with a run of symbols is written in blocks, not by a
// system call for each symbol.
class Complaints {
  public:
    Complaints() = default;
    ~Complaints() { write(); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    void bad_symbol(char symbol) {
        lines_ += "Bad base64 symbol: ";
        lines_ += symbol;
        lines_ += '\n';
        if (lines_.size() >= kBlock) {
            write();
        }
    }

  private:
    static constexpr std::size_t kBlock = 65536;

    void write() {
        if (!lines_.empty()) {
            std::cerr << lines_;
            lines_.clear();
        }
    }

    std::string lines_;
};

}  // namespace

unsigned base64Take(const std::string& text, std::size_t* pos) {
    Complaints complaints;
    while (*pos < text.size()) {
        const char symbol = text[*pos];
        if (symbol == '=') {
            break;
        }
        ++*pos;
        const unsigned value = symbol_value(symbol);
        if (value != kNoSymbol) {
            return value;
        }
        if (symbol != ' ' && symbol != '\t' && symbol != '\n' && symbol != '\r') {
            complaints.bad_symbol(symbol);
        }
    }
    return 0;
}

std::string base64_decode(const std::string& text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::size_t pos = 0;
    for (;;) {
        const std::size_t start = pos;
        const unsigned a = base64Take(text, &pos);
        const unsigned b = base64Take(text, &pos);
        const unsigned c = base64Take(text, &pos);
        const unsigned d = base64Take(text, &pos);
        const std::size_t consumed = pos - start;
        if (consumed == 0) {
            return bytes;
        }
        bytes += static_cast<char>(a << 2 | b >> 4);
        if (consumed >= 3) {
            bytes += static_cast<char>(b << 4 | c >> 2);
        }
        if (consumed >= 4) {
            bytes += static_cast<char>(c << 6 | d);
        }
    }
}

}  // namespace tolva
