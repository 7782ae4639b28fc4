// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/field_index.h"

#include <string>

#include <gtest/gtest.h>

namespace {

std::optional<std::string> field(const std::string& headers, mimelib::KnownField known) {
    const auto slice = mimelib::index_fields(headers)[known];
    if (!slice) {
        return std::nullopt;
    }
    EXPECT_LE(slice->begin, headers.size());
    EXPECT_LE(slice->length, headers.size() - slice->begin);
    return headers.substr(slice->begin, slice->length);
}

TEST(FieldIndex, FindsEachKnownField) {
    const std::string headers =
        "Reply-To: r\nFrom: f\nSubject: s\nDate: d\nContent-Type: t\n"
        "Content-Transfer-Encoding: e\n";
    EXPECT_EQ(field(headers, mimelib::kReplyTo), "r");
    EXPECT_EQ(field(headers, mimelib::kFrom), "f");
    EXPECT_EQ(field(headers, mimelib::kSubject), "s");
    EXPECT_EQ(field(headers, mimelib::kDate), "d");
    EXPECT_EQ(field(headers, mimelib::kContentType), "t");
    EXPECT_EQ(field(headers, mimelib::kContentTransferEncoding), "e");
}

TEST(FieldIndex, NamesCompareWithoutCase) {
    EXPECT_EQ(field("sUBJECT: x\n", mimelib::kSubject), "x");
    EXPECT_EQ(field("Subject-X: x\n", mimelib::kSubject), std::nullopt);
    EXPECT_EQ(field("Subjec: x\n", mimelib::kSubject), std::nullopt);
}

TEST(FieldIndex, BlanksAfterTheNameAreCut) {
    EXPECT_EQ(field("Subject \t: x\n", mimelib::kSubject), "x");
    EXPECT_EQ(field("Subject\r: x\n", mimelib::kSubject), std::nullopt);
}

TEST(FieldIndex, TheFirstFieldOfANameCounts) {
    EXPECT_EQ(field("Subject: a\nSubject: b\n", mimelib::kSubject), "a");
    EXPECT_EQ(field("Subject:\nSubject: b\n", mimelib::kSubject), "");
}

TEST(FieldIndex, WhiteSpaceAroundTheBodyIsCut) {
    EXPECT_EQ(field("Subject: \t a b \t\v\f\r\n", mimelib::kSubject), "a b");
    EXPECT_EQ(field("Subject:a", mimelib::kSubject), "a");
    EXPECT_EQ(field("Subject: \n \n", mimelib::kSubject), "");
}

TEST(FieldIndex, LineEndsAtTheStartAndWithinStay) {
    EXPECT_EQ(field("Subject:\n a\r\n\tb\n", mimelib::kSubject), "\n a\r\n\tb");
}

TEST(FieldIndex, AFoldedLineStartsNoField) {
    EXPECT_EQ(field("X: y\n Subject: x\n", mimelib::kSubject), std::nullopt);
    EXPECT_EQ(field(" Subject: x\n", mimelib::kSubject), std::nullopt);
}

TEST(FieldIndex, ALastLineWithoutColonAndLineEndIsAnEmptyField) {
    EXPECT_EQ(field("X: y\nSubject", mimelib::kSubject), "");
    EXPECT_EQ(field("subJECT", mimelib::kSubject), "");
    EXPECT_EQ(field("Subject \t", mimelib::kSubject), "");
    EXPECT_EQ(field("Subject: a\nSubject", mimelib::kSubject), "a");
    EXPECT_EQ(field("Subject\r", mimelib::kSubject), std::nullopt);
    EXPECT_EQ(field("Subject x", mimelib::kSubject), std::nullopt);
    EXPECT_EQ(field("X: y\n Subject", mimelib::kSubject), std::nullopt);
}

TEST(FieldIndex, ZeroBytesAreOrdinary) {
    EXPECT_EQ(field(std::string("Subject: a\0b\0\n", 14), mimelib::kSubject),
              std::string("a\0b\0", 4));
}

}  // namespace
