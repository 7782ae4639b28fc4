// SPDX-License-Identifier: Apache-2.0

#include "support/descriptor_passing.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "support/result.h"
#include "tests/unit/support/child_run.h"

namespace {

class Messages : public testing::Test {
  protected:
    void SetUp() override {
        tolva::Result<tolva::SocketPair> pair = tolva::make_socket_pair(SOCK_SEQPACKET);
        ASSERT_TRUE(pair);
        sockets_ = std::move(*pair);
    }

    tolva::SocketPair sockets_;
};

TEST_F(Messages, ArriveOneByOne) {
    EXPECT_TRUE(tolva::send_message(sockets_.first.get(), "one"));
    EXPECT_TRUE(tolva::send_message(sockets_.first.get(), std::string("t\0o", 3)));
    EXPECT_EQ(tolva::receive_message(sockets_.second.get(), 100)->bytes, "one");
    const auto second = tolva::receive_message(sockets_.second.get(), 100);
    EXPECT_EQ(second->bytes, std::string("t\0o", 3));
    EXPECT_FALSE(second->descriptor);
}

TEST_F(Messages, AreCutToTheSizeThatIsExpected) {
    EXPECT_TRUE(tolva::send_message(sockets_.first.get(), "too long"));
    EXPECT_EQ(tolva::receive_message(sockets_.second.get(), 3)->bytes, "too");
}

TEST_F(Messages, CarryADescriptorThatIsClosedOnExec) {
    tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
    EXPECT_TRUE(tolva::send_message(sockets_.first.get(), "x", pipe->write_end.get()));
    const auto message = tolva::receive_message(sockets_.second.get(), 100);
    ASSERT_TRUE(message && message->descriptor);
    EXPECT_EQ(fcntl(message->descriptor.get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(write(message->descriptor.get(), "y", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(pipe->read_end.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'y');
}

TEST_F(Messages, ArriveWithoutTheirDescriptorWhereNoneCanBeHad) {
    const ChildRun run = run_in_child([&] {
        EXPECT_TRUE(tolva::send_message(sockets_.first.get(), "x", sockets_.first.get()));
        const rlimit few{3, 3};
        setrlimit(RLIMIT_NOFILE, &few);
        const auto message = tolva::receive_message(sockets_.second.get(), 100);
        note(message ? message->bytes : "none", static_cast<bool>(message->descriptor));
    });
    EXPECT_EQ(run.noted, "x false\n");
}

TEST_F(Messages, FailWithoutASignalWhereTheOtherEndIsClosed) {
    sockets_.second.close();
    EXPECT_EQ(tolva::send_message(sockets_.first.get(), "x").error(), EPIPE);
    EXPECT_EQ(tolva::receive_message(sockets_.first.get(), 100).error(), EPIPE);
}

TEST_F(Messages, CannotBeSentWhereThereIsNoSocket) {
    EXPECT_EQ(tolva::send_message(-1, "x").error(), EBADF);
    EXPECT_EQ(tolva::receive_message(-1, 100).error(), EBADF);
}

TEST(SocketPair, HasNumbersAboveTheStandardStreams) {
    const ChildRun run = run_in_child([] {
        close(STDIN_FILENO);
        const auto pair = tolva::make_socket_pair(SOCK_SEQPACKET);
        note(pair->first.get() > 2, pair->second.get() > 2);
        note(fcntl(pair->first.get(), F_GETFD), fcntl(pair->second.get(), F_GETFD));
    });
    EXPECT_EQ(run.noted, "true true\n1 1\n");
}

TEST(SocketPair, CannotBeHadWithoutDescriptors) {
    const ChildRun run = run_in_child([] {
        const rlimit few{3, 3};
        setrlimit(RLIMIT_NOFILE, &few);
        note(tolva::make_socket_pair(SOCK_SEQPACKET).error() == EMFILE);
    });
    EXPECT_EQ(run.noted, "true\n");
}

}  // namespace
