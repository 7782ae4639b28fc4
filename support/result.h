// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <utility>

namespace tolva {

/// Why a system call failed: an errno value, never 0.
struct Errno {
    int value;
};

/// What a system call yields, or why it yields nothing:
///
///     Result<Descriptor> file = open_file(path);
///     if (!file) {
///         report("cannot open ", path, ": ", error_text(file.error()));
///     }
template <typename T>
class [[nodiscard]] Result {
  public:
    Result(T value) : value_(std::move(value)) {}
    Result(Errno error) : error_(error.value) {}

    explicit operator bool() const { return value_.has_value(); }

    /// The errno value; 0 if there is a value.
    [[nodiscard]] int error() const { return error_; }

    /// The value, which must be there.
    T& operator*() { return *value_; }
    const T& operator*() const { return *value_; }
    T* operator->() { return &*value_; }
    const T* operator->() const { return &*value_; }

  private:
    std::optional<T> value_;
    int error_ = 0;
};

/// The result of a call that yields nothing but success.
template <>
class [[nodiscard]] Result<void> {
  public:
    Result() = default;
    Result(Errno error) : error_(error.value) {}

    explicit operator bool() const { return error_ == 0; }
    [[nodiscard]] int error() const { return error_; }

  private:
    int error_ = 0;
};

}  // namespace tolva
