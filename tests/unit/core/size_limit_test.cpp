// SPDX-License-Identifier: Apache-2.0

#include "core/reply/size_limit.h"

#include <limits>
#include <optional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "core/message/header_fields.h"
#include "core/message/mail_content.h"
#include "core/message/message_id.h"
#include "core/reply/auto_submitted.h"

namespace {

using namespace autoresponder;

TEST(SizeLimit, IsExceededByWhatIsStrictlyLarger) {
    EXPECT_FALSE(SizeLimit(1000).is_exceeded_by(1000));
    EXPECT_TRUE(SizeLimit(1000).is_exceeded_by(1001));
}

TEST(SizeLimit, OfZeroOrLessIsNone) {
    EXPECT_FALSE(SizeLimit(0).is_exceeded_by(1));
    EXPECT_FALSE(SizeLimit(-1).is_exceeded_by(1));
}

TEST(SizeLimit, IsComparedWithTheWholeSize) {
    constexpr off_t beyond_32_bits = (off_t{1} << 32) + 1;
    EXPECT_TRUE(SizeLimit(std::numeric_limits<int>::max()).is_exceeded_by(beyond_32_bits));
    EXPECT_TRUE(SizeLimit(10).is_exceeded_by(beyond_32_bits));
}

TEST(SizeLimit, IsKnownInBytesWhereThereIsOne) {
    EXPECT_EQ(SizeLimit(1000).bytes(), 1000);
    EXPECT_EQ(SizeLimit(0).bytes(), std::nullopt);
    EXPECT_EQ(SizeLimit(-1).bytes(), std::nullopt);
    EXPECT_EQ(SizeLimit::none().bytes(), std::nullopt);
}

Mail_content mail() {
    Mail_content mail;
    mail.from = "ann@correspondent.example";
    mail.to = "info@b\xC3\xBC.example";
    mail.subject = "Gr\xC3\xBC\xC3\x9F";
    return mail;
}

std::string notice(const std::string& reply_to, const ReplyMarks& marks = {}) {
    std::ostringstream out;
    write_size_notice(out, mail(), reply_to, marks);
    return out.str();
}

TEST(SizeNotice, TellsTheSenderWhyThereIsNoReply) {
    EXPECT_EQ(notice(""),
              "From: info@b\xC3\xBC.example\n"
              "CC: \n"
              "Subject: =?utf-8?Q?Re:_Gr=C3=BC=C3=9F?=\n"
              "\n"
              "An error occurred while responding on you request.\n"
              "\n"
              "Autoresponder message size exceeds databytes limit.\n"
              "\n"
              "\n"
              "\n");
}

TEST(SizeNotice, NamesTheReplyAddressFirstAndBearsMarksLast) {
    const HeaderFields header("Message-ID: <1@b.org>\n");
    EXPECT_EQ(notice("desk@b.org", ReplyMarks(message_id(header))),
              "Reply-To: desk@b.org\n"
              "From: info@b\xC3\xBC.example\n"
              "CC: \n"
              "Subject: =?utf-8?Q?Re:_Gr=C3=BC=C3=9F?=\n"
              "Auto-Submitted: auto-replied\n"
              "In-Reply-To: <1@b.org>\n"
              "References: <1@b.org>\n" +
                  notice("").substr(notice("").find("\n\n") + 1));
}

}  // namespace
