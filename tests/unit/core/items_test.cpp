// SPDX-License-Identifier: Apache-2.0

#include "core/run/items.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/descriptor.h"

namespace {

using namespace autoresponder;

using Items = std::vector<std::pair<std::uint32_t, std::string>>;

// Yields the bytes `piece` at a time.
Items items_in(std::string_view bytes, std::size_t piece = 65536) {
    ItemReader reader([&](std::span<char> place) {
        const std::size_t count = bytes.copy(place.data(), std::min(piece, place.size()));
        bytes.remove_prefix(count);
        return count;
    });
    Items items;
    while (const auto item = reader.next()) {
        items.emplace_back(item->kind, item->bytes);
    }
    return items;
}

class ItemSocket : public testing::Test {
  protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        writing_ = tolva::Descriptor(ends[0]);
        reading_ = tolva::Descriptor(ends[1]);
    }

    // What has been sent so far.
    std::string sent() {
        writing_.close();
        std::string bytes(1'000'000, '\0');
        std::size_t length = 0;
        EXPECT_TRUE(tolva::read_block(reading_.get(), bytes, length));
        bytes.resize(length);
        return bytes;
    }

    tolva::Descriptor writing_;
    tolva::Descriptor reading_;
};

TEST_F(ItemSocket, CarriesItemsHoweverTheyAreCut) {
    ItemWriter writer(writing_.get());
    writer.put(16, "one");
    writer.put(17, "");
    writer.put_number(18, 1234567890123);
    EXPECT_TRUE(writer.flush());
    const std::string bytes = sent();
    const std::uint64_t number = 1234567890123;
    const Items expected = {
        {16, "one"}, {17, ""}, {18, {reinterpret_cast<const char*>(&number), sizeof number}}};
    for (const std::size_t piece : {1U, 2U, 7U, 8U, 9U, 1000U}) {
        EXPECT_EQ(items_in(bytes, piece), expected) << piece;
    }
}

TEST_F(ItemSocket, CarriesManyBytesAsSeveralItems) {
    ItemWriter writer(writing_.get());
    writer.put(16, "before");
    const std::string many(100'000, 'x');
    writer.put(17, many);
    EXPECT_TRUE(writer.flush());
    const Items items = items_in(sent());
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(items[0].second, "before");
    EXPECT_EQ(items[1].first, 17U);
    EXPECT_TRUE(items[1].second + items[2].second == many);
}

TEST_F(ItemSocket, FailsForGoodWhereNobodyReads) {
    reading_.close();
    ItemWriter writer(writing_.get());
    writer.put(16, "x");
    EXPECT_EQ(writer.flush().error(), EPIPE);
    EXPECT_EQ(writer.flush().error(), EPIPE);
}

TEST(ItemReader, StopsWhereNoItemComes) {
    const auto head = [](std::uint32_t kind, std::uint32_t length) {
        std::string bytes(8, '\0');
        std::memcpy(bytes.data(), &kind, 4);
        std::memcpy(bytes.data() + 4, &length, 4);
        return bytes;
    };
    EXPECT_EQ(items_in(""), Items{});
    EXPECT_EQ(items_in("short"), Items{});
    EXPECT_EQ(items_in(head(16, 1)), Items{});
    EXPECT_EQ(items_in(head(16, 0xFFFFFFFF) + std::string(100'000, 'x')), Items{});
    EXPECT_EQ(items_in(head(16, 65529) + std::string(65529, 'x')), Items{});
    EXPECT_EQ(items_in(head(16, 65528) + std::string(65528, 'x')).size(), 1U);
    EXPECT_EQ(items_in(head(16, 1) + "x" + head(17, 9) + "12345678"), (Items{{16, "x"}}));
}

TEST(Item, HoldsANumberOfEightBytes) {
    const std::uint64_t number = 42;
    const std::string_view bytes(reinterpret_cast<const char*>(&number), sizeof number);
    EXPECT_EQ(number_in(Item{16, bytes}), 42U);
    EXPECT_EQ(number_in(Item{16, bytes.substr(1)}), std::nullopt);
    EXPECT_EQ(number_in(Item{16, ""}), std::nullopt);
}

}  // namespace
