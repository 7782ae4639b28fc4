#include "encoding/iconv_recode.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <stdexcept>

namespace {

// What strangers name as their charset may be a megabyte of "/a": iconv_open(3) takes its time, in
// the square of the length. The names that the C library knows have at most some twenty bytes.
constexpr std::size_t kLongestName = 1024;

// An open conversion; its descriptor is given back on every way out.
class Conversion {
  public:
    Conversion(const std::string& to, const std::string& from)
        : descriptor_(is_usable(to) && is_usable(from) ? iconv_open(to.c_str(), from.c_str())
                                                       : closed()) {}
    ~Conversion() { close(); }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    [[nodiscard]] bool is_open() const { return descriptor_ != closed(); }

    bool close() {
        const iconv_t descriptor = descriptor_;
        descriptor_ = closed();
        return descriptor == closed() || iconv_close(descriptor) == 0;
    }

    // Converts as much of `input` as fits into one piece, appends it to `result` and moves `input`
    // and `left` behind what was read. Returns iconv's errno, 0 for success.
    int convert_piece(char*& input, std::size_t& left, std::string& result) {
        std::array<char, 4096> piece;
        char* output = piece.data();
        std::size_t room = piece.size();
        errno = 0;
        iconv(descriptor_, &input, &left, &output, &room);
        const int error = errno;
        result.append(piece.data(), piece.size() - room);
        return error;
    }

  private:
    static bool is_usable(const std::string& name) { return name.size() <= kLongestName; }

    // What iconv_open(3) returns for failure.
    static iconv_t closed() {
        return reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr)
    }

    iconv_t descriptor_;
};

// Converts all of `text`; false when it cannot be converted to its end.
bool convert(Conversion& conversion, const std::string& text, bool skip_invalid,
             std::string& result) {
    char* input = const_cast<char*>(text.data());  // iconv(3) does not write there
    std::size_t left = text.size();
    while (left > 0) {
        const std::size_t left_before = left;
        const int error = conversion.convert_piece(input, left, result);
        if (error == EILSEQ && skip_invalid) {
            // A `to` with "//IGNORE" makes the C library leave out what is invalid and report it
            // only after it has read everything: then there is no byte to step over.
            if (left > 0) {
                ++input;
                --left;
                result += '?';
            }
            continue;
        }
        // No single character fills a piece: a call that reads nothing would do so for ever.
        if ((error != 0 && error != E2BIG) || left == left_before) {
            return false;
        }
    }
    return true;
}

}  // namespace

namespace tolva {

std::string iconvRecode(const std::string& text, const std::string& from, const std::string& to,
                        bool skip_invalid) {
    Conversion conversion(to, from);
    if (!conversion.is_open()) {
        throw std::runtime_error("Cannot convert from " + from + " to " + to);
    }
    std::string result;
    if (!convert(conversion, text, skip_invalid, result)) {
        throw std::runtime_error("Conversion from " + from + " to " + to);
    }
    if (!conversion.close()) {
        // The target is named "utf-8" whatever it was; the text is matched as it stands.
        throw std::runtime_error("Closing conversion from " + from + " to utf-8 failed");
    }
    return result;
}

}  // namespace tolva
