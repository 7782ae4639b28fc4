#include "core/response_subject.h"

#include <cstdlib>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include "core/mail_content.h"
#include "core/responder_row.h"
#include "tests/unit/core/first_message.h"

namespace {

std::string subject(const std::string& own_subject) {
    ResponderRow row;
    row.subject = own_subject;
    return response_subject(first_message(), row);
}

TEST(ResponseSubject, EmptySubjectBecomesReAndTheIncomingOne) {
    EXPECT_EQ(subject(""), "Re: A question");
    const Mail_content without_subject;
    EXPECT_EQ(response_subject(without_subject, {}), "Re: ");
}

TEST(ResponseSubject, EveryPlaceholderIsFilledIn) {
    EXPECT_EQ(subject("<request_from>"), "ann@correspondent.example");
    EXPECT_EQ(subject("<orig_emails_sender_mailname>"), "ann@correspondent.example");
    EXPECT_EQ(subject("[<request_subject>]"), "[A question]");
    EXPECT_EQ(subject("<orig_emails_subj>, <incoming_message_subject>"), "A question, A question");
}

TEST(ResponseSubject, PlaceholdersKeepTheValuesOfTheFirstMessageOfTheProcess) {
    // In a process of its own, whose first message is this one.
    const auto answer_two_messages = [] {
        const auto made = [](const char* from, const char* subject) {
            Mail_content content;
            content.from = from;
            content.subject = subject;
            return content;
        };
        static const Mail_content first = made("first@a.example", "One");
        const Mail_content second = made("second@b.example", "Two");
        ResponderRow row;
        row.subject =
            "<request_from> <request_subject> <orig_emails_sender_mailname> <orig_emails_subj> "
            "<incoming_message_subject>";
        std::cerr << response_subject(first, row) << "\n";
        std::cerr << response_subject(second, row) << "\n";
        std::cerr << response_subject(second, {}) << "\n";
        std::exit(EXIT_SUCCESS);
    };
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(answer_two_messages(), testing::ExitedWithCode(EXIT_SUCCESS),
                "^first@a.example One first@a.example One One\n"
                "first@a.example One first@a.example One One\n"
                "Re: Two\n$");
}

TEST(ResponseSubject, UnknownEmptyAndOverlongNamesStayAsWritten) {
    EXPECT_EQ(subject("<unknown> <>"), "<unknown> <>");
    const std::string overlong = "<" + std::string(33, 'x') + ">";
    EXPECT_EQ(subject(overlong), overlong);
}

TEST(ResponseSubject, IsCutAt999BytesInTheMiddleOfAValueIfNeedBe) {
    EXPECT_EQ(subject(std::string(990, 'x') + "<request_subject>"),
              std::string(990, 'x') + "A questio");
    EXPECT_EQ(subject(std::string(1500, 'x')), std::string(999, 'x'));
}

}  // namespace
