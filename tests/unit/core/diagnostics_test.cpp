#include "core/diagnostics.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace {

TEST(Diagnostics, ErrorIsNamedAndNumbered) {
    EXPECT_EQ(error_text(ENOENT), "No such file or directory (2)");
}

TEST(Diagnostics, ControlCharactersDoNotBreakALine) {
    EXPECT_EQ(on_one_line("a@[x\r\n y]\x7F"), "a@[x?? y]?");
    EXPECT_EQ(on_one_line("b\xC3\xBC.org"), "b\xC3\xBC.org");
}

}  // namespace
