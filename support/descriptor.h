#pragma once

namespace tolva {

/// Owner of a file descriptor, which it closes.
class Descriptor {
  public:
    Descriptor() = default;
    /// Takes over `fd`; a negative value stands for none, so the result of open(2) fits as it is.
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }

    /// Gives the descriptor to the caller.
    [[nodiscard]] int release();

    /// Closes now; errno stays what it was.
    void close() noexcept;

  private:
    int fd_ = -1;
};

}  // namespace tolva
