// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <cstddef>

namespace tolva::db {

/// The administrator's password, wiped from memory when it is no longer needed.
class AdminPassword {
  public:
    static constexpr char kFile[] = "/etc/tva/.tva.shadow";

    /// How much of its line is read.
    static constexpr std::size_t kMostBytes = 99;

    AdminPassword() = default;
    AdminPassword(const AdminPassword&) = delete;
    AdminPassword& operator=(const AdminPassword&) = delete;
    AdminPassword(AdminPassword&&) = delete;
    AdminPassword& operator=(AdminPassword&&) = delete;
    ~AdminPassword();

    /// Reads the first line of kFile, at most kMostBytes, without the line feed
    /// at its end; a carriage return there is part of it. False with errno and the reason
    /// in err, a buffer of that size; errno is 0 if the file is empty.
    [[nodiscard]] bool read(char* err, std::size_t size);

    [[nodiscard]] const char* text() const { return text_.data(); }

  private:
    std::array<char, kMostBytes + 1> text_{};
};

}  // namespace tolva::db
