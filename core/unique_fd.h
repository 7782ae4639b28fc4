#pragma once

/// Owner of a file descriptor, which it closes.
class Unique_fd {
  public:
    Unique_fd() = default;
    /// Takes over `fd`; a negative value stands for none, so the result of open(2) fits as it is.
    explicit Unique_fd(int fd) : fd_(fd) {}
    Unique_fd(Unique_fd&& other) noexcept : fd_(other.release()) {}
    Unique_fd& operator=(Unique_fd&& other) noexcept;
    Unique_fd(const Unique_fd&) = delete;
    Unique_fd& operator=(const Unique_fd&) = delete;
    ~Unique_fd() { close(); }

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }

    /// Gives the descriptor to the caller.
    [[nodiscard]] int release();

    /// Closes now; errno stays what it was.
    void close() noexcept;

  private:
    int fd_ = -1;
};
