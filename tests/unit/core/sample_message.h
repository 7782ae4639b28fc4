// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>

#include <gtest/gtest.h>

#include "core/message/mail_content.h"

/// A message that yields something for every field.
inline constexpr const char* kMessage =
    "Reply-To: Ann <Ann@b.org>\n"
    "From: ben@c.org\n"
    "Date: Mon, 3 Mar 2025\n 10:00:00 +0100 (CET)\n"
    "Subject: =?iso-8859-1?Q?caf=E9?= at noon\n"
    "Content-Type: text/plain; charset=ISO-8859-1\n"
    "Content-Transfer-Encoding: quoted-printable\n"
    "\n"
    "na=EFve\nsecond";

/// Expects what kMessage yields when it was sent to "info@client@example"; `text` is its text.
inline void expect_fields_of_message(const autoresponder::Mail_content& mail,
                                     std::string_view text) {
    EXPECT_EQ(mail.from, "Ann@b.org");
    EXPECT_EQ(mail.to, "info@client@example");
    EXPECT_EQ(mail.to_mailname, "info");
    EXPECT_EQ(mail.to_domain, "client@example");
    EXPECT_EQ(mail.subject, "caf\xC3\xA9 at noon");
    EXPECT_EQ(mail.date, "Mon, 3 Mar 2025\n 10:00:00 +0100 (CET)");
    EXPECT_EQ(mail.charset, "ISO-8859-1");
    EXPECT_EQ(text, "na\xC3\xAFve\nsecond");
}
