// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "support/result.h"

/// What a process and one that it has forked say to each other over a stream socket: items, each of
/// a kind that both know, with bytes.
namespace autoresponder {

struct Item {
    std::uint32_t kind = 0;
    std::string_view bytes;
};

/// Writes items to a socket of the caller's. They are sent when there are some 64 KiB of them, and
/// by flush().
class ItemWriter {
  public:
    using WaitForRoom = std::function<void()>;

    /// `wait` waits until the socket takes more; what it throws is passed on by put and flush. The
    /// kernel does that, for as long as it takes, where there is none.
    explicit ItemWriter(int socket, WaitForRoom wait = {});

    /// Adds the bytes as one item, or as several if they are many; the receiver puts them together
    /// again. Empty bytes are an item, too. After a failure nothing more is sent. Allocates
    /// nothing.
    void put(std::uint32_t kind, std::string_view bytes);

    /// Adds a number.
    void put_number(std::uint32_t kind, std::uint64_t number);

    /// Sends what has been added. Yields how that, or an earlier sending, failed.
    tolva::Result<void> flush();

  private:
    int socket_;
    WaitForRoom wait_;
    std::string pending_;
    tolva::Result<void> sent_;
};

/// Takes the items out of the bytes that `read` yields: as many as there are at once, up to the
/// size of its argument, and none at the end.
class ItemReader {
  public:
    using Read = std::function<std::size_t(std::span<char>)>;

    explicit ItemReader(Read read);

    /// The next item, whose bytes are valid until the next call; null at the end, or where what
    /// comes is no item. What `read` throws is passed on.
    std::optional<Item> next();

  private:
    bool fill(std::size_t length);

    Read read_;
    std::unique_ptr<char[]> buffer_;
    std::size_t begin_ = 0;  // of what has not been taken
    std::size_t end_ = 0;
};

/// The number that the item holds; null if it holds none.
std::optional<std::uint64_t> number_in(const Item& item);

}  // namespace autoresponder
