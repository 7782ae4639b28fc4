// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <utility>

/// A byte string that may hold zero bytes. Copies and substrings share one buffer and cost the same
/// whatever their length. Appending to a string that owns its buffer alone is amortised constant
/// time per byte and grows the buffer in place where the allocator can; otherwise the string first
/// gets a buffer of its own, so that no other string changes.
class DwString {
  public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    DwString() noexcept = default;
    DwString(const DwString& other) noexcept;
    DwString(DwString&& other) noexcept;
    /// Copies `len` bytes from `buf`, which may be null when `len` is 0.
    DwString(const char* buf, std::size_t len);
    /// Copies up to the terminating zero byte; a null pointer makes an empty string.
    DwString(const char* zero_terminated);  // NOLINT(google-explicit-constructor)
    ~DwString();

    DwString& operator=(const DwString& other) noexcept;
    DwString& operator=(DwString&& other) noexcept;
    DwString& operator+=(const DwString& other);

    /// The bytes, without a terminator; never null. Valid until the string is changed or destroyed.
    const char* data() const noexcept;
    /// The bytes with a zero byte after them, valid as long as data(). A slice that ends within its
    /// buffer is copied for this, and the copy lives as long as the buffer; data() and length()
    /// avoid that.
    const char* c_str() const;
    std::size_t length() const noexcept { return length_; }
    std::size_t size() const noexcept { return length_; }
    bool empty() const noexcept { return length_ == 0; }
    /// `position` must be less than the length.
    const char& operator[](std::size_t position) const noexcept { return data()[position]; }

    /// At most `len` bytes from `pos` on, as a slice of the same buffer; empty when `pos` is not
    /// less than the length.
    DwString substr(std::size_t pos, std::size_t len = npos) const noexcept;

    void swap(DwString& other) noexcept;

  private:
    struct Buffer;

    static Buffer* allocate(std::size_t capacity);
    static void release(Buffer* buffer) noexcept;
    void make_room(std::size_t extra);
    void move_to_own_buffer(std::size_t capacity);
    bool owns_alone() const noexcept;

    Buffer* buffer_ = nullptr;
    std::size_t start_ = 0;
    std::size_t length_ = 0;
};

/// Whether both hold the same bytes.
bool operator==(const DwString& left, const DwString& right) noexcept;
