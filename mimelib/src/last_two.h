// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace mimelib {

// Owns the two elements of a sequence that were used last. A walk from element to element needs no
// more, however long the sequence is. Elements are known by the position they were read from.
template <typename Element>
class LastTwo {
  public:
    // Counts `element`, one of the two, as the one used last.
    void use(const Element& element) {
        if (older_.element.get() == &element) {
            std::swap(older_, newer_);
        }
    }

    // The element at `position`, or null if there is none. Unless it is one of the two, `read()`
    // makes it, and it replaces the one used longer ago.
    template <typename Read>
    Element* at(std::size_t position, Read read) {
        if (older_.is_at(position)) {
            std::swap(older_, newer_);
        }
        if (!newer_.is_at(position)) {
            std::unique_ptr<Element> element = read();
            if (!element) {
                return nullptr;
            }
            older_ = std::move(newer_);
            newer_ = {position, std::move(element)};
        }
        return newer_.element.get();
    }

  private:
    struct Held {
        std::size_t position = 0;
        std::unique_ptr<Element> element;

        bool is_at(std::size_t wanted) const { return element && position == wanted; }
    };

    Held older_;
    Held newer_;
};

}  // namespace mimelib
