// SPDX-License-Identifier: Apache-2.0

#include "core/message/sender.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace autoresponder;

std::unique_ptr<DwMessage> parsed(const std::string& text) {
    DwInitialize();
    std::unique_ptr<DwMessage> message(
        DwMessage::NewMessage(DwString(text.data(), text.size()), nullptr));
    message->Parse();
    return message;
}

std::string address(const DwMailbox* mailbox) {
    if (mailbox == nullptr) {
        return "none";
    }
    return std::string(mailbox->LocalPart().data(), mailbox->LocalPart().length()) + "@" +
           std::string(mailbox->Domain().data(), mailbox->Domain().length());
}

std::string reply_to(const std::string& field_body) {
    const auto message = parsed("Reply-To: " + field_body + "\n\n");
    return address(GetMailboxFromAddressList(message->Headers().ReplyTo()));
}

std::string from(const std::string& field_body) {
    const auto message = parsed("From: " + field_body + "\n\n");
    return address(GetMailboxFromMailboxList(message->Headers().From()));
}

TEST(MailboxFromAddressList, GroupsAreSkipped) {
    EXPECT_EQ(reply_to("friends: a@b.org, c@d.org;, e@f.org"), "e@f.org");
    EXPECT_EQ(reply_to("friends: a@b.org;"), "none");
}

TEST(MailboxFromAddressList, InvalidAddressesAreSkipped) {
    EXPECT_EQ(reply_to("Nobody <>, a@b.org"), "a@b.org");
    EXPECT_EQ(reply_to("<>"), "none");
    EXPECT_EQ(reply_to(""), "none");
}

TEST(MailboxFromMailboxList, FirstValidMailboxIsTaken) {
    EXPECT_EQ(from("a@b.org, c@d.org"), "a@b.org");
    EXPECT_EQ(from("<>, c@d.org"), "c@d.org");
    EXPECT_EQ(from("<>"), "none");
}

TEST(MailboxFromMailboxList, NamesAndCommentsAreDropped) {
    EXPECT_EQ(from("Ann Lee <Ann.Lee@B.org> (at work)"), "Ann.Lee@B.org");
}

std::string sender(const std::string& headers) {
    const auto message = parsed(headers + "\n");
    const auto found = find_sender(message->Headers());
    if (!found) {
        return "none";
    }
    const char* field = found->field == Sender::Field::kReplyTo ? "Reply-To" : "From";
    return found->address + " from " + field;
}

TEST(Sender, ReplyToComesBeforeFrom) {
    EXPECT_EQ(sender("From: a@b.org\nReply-To: c@d.org\n"), "c@d.org from Reply-To");
}

TEST(Sender, FromCountsWhereReplyToHoldsNoUsableAddress) {
    EXPECT_EQ(sender("From: a@b.org\nReply-To: friends: c@d.org;\n"), "a@b.org from From");
    EXPECT_EQ(sender("From: a@b.org\nReply-To: <>\n"), "a@b.org from From");
    EXPECT_EQ(sender("From: a@b.org\n"), "a@b.org from From");
}

TEST(Sender, IsMissingWhereNeitherFieldHasOne) {
    EXPECT_EQ(sender("From: <>\n"), "none");
    EXPECT_EQ(sender("Subject: x\n"), "none");
}

}  // namespace
