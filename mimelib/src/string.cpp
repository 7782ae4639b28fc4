// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include <mimelib/string.h>

#include "mimelib/src/view.h"

// The header of an allocation; the bytes follow it. A zero byte always stands after the bytes in
// use, and room for it is not part of the capacity.
struct DwString::Buffer {
    std::size_t references;
    std::size_t used;
    std::size_t capacity;
    // Copies of slices that c_str() had to make, the latest first. They go with the buffer.
    Buffer* copies;

    char* bytes() { return reinterpret_cast<char*>(this + 1); }
    void set_used(std::size_t length) {
        used = length;
        bytes()[length] = '\0';
    }
    void assign(const char* text, std::size_t length) {
        std::memcpy(bytes(), text, length);
        set_used(length);
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
    return new (memory) Buffer{1, 0, capacity, nullptr};
}

void DwString::release(Buffer* buffer) noexcept {
    if (buffer == nullptr || --buffer->references > 0) {
        return;
    }
    while (buffer != nullptr) {
        Buffer* const next = buffer->copies;
        std::free(buffer);
        buffer = next;
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
    buffer_->assign(buf, len);
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
    if (data()[length_] == '\0') {
        return data();
    }
    // Asking again for the same slice returns the same copy.
    Buffer* copy = buffer_->copies;
    if (copy == nullptr || std::string_view(copy->bytes(), copy->used) != mimelib::view(*this)) {
        copy = allocate(length_);
        copy->assign(data(), length_);
        copy->copies = std::exchange(buffer_->copies, copy);
    }
    return copy->bytes();
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

// Makes the buffer this string's own, with room for `extra` bytes after the string.
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

void DwString::move_to_own_buffer(std::size_t capacity) {
    Buffer* own = allocate(capacity);
    own->assign(data(), length_);
    release(buffer_);
    buffer_ = own;
    start_ = 0;
}

bool operator==(const DwString& left, const DwString& right) noexcept {
    return mimelib::view(left) == mimelib::view(right);
}
