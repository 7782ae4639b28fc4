#include "core/mail_program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include <gtest/gtest.h>

namespace {

TEST(MailProgram, AddressThatBeginsWithAHyphenIsNoSafeRecipient) {
    EXPECT_FALSE(is_safe_recipient("-bs@b.org"));
    EXPECT_TRUE(is_safe_recipient("a-b@b.org"));
    EXPECT_TRUE(is_safe_recipient("\"-a\"@b.org"));
    EXPECT_TRUE(is_safe_recipient(""));
}

TEST(MailProgram, IsWaitedForHoweverItEnds) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(3);
    }
    wait_for_mail_program(child);
    EXPECT_EQ(waitpid(child, nullptr, 0), -1);
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
