#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <mimelib/string.h>

// The header of an allocation; the bytes follow it. A zero byte always stands behind the bytes in
// use, and room for it is not part of the capacity.
struct DwString::Buffer {
    std::size_t references;
    std::size_t used;
    std::size_t capacity;

    char* bytes() { return reinterpret_cast<char*>(this + 1); }
    void set_used(std::size_t length) {
        used = length;
        bytes()[length] = '\0';
    }
};

DwString::Buffer* DwString::allocate(std::size_t capacity) {
    if (capacity > PTRDIFF_MAX - sizeof(Buffer) - 1) {
        throw std::bad_alloc();
    }
    void* memory = std::malloc(sizeof(Buffer) + capacity + 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return new (memory) Buffer{1, 0, capacity};
}

void DwString::release(Buffer* buffer) noexcept {
    if (buffer != nullptr && --buffer->references == 0) {
        std::free(buffer);
    }
}

DwString::DwString(const DwString& other) noexcept
    : buffer_(other.buffer_), start_(other.start_), length_(other.length_) {
    if (buffer_ != nullptr) {
        ++buffer_->references;
    }
}

DwString::DwString(DwString&& other) noexcept {
    swap(other);
}

DwString::DwString(const char* buf, std::size_t len) {
    if (len == 0) {
        return;
    }
    buffer_ = allocate(len);
    std::memcpy(buffer_->bytes(), buf, len);
    buffer_->set_used(len);
    length_ = len;
}

DwString::DwString(const char* zero_terminated)
    : DwString(zero_terminated, zero_terminated == nullptr ? 0 : std::strlen(zero_terminated)) {}

DwString::~DwString() {
    release(buffer_);
}

DwString& DwString::operator=(const DwString& other) noexcept {
    DwString copy(other);
    swap(copy);
    return *this;
}

DwString& DwString::operator=(DwString&& other) noexcept {
    DwString moved(std::move(other));
    swap(moved);
    return *this;
}

DwString& DwString::operator+=(const DwString& other) {
    if (other.empty()) {
        return *this;
    }
    if (empty()) {
        return *this = other;
    }
    // Holding the source makes appending a string to itself an append from a shared buffer.
    const DwString source(other);
    make_room(source.length_);
    const std::size_t end = start_ + length_;
    std::memcpy(buffer_->bytes() + end, source.data(), source.length_);
    buffer_->set_used(end + source.length_);
    length_ += source.length_;
    return *this;
}

const char* DwString::data() const noexcept {
    return buffer_ == nullptr ? "" : buffer_->bytes() + start_;
}

const char* DwString::c_str() const {
    if (buffer_ == nullptr) {
        return "";
    }
    const std::size_t end = start_ + length_;
    if (buffer_->bytes()[end] != '\0') {
        if (owns_alone()) {
            buffer_->set_used(end);
        } else {
            move_to_own_buffer(length_);
        }
    }
    return data();
}

DwString DwString::substr(std::size_t pos, std::size_t len) const noexcept {
    if (pos >= length_ || len == 0) {
        return {};
    }
    DwString slice(*this);
    slice.start_ += pos;
    slice.length_ = std::min(len, length_ - pos);
    return slice;
}

void DwString::swap(DwString& other) noexcept {
    std::swap(buffer_, other.buffer_);
    std::swap(start_, other.start_);
    std::swap(length_, other.length_);
}

bool DwString::owns_alone() const noexcept {
    return buffer_ != nullptr && buffer_->references == 1;
}

// Makes the buffer this string's own, with room for `extra` bytes behind the string.
void DwString::make_room(std::size_t extra) {
    const std::size_t end = start_ + length_;
    const bool own = owns_alone();
    const std::size_t kept = own ? end : length_;
    if (extra > PTRDIFF_MAX - kept) {
        throw std::bad_alloc();
    }
    if (own && extra <= buffer_->capacity - end) {
        return;
    }
    const std::size_t capacity = std::max(kept + extra, kept + kept / 2);
    if (!own) {
        move_to_own_buffer(capacity);
        return;
    }
    // realloc can move the pages of a large block instead of copying them, so that the text is
    // never in memory twice.
    if (capacity > PTRDIFF_MAX - sizeof(Buffer) - 1) {
        throw std::bad_alloc();
    }
    void* memory = std::realloc(buffer_, sizeof(Buffer) + capacity + 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    buffer_ = static_cast<Buffer*>(memory);
    buffer_->capacity = capacity;
}

void DwString::move_to_own_buffer(std::size_t capacity) const {
    Buffer* own = allocate(capacity);
    std::memcpy(own->bytes(), data(), length_);
    own->set_used(length_);
    release(buffer_);
    buffer_ = own;
    start_ = 0;
}

bool operator==(const DwString& left, const DwString& right) noexcept {
    return left.length() == right.length() &&
           (left.empty() || std::memcmp(left.data(), right.data(), left.length()) == 0);
}
