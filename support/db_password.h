#pragma once

#include <array>
#include <cstddef>

namespace tolva::db {

/// The administrator's password, wiped from memory when it is no longer needed.
class AdminPassword {
  public:
    AdminPassword() = default;
    AdminPassword(const AdminPassword&) = delete;
    AdminPassword& operator=(const AdminPassword&) = delete;
    AdminPassword(AdminPassword&&) = delete;
    AdminPassword& operator=(AdminPassword&&) = delete;
    ~AdminPassword();

    /// Reads the first line of /etc/tva/.tva.shadow, at most 99 characters, without the line feed
    /// at its end; a carriage return there is part of it. False with errno and the reason
    /// in err, a buffer of that size; errno is 0 if the file is empty.
    bool read(char* err, std::size_t size);

    const char* text() const { return text_.data(); }

  private:
    std::array<char, 100> text_{};
};

}  // namespace tolva::db
