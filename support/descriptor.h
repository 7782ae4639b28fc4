#pragma once

#include <optional>

namespace tolva {

/// Owner of a file descriptor, which it closes.
class Descriptor {
  public:
    Descriptor() = default;
    /// Takes over `fd`; a negative value means none, so the result of open(2) can be passed on.
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }

    /// Hands the descriptor over to the caller.
    [[nodiscard]] int release();

    /// Closes it now; keeps errno.
    void close() noexcept;

  private:
    int fd_ = -1;
};

struct Pipe {
    Descriptor read_end;
    Descriptor write_end;
};

/// A pipe whose ends are closed on execv(2), or nothing with errno. The ends have numbers above 2
/// even if a standard stream is closed: a child that is given one of them must not take it for a
/// stream to inherit.
[[nodiscard]] std::optional<Pipe> make_pipe();

}  // namespace tolva
