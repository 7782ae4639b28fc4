// The client library runs out of memory in the middle of rows. The rest of them is still on its way
// and would be waited for, or taken for the answer to the next statement.

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/faults/faults.h"

namespace {

using testing::SizeIs;

class UnreadableRows : public Faults {
  protected:
    void SetUp() override {
        if (kSanitized) {
            GTEST_SKIP() << "the address sanitizer has an allocator of its own";
        }
        Faults::SetUp();
    }
};

TEST_F(UnreadableRows, EndTheStatementsAtOnce) {
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

}  // namespace
