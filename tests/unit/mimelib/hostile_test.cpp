// SPDX-License-Identifier: Apache-2.0

// Messages that would take minutes, more stack than there is, or many times their size in memory,
// if anything took time in proportion to the square of the input, recursed on it, or kept an object
// for each of its elements.

#include <cstddef>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

#include "tests/unit/mimelib/heap_use.h"
#include "tests/unit/mimelib/reading.h"

namespace {

constexpr std::size_t kMillion = 1000000;
constexpr std::size_t kSmall = 10000;

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

Reading read(const std::string& text) {
    return read_message(to_dw_string(text));
}

template <typename Element>
std::size_t count_from(const Element* first) {
    std::size_t count = 0;
    for (const Element* element = first; element != nullptr; element = element->Next()) {
        ++count;
    }
    return count;
}

const std::string kMultipart = "From: a@b\nContent-Type: multipart/mixed; boundary=";

TEST(Hostile, OneHeaderLineOf64Megabytes) {
    EXPECT_EQ(read("X: " + std::string(64 * kMillion, 'x') + "\nFrom: a@b\n\n").from, "a@b");
}

TEST(Hostile, AMillionFields) {
    EXPECT_EQ(read(repeated("X: y\n", kMillion) + "From: a@b\n\n").from, "a@b");
}

TEST(Hostile, AMillionAddresses) {
    EXPECT_EQ(read("From: " + repeated("<>,", kMillion) + "a@b\n\n").from, "a@b");
    EXPECT_EQ(read("Reply-To: " + repeated("g:;,", kMillion) + "a@b\n\n").from, "a@b");
}

TEST(Hostile, AMillionAddressesAreNotHeldAtOnce) {
    const DwString text = to_dw_string(repeated("a,g:;,", kMillion / 2));
    const HeapUse heap;
    const DwAddressList list(text);
    EXPECT_EQ(count_from<DwAddress>(list.FirstAddress()), kMillion);
    EXPECT_LT(heap.peak(), kSmall);
    const DwMailboxList mailboxes(text);
    EXPECT_EQ(count_from<DwAddress>(mailboxes.FirstMailbox()), kMillion);
    EXPECT_LT(heap.peak(), kSmall);
}

TEST(Hostile, ALocalPartOfAMillionWords) {
    EXPECT_EQ(read("From: " + repeated("a ", kMillion) + "@b\n\n").from,
              std::string(kMillion, 'a') + "@b");
}

TEST(Hostile, AMillionParameters) {
    EXPECT_EQ(
        read("Content-Type: text/plain" + repeated(";a=b", kMillion) + ";charset=x\n\n").charset,
        "x");
}

TEST(Hostile, AMillionParametersAreNotHeldAtOnce) {
    const DwString text = to_dw_string("text/plain" + repeated(";a=b", kMillion));
    const HeapUse heap;
    const DwMediaType media_type(text);
    EXPECT_EQ(count_from(media_type.FirstParameter()), kMillion);
    EXPECT_LT(heap.peak(), kSmall);
}

TEST(Hostile, AHundredThousandPartsAreNotHeldAtOnce) {
    const DwString text = to_dw_string(kMultipart + "b\n\n" +
                                       repeated("--b\nSubject: x\n\n", kMillion / 10) + "--b--\n");
    const HeapUse heap;
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    std::size_t count = 0;
    for (const DwBodyPart* part = message->Body().FirstBodyPart(); part != nullptr;
         part = part->Next()) {
        count += part->Headers().HasSubject() && part->Body().AsString().empty() ? 1 : 0;
    }
    EXPECT_EQ(count, kMillion / 10);
    EXPECT_LT(heap.peak(), kSmall);
}

TEST(Hostile, AMillionParts) {
    EXPECT_EQ(read(kMultipart + "b\n\n" + repeated("--b\n", kMillion) +
                   "--b\nContent-Type: text/plain\n\nx\n--b--\n")
                  .part,
              kMillion);
}

TEST(Hostile, ABoundaryTextOfAMegabyte) {
    const std::string boundary(kMillion, 'b');
    const std::string near = repeated("--" + boundary + "x\n", 10);
    EXPECT_EQ(read(kMultipart + boundary + "\n\n" + near + "--" + boundary +
                   "\nContent-Type: text/plain\n\none\n--" + boundary + "--\n")
                  .body,
              "one");
}

TEST(Hostile, ShortLinesBeforeALongBoundary) {
    const std::string boundary(kMillion / 2, '-');
    EXPECT_EQ(read(kMultipart + boundary + "\n\n" + repeated("--\n", kMillion)).kind,
              "multipart-none");
}

TEST(Hostile, LinesThatPassOverAMegabyteBeforeTheSamePadding) {
    const std::string boundary = std::string(1, '\0') + std::string(kMillion, 'b');
    const std::string start =
        kMultipart + "\"" + boundary + "\"\n\n" + repeated(std::string("\n--\0", 4), kMillion / 4);
    EXPECT_EQ(read(start + std::string(kMillion, '-') + "x\n").kind, "multipart-none");
    EXPECT_EQ(read(start + std::string(kMillion, ' ') + "x\n").kind, "multipart-none");
}

TEST(Hostile, MegabytesOfDashesAndLineFeeds) {
    constexpr std::size_t lines = kMillion / 5;
    EXPECT_EQ(read(kMultipart + "\"\"\n\n" + repeated("---------\n", lines)).kind,
              "multipart-none");
    EXPECT_EQ(read(kMultipart + "b\n\n" + repeated("\n--", lines)).kind, "multipart-none");
    EXPECT_EQ(read(kMultipart + "b1\n\n" + repeated("\n--b1x", lines)).kind, "multipart-none");
}

TEST(Hostile, TenMegabytesOfEqualsSigns) {
    const std::string signs(10 * kMillion, '=');
    EXPECT_EQ(read("Content-Transfer-Encoding: quoted-printable\n\n" + signs).body.size(),
              10 * kMillion / 3);
    EXPECT_EQ(read("Content-Transfer-Encoding: base64\n\n" + signs).body, "");
}

TEST(Hostile, CommentsAMillionDeep) {
    const std::string open(kMillion, '(');
    EXPECT_EQ(read("From: " + open + std::string(kMillion, ')') + "a@b\n\n").from, "a@b");
    EXPECT_EQ(read("From: a@b" + open + "\n\n").from, "a@b");
}

TEST(Hostile, MultipartsTenThousandDeep) {
    std::string text = "From: a@b\n";
    for (int i = 0; i < 10000; ++i) {
        const std::string boundary = "b" + std::to_string(i);
        text.append("Content-Type: multipart/mixed; boundary=").append(boundary);
        text.append("\n\n--").append(boundary).append("\n");
    }
    EXPECT_EQ(read(text).kind, "multipart-none");
}

}  // namespace
