#pragma once

#include <unistd.h>

#include <utility>

namespace tolva {

// The one owner of a descriptor; -1 is none.
class descriptor {
  public:
    explicit descriptor(int number = -1) : number_(number) {}
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor& operator=(descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~descriptor() { reset(); }

    int get() const { return number_; }

    void reset() {
        if (number_ != -1) {
            ::close(std::exchange(number_, -1));
        }
    }

  private:
    int number_;
};

}  // namespace tolva
