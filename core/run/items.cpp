// SPDX-License-Identifier: Apache-2.0

#include "core/run/items.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace autoresponder {

namespace {

struct Head {
    std::uint32_t kind;
    std::uint32_t length;
};

constexpr std::size_t kBufferSize = 65536;
constexpr std::size_t kMostBytes = kBufferSize - sizeof(Head);  // of one item

// A reader that has gone fails the write; it raises no signal.
tolva::Result<void> send_whole(int socket, std::string_view bytes,
                               const ItemWriter::WaitForRoom& wait) {
    const int flags = wait ? MSG_NOSIGNAL | MSG_DONTWAIT : MSG_NOSIGNAL;
    while (!bytes.empty()) {
        if (wait) {
            wait();
        }
        const ssize_t sent = TEMP_FAILURE_RETRY(send(socket, bytes.data(), bytes.size(), flags));
        if (sent < 0) {
            return tolva::Errno{errno};
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return {};
}

}  // namespace

// All memory at once, so that exhausted memory can still be told of.
ItemWriter::ItemWriter(int socket, WaitForRoom wait) : socket_(socket), wait_(std::move(wait)) {
    pending_.reserve(kBufferSize);
}

void ItemWriter::put(std::uint32_t kind, std::string_view bytes) {
    do {
        const std::string_view part = bytes.substr(0, kMostBytes);
        bytes.remove_prefix(part.size());
        if (pending_.size() + sizeof(Head) + part.size() > kBufferSize && !flush()) {
            return;
        }
        const Head head{kind, static_cast<std::uint32_t>(part.size())};
        pending_.append(reinterpret_cast<const char*>(&head), sizeof head).append(part);
    } while (!bytes.empty());
}

void ItemWriter::put_number(std::uint32_t kind, std::uint64_t number) {
    put(kind, {reinterpret_cast<const char*>(&number), sizeof number});
}

tolva::Result<void> ItemWriter::flush() {
    if (sent_) {
        sent_ = send_whole(socket_, pending_, wait_);
    }
    pending_.clear();
    return sent_;
}

// Not initialised: mostly a page or two are used.
ItemReader::ItemReader(Read read)
    : read_(std::move(read)), buffer_(std::make_unique_for_overwrite<char[]>(kBufferSize)) {}

std::optional<Item> ItemReader::next() {
    if (!fill(sizeof(Head))) {
        return std::nullopt;
    }
    Head head{};
    std::memcpy(&head, buffer_.get() + begin_, sizeof head);
    if (head.length > kMostBytes || !fill(sizeof head + head.length)) {
        return std::nullopt;
    }
    const std::string_view bytes(buffer_.get() + begin_ + sizeof head, head.length);
    begin_ += sizeof head + head.length;
    return Item{head.kind, bytes};
}

// Makes sure that the buffer contains `length` bytes that have not been taken.
bool ItemReader::fill(std::size_t length) {
    if (begin_ + length > kBufferSize) {
        std::copy(buffer_.get() + begin_, buffer_.get() + end_, buffer_.get());
        end_ -= begin_;
        begin_ = 0;
    }
    while (end_ - begin_ < length) {
        const std::size_t count = read_(std::span(buffer_.get(), kBufferSize).subspan(end_));
        if (count == 0) {
            return false;
        }
        end_ += count;
    }
    return true;
}

std::optional<std::uint64_t> number_in(const Item& item) {
    std::uint64_t number = 0;
    if (item.bytes.size() != sizeof number) {
        return std::nullopt;
    }
    std::memcpy(&number, item.bytes.data(), sizeof number);
    return number;
}

}  // namespace autoresponder
