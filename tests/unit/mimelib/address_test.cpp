// SPDX-License-Identifier: Apache-2.0

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mimelib/address.h>
#include <mimelib/mimepp.h>

#include "tests/unit/mimelib/reading.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> all_from(const DwAddress* first) {
    std::vector<std::string> all;
    for (const DwAddress* address = first; address != nullptr; address = address->Next()) {
        EXPECT_TRUE(address->IsValid());
        EXPECT_NE(address->IsGroup(), address->IsMailbox());
        if (address->IsGroup()) {
            all.emplace_back("group");
        } else {
            const auto* mailbox = static_cast<const DwMailbox*>(address);
            all.push_back(to_string(mailbox->LocalPart()) + "@" + to_string(mailbox->Domain()));
        }
    }
    return all;
}

TEST(AddressList, InvalidAndEmptyElementsAreLeftOut) {
    const DwAddressList list(DwString(", <>, a@b, @c, (x), \"\", d@e,"));
    EXPECT_THAT(all_from(list.FirstAddress()), ElementsAre("a@b", "\"\"@", "d@e"));
}

TEST(AddressList, NamedGroupsAreListed) {
    const DwAddressList list(DwString("g: a@b, c@d;, :e@f;, h@i"));
    EXPECT_THAT(all_from(list.FirstAddress()), ElementsAre("group", "h@i"));
}

TEST(AddressList, AGroupWhoseNameEndsInAnglesBeforeItsFirstWordIsLeftOut) {
    const DwAddressList list(DwString("<:a@b> g: c@d;, <@r:e@f> h: i@j;, <k:l> m: n@o;, p@q"));
    EXPECT_THAT(all_from(list.FirstAddress()), ElementsAre("group", "group", "p@q"));
}

TEST(AddressList, AnEmptyListHasNoAddress) {
    EXPECT_EQ(DwAddressList(DwString()).FirstAddress(), nullptr);
    EXPECT_EQ(DwAddressList(DwString("<>, @x")).FirstAddress(), nullptr);
}

TEST(AddressList, AskingAgainReturnsTheSameAddresses) {
    const DwAddressList list(DwString("a@b, c@d"));
    DwAddress* const first = list.FirstAddress();
    ASSERT_NE(first, nullptr);
    DwAddress* const second = first->Next();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->Next(), nullptr);
    EXPECT_EQ(second->Next(), nullptr);
    EXPECT_EQ(list.FirstAddress(), first);
    EXPECT_EQ(first->Next(), second);
}

TEST(AddressList, AWalkGoesOnFromAnyElementThatIsKept) {
    const DwAddressList list(DwString("a@b, c@d, e@f, g@h"));
    DwAddress* const second = list.FirstAddress()->Next();
    DwAddress* const third = second->Next();
    EXPECT_EQ(second->AsString(), DwString(" c@d"));
    EXPECT_EQ(second->Next(), third);
    DwAddress* const first = list.FirstAddress();
    EXPECT_EQ(third->AsString(), DwString(" e@f"));
    EXPECT_EQ(first->AsString(), DwString("a@b"));
    DwAddress* const fourth = third->Next();
    EXPECT_EQ(third->AsString(), DwString(" e@f"));
    EXPECT_EQ(fourth->AsString(), DwString(" g@h"));
    EXPECT_EQ(fourth->Next(), nullptr);
    EXPECT_THAT(all_from(list.FirstAddress()), ElementsAre("a@b", "c@d", "e@f", "g@h"));
}

TEST(Address, OneThatIsInNoListHasNoNext) {
    const DwMailbox mailbox(DwString("a@b"), DwString("a"), DwString("b"));
    EXPECT_EQ(mailbox.Next(), nullptr);
}

TEST(MailboxList, HasNoGroups) {
    const DwMailboxList list(DwString("group: a@b, c@d;"));
    EXPECT_THAT(all_from(list.FirstMailbox()), ElementsAre("groupa@b", "c@d"));
}

TEST(MailboxList, InvalidMailboxesAreLeftOut) {
    EXPECT_THAT(all_from(DwMailboxList(DwString("<>, @x")).FirstMailbox()), IsEmpty());
}

TEST(Mailbox, ItsTextIsTheElement) {
    const DwString text("x@y, Ann <a@b> (c), z@w");
    const DwMailboxList list(text);
    DwAddress* const ann = list.FirstMailbox()->Next();
    ASSERT_NE(ann, nullptr);
    EXPECT_EQ(ann->AsString(), DwString(" Ann <a@b> (c)"));
    EXPECT_EQ(ann->AsString().data(), text.data() + 4);
}

}  // namespace
