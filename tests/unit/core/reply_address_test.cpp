// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_address.h"

#include <cstddef>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "encoding/idn.h"

namespace {

using namespace autoresponder;
using namespace std::string_literals;

// What the library itself says: the converted address or the reason why there is none.
std::string by_library(const std::string& address) {
    try {
        return tolva::idn::toAscii(address);
    } catch (const tolva::idn::IdnaError& error) {
        return std::string("error: ") + error.what();
    }
}

std::string converted(const std::string& address) {
    try {
        return reply_address(address);
    } catch (const AddressError& error) {
        return std::string("error: ") + error.what();
    }
}

TEST(ReplyAddress, IsThatOfTheLibrary) {
    const std::string u = "\xC3\xBC";
    for (const std::string& address : {""s,
                                       "."s,
                                       ".."s,
                                       "a"s,
                                       "a."s,
                                       ".a"s,
                                       "a..b"s,
                                       "info@client.example"s,
                                       "Info@XN--x.org"s,
                                       "info@"s + std::string(58, 'x') + ".org"s,
                                       "info@"s + std::string(59, 'x') + ".org"s,
                                       std::string(64, 'x') + "@b.org"s,
                                       "info@cl"s + u + "b.example"s,
                                       "info@"s + u + "."s,
                                       "j"s + u + "rgen@client.example"s,
                                       "a\nb@c.org"s,
                                       "zero\0@b.org"s,
                                       "\xFF@b.org"s,
                                       "info@"s + std::string(70, 'x') + u + ".org"s,
                                       "a\nb@"s + u + ".org"s,
                                       "info@xn--a.b"s + u + ".org"s}) {
        EXPECT_EQ(converted(address), by_library(address)) << address;
    }
}

TEST(ReplyAddress, IsThatOfTheLibraryForAnyAsciiAddress) {
    std::mt19937 random(1);
    for (int i = 0; i < 20'000; ++i) {
        std::string address;
        const std::size_t length = random() % 140;
        while (address.size() < length) {
            address += random() % 20 == 0 ? '.' : static_cast<char>(random() % 127 + 1);
        }
        ASSERT_EQ(converted(address), by_library(address)) << address;
    }
}

}  // namespace
