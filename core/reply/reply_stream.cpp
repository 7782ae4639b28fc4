// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_stream.h"

#include <cstddef>

#include "support/descriptor.h"

namespace autoresponder {

namespace {

constexpr std::size_t kBufferSize = 65536;

}  // namespace

ReplyStream::ReplyStream(int fd, SizeLimit limit) : std::ostream(nullptr), buffer_(fd, limit) {
    rdbuf(&buffer_);  // which was constructed after the base; this clears its bad state
}

// All memory at once, while an exception for the lack of it still reaches the caller.
ReplyStream::Buffer::Buffer(int fd, SizeLimit limit) : fd_(fd), limit_(limit) {
    pending_.reserve(kBufferSize);
}

std::streamsize ReplyStream::Buffer::xsputn(const char* text, std::streamsize length) {
    const std::string_view added(text, static_cast<std::size_t>(length));
    const bool fits = pending_.size() + added.size() <= kBufferSize;
    if (!fits && sync() != 0) {
        return 0;
    }
    if (added.size() > kBufferSize) {
        return write_out(added) ? length : 0;
    }
    pending_.append(added);
    return length;
}

ReplyStream::Buffer::int_type ReplyStream::Buffer::overflow(int_type character) {
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

int ReplyStream::Buffer::sync() {
    const bool written = write_out(pending_);
    pending_.clear();
    return written ? 0 : -1;
}

// Counts the text against the limit and writes it, unless that or an earlier write has failed.
bool ReplyStream::Buffer::write_out(std::string_view text) {
    size_ += static_cast<off_t>(text.size());
    if (error_ == 0 && !too_large()) {
        error_ = tolva::write_whole(fd_, text).error();
    }
    return error_ == 0 && !too_large();
}

}  // namespace autoresponder
