// SPDX-License-Identifier: Apache-2.0

#include "encoding/iconv_recode.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "encoding/iconv_descriptor.h"

namespace {

constexpr std::size_t kPieceSize = 4096;

using TakePiece = std::function<void(std::string_view)>;

// Gathers the output of single calls into pieces: hostile text may take a call for every byte.
class Pieces {
  public:
    explicit Pieces(const TakePiece& take) : take_(take) {}

    // Takes up to a whole piece.
    void add(std::string_view bytes) {
        if (size_ + bytes.size() > piece_.size()) {
            hand_over();
        }
        std::copy(bytes.begin(), bytes.end(), piece_.begin() + static_cast<std::ptrdiff_t>(size_));
        size_ += bytes.size();
    }

    void hand_over() {
        if (size_ > 0) {
            take_({piece_.data(), std::exchange(size_, 0)});
        }
    }

  private:
    const TakePiece& take_;
    std::array<char, kPieceSize> piece_;
    std::size_t size_ = 0;
};

// Converts as much of `text` as fits into one piece and removes it from there. Returns iconv's
// errno, 0 for success.
int convert_piece(iconv_t descriptor, std::string_view& text, Pieces& pieces) {
    std::array<char, kPieceSize> piece;
    char* input = const_cast<char*>(text.data());  // iconv(3) does not write there
    std::size_t left = text.size();
    char* output = piece.data();
    std::size_t room = piece.size();
    errno = 0;
    iconv(descriptor, &input, &left, &output, &room);
    const int error = errno;
    pieces.add({piece.data(), piece.size() - room});
    text.remove_prefix(text.size() - left);
    return error;
}

// Converts all of `text`; false when it cannot be converted to its end.
bool convert(iconv_t descriptor, std::string_view text, bool skip_invalid, Pieces& pieces) {
    while (!text.empty()) {
        const std::size_t left_before = text.size();
        const int error = convert_piece(descriptor, text, pieces);
        if (error == EILSEQ && skip_invalid) {
            // A `to` with "//IGNORE" makes the C library leave out what is invalid and report it
            // only after it has read everything: then there is no byte to step over.
            if (!text.empty()) {
                text.remove_prefix(1);
                pieces.add("?");
            }
            continue;
        }
        // No single character fills a piece: a call that reads nothing would do so forever.
        if ((error != 0 && error != E2BIG) || text.size() == left_before) {
            return false;
        }
    }
    return true;
}

}  // namespace

namespace tolva {

std::string iconvRecode(const std::string& text, const std::string& from, const std::string& to,
                        bool skip_invalid) {
    std::string result;
    iconvRecode(text, from, to, skip_invalid,
                [&result](std::string_view piece) { result += piece; });
    return result;
}

void iconvRecode(std::string_view text, const std::string& from, const std::string& to,
                 bool skip_invalid, const TakePiece& take_piece) {
    IconvDescriptor descriptor(from, to);
    if (!descriptor.is_open()) {
        throw std::runtime_error("Cannot convert from " + from + " to " + to);
    }
    Pieces pieces(take_piece);
    if (!convert(descriptor.get(), text, skip_invalid, pieces)) {
        throw std::runtime_error("Conversion from " + from + " to " + to);
    }
    pieces.hand_over();
    if (!descriptor.close()) {
        // The target is named "utf-8" whatever it was; the text is matched as it stands.
        throw std::runtime_error("Closing conversion from " + from + " to utf-8 failed");
    }
}

}  // namespace tolva
