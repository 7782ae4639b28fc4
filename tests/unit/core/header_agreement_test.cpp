// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/core/header_agreement.h"

#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using namespace std::string_view_literals;

// What strangers would put a header together from.
constexpr std::array kPieces = {"From"sv,
                                "Return-Path"sv,
                                "Auto-Submitted"sv,
                                "List-Id"sv,
                                "Precedence"sv,
                                "Message-ID"sv,
                                ":"sv,
                                ":"sv,
                                ": "sv,
                                "\n"sv,
                                "\n"sv,
                                "\n "sv,
                                "\r\n"sv,
                                "\r\n\t"sv,
                                " "sv,
                                "("sv,
                                ")"sv,
                                "<"sv,
                                ">"sv,
                                "@"sv,
                                "@"sv,
                                "."sv,
                                ","sv,
                                ";"sv,
                                "\""sv,
                                "\\"sv,
                                "["sv,
                                "]"sv,
                                "a"sv,
                                "b"sv,
                                "no"sv,
                                "Bulk"sv,
                                "junk"sv,
                                "root"sv,
                                "owner-"sv,
                                "-request"sv,
                                "\0"sv,
                                "\x7F"sv,
                                "\xFF"sv,
                                "\xC3\xB6"sv,
                                "noreply"sv,
                                "<a@b>"sv,
                                "<a@b> "sv,
                                "X-Auto-Response-Suppress: oof"sv};

TEST(HeaderReading, AgreesWithTheNaiveOneOnAnyPiecesJoined) {
    std::mt19937 random(20250303);  // NOLINT(cert-msc51-cpp): the same headers in every run
    std::uniform_int_distribution<std::size_t> piece(0, kPieces.size() - 1);
    std::uniform_int_distribution<int> length(1, 30);
    for (int i = 0; i < 5'000; ++i) {
        std::string header;
        for (int pieces = length(random); pieces > 0; --pieces) {
            header += kPieces[piece(random)];
        }
        ASSERT_EQ(disagreement(header), "") << testing::PrintToString(header);
    }
}

}  // namespace
