// SPDX-License-Identifier: Apache-2.0

// The client library runs out of memory in the middle of an answer. The rest of it is still on its
// way and would be waited for, or taken for the answer to the next statement.

#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/faults/faults.h"

namespace {

using testing::SizeIs;

class UnreadableAnswers : public Faults {
  protected:
    void SetUp() override {
        if (kSanitized) {
            GTEST_SKIP() << "the address sanitizer has an allocator of its own";
        }
        Faults::SetUp();
    }
};

TEST_F(UnreadableAnswers, WithoutMemoryForARowEndTheStatementsAtOnce) {
    for (int id = 1; id <= 2; ++id) {
        add_responder(id, "text='Gone fishing.', ans_freq='100'");
        add_attachment(id, "gone.txt");
    }
    // Three clients whose names take a large block each.
    lose_table("clients");
    sql("create view clients as select id, login, email, repeat('x', 4000000) as pname"
        " from clients_moved, seq_1_to_3");
    for (const int row : {1, 2, 3}) {
        SCOPED_TRACE(row);
        // Before the rows, the buffer for what comes from the server takes such a block.
        const Outcome outcome =
            outlive("no memory for row " + std::to_string(row),
                    with_failing_allocation({.message = plain_message()},
                                            std::to_string(1 + row) + ">4000000"));
        EXPECT_EQ(outcome.err,
                  "Unable to define client email and personal name :Client run out of memory\n"
                  "autoresponder: Unable to exec query :Server has gone away\n");
        ASSERT_THAT(outcome.mails, SizeIs(1)) << "the reply that has nothing more to ask";
        EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
        EXPECT_EQ(outcome.mails[0].message, plain_reply());
    }
}

// The lines about statements that failed.
std::vector<std::string> failed_statements(const std::string& err) {
    std::istringstream lines(err);
    std::vector<std::string> failed;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("query") != std::string::npos) {
            failed.push_back(line);
        }
    }
    return failed;
}

TEST_F(UnreadableAnswers, AreTakenForNoOther) {
    // Many statements, of which some go on after a failure.
    for (int id = 1; id <= 2; ++id) {
        add_responder(id, "text='Gone fishing.', ans_freq='100'");
        add_attachment(id, "gone.txt");
        add_forward(id, "copy@example.net");
    }
    const Invocation plain = {.message = plain_message()};
    // An answer is read into blocks of this size and more.
    const std::string block = ">1000";
    outlive("no failure", with_failing_allocation(plain, "0" + block, "allocations"));
    const unsigned long all = std::stoul(lines_of("/world/allocations").at(0));
    int runs_with_failure = 0;
    for (unsigned long number = 1; number <= all; ++number) {
        SCOPED_TRACE(number);
        const Outcome outcome =
            outlive("block " + std::to_string(number),
                    with_failing_allocation(plain, std::to_string(number) + block));
        std::vector<std::string> failed = failed_statements(outcome.err);
        if (!failed.empty()) {
            ++runs_with_failure;
            failed.erase(failed.begin());  // the one without memory
        }
        EXPECT_THAT(failed, testing::Each(testing::EndsWith("Server has gone away")));
        if (outcome.err.starts_with("Unable to define client email") &&
            outcome.mails.at(1).arguments == reply_arguments()) {
            // So it was the first responder's notice that failed.
            EXPECT_THAT(outcome.mails, SizeIs(2)) << "nothing is to be asked for the second";
        }
    }
    EXPECT_GT(runs_with_failure, 10);
}

}  // namespace
