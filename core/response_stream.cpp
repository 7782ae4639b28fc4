#include "core/response_stream.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t kBufferSize = 65536;

}  // namespace

ResponseStream::ResponseStream(int fd, SizeLimit limit)
    : std::ostream(nullptr), buffer_(fd, limit) {
    rdbuf(&buffer_);  // which was constructed after the base; this clears its bad state
}

ResponseStream::Buffer::Buffer(int fd, SizeLimit limit)
    : fd_(fd), limit_(limit), pending_(std::make_unique_for_overwrite<char[]>(kBufferSize)) {
    setp(pending_.get(), pending_.get() + kBufferSize);
}

// Counts the text against the limit and writes it, unless that or an earlier write has failed.
bool ResponseStream::Buffer::write_out(const char* text, std::size_t length) {
    size_ += static_cast<off_t>(length);
    while (length > 0 && error_ == 0 && !too_large()) {
        const ssize_t count = ::write(fd_, text, length);
        if (count >= 0) {
            text += count;
            length -= static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    return length == 0;
}

bool ResponseStream::Buffer::write_pending() {
    const auto length = static_cast<std::size_t>(pptr() - pbase());
    setp(pbase(), epptr());
    return write_out(pbase(), length);
}

ResponseStream::Buffer::int_type ResponseStream::Buffer::overflow(int_type character) {
    if (!write_pending()) {
        return traits_type::eof();
    }
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(character);
        pbump(1);
    }
    return traits_type::not_eof(character);
}

std::streamsize ResponseStream::Buffer::xsputn(const char* text, std::streamsize length) {
    if (length > epptr() - pptr() && !write_pending()) {
        return 0;
    }
    if (length > epptr() - pptr()) {
        return write_out(text, static_cast<std::size_t>(length)) ? length : 0;
    }
    std::memcpy(pptr(), text, static_cast<std::size_t>(length));
    pbump(static_cast<int>(length));
    return length;
}

int ResponseStream::Buffer::sync() {
    return write_pending() ? 0 : -1;
}
