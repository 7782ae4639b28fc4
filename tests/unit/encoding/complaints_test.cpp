// SPDX-License-Identifier: Apache-2.0

#include "encoding/complaints.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/encoding/stderr_writes.h"

using testing::ElementsAre;
using testing::IsEmpty;
using tolva::Complaints;

TEST(Complaints, LinesAreWrittenTogetherAndInOrderOnDestruction) {
    StderrWrites standard_error;
    {
        Complaints complaints;
        complaints.add("one: ", "1");
        complaints.add("two: ", "2");
        EXPECT_THAT(standard_error.take(), IsEmpty());
    }
    EXPECT_THAT(standard_error.take(), ElementsAre("one: 1\ntwo: 2\n"));
}

TEST(Complaints, NoLinesAreNoWrite) {
    StderrWrites standard_error;
    { const Complaints complaints; }
    EXPECT_THAT(standard_error.take(), IsEmpty());
}

TEST(Complaints, LinesAreWrittenBeforeAnExceptionIsCaught) {
    StderrWrites standard_error;
    try {
        Complaints complaints;
        complaints.add("a: ", "b");
        throw std::runtime_error("stop");
    } catch (const std::runtime_error&) {
        EXPECT_THAT(standard_error.take(), ElementsAre("a: b\n"));
    }
}

TEST(Complaints, SubjectMayHoldAnyBytes) {
    StderrWrites standard_error;
    { Complaints().add("x: ", std::string("\0\xFF\n", 3)); }
    EXPECT_THAT(standard_error.take(), ElementsAre(std::string("x: \0\xFF\n\n", 7)));
}

TEST(Complaints, NotMoreThan64KibibytesAreCollected) {
    const std::string line(1023, 'x');
    StderrWrites standard_error;
    {
        Complaints complaints;
        for (int i = 0; i < 64; ++i) {
            complaints.add(line, "");
        }
        EXPECT_THAT(standard_error.take(), IsEmpty());
        complaints.add("next", "");
        const std::vector<std::string> writes = standard_error.take();
        ASSERT_EQ(writes.size(), 1U);
        EXPECT_EQ(writes[0].size(), 65536U);
    }
    EXPECT_THAT(standard_error.take(), ElementsAre("next\n"));
}

TEST(Complaints, ALineThatIsOneByteTooLongIsNotCollected) {
    const std::string line(65529, 'x');
    StderrWrites standard_error;
    {
        Complaints complaints;
        complaints.add("first", "");
        complaints.add(line, "");  // with both line feeds 65536 bytes
        complaints.add("", "");
        EXPECT_THAT(standard_error.take(), ElementsAre("first\n" + line + "\n"));
    }
    EXPECT_THAT(standard_error.take(), ElementsAre("\n"));
}

TEST(Complaints, LinesAreNeverTornApart) {
    const std::string line(50000, 'x');
    StderrWrites standard_error;
    {
        Complaints complaints;
        complaints.add(line, "1");
        complaints.add(line, "2");
    }
    EXPECT_THAT(standard_error.take(), ElementsAre(line + "1\n", line + "2\n"));
}

TEST(Complaints, LongLineIsOneWrite) {
    const std::string line(100000, 'x');
    StderrWrites standard_error;
    { Complaints().add("", line); }
    EXPECT_THAT(standard_error.take(), ElementsAre(line + "\n"));
}
