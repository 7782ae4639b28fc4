// SPDX-License-Identifier: Apache-2.0

#include "core/run/waiting_time.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "support/result.h"

namespace {

using namespace autoresponder;
using std::chrono::milliseconds;

class Waiting : public testing::Test {
  protected:
    void SetUp() override {
        tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
        ASSERT_TRUE(pipe);
        pipe_ = std::move(*pipe);
    }

    int error_of(WaitingTime& time) const {
        return time.wait_for_input(pipe_.read_end.get()).error();
    }

    tolva::Pipe pipe_;
};

TEST_F(Waiting, EndsWithTheInput) {
    WaitingTime time(std::chrono::hours(1));
    ASSERT_EQ(write(pipe_.write_end.get(), "x", 1), 1);
    EXPECT_EQ(error_of(time), 0);
    EXPECT_FALSE(time.is_over());
}

TEST_F(Waiting, EndsWhenTheOtherEndIsClosed) {
    WaitingTime time(std::chrono::hours(1));
    pipe_.write_end.close();
    EXPECT_EQ(error_of(time), 0);
}

TEST_F(Waiting, EndsWithTheTime) {
    const auto begin = std::chrono::steady_clock::now();
    WaitingTime time(milliseconds(50));
    EXPECT_EQ(error_of(time), ETIMEDOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(50));
    EXPECT_TRUE(time.is_over());
}

TEST_F(Waiting, IsNotBegunWhenTheTimeIsOver) {
    WaitingTime time(milliseconds(1));
    EXPECT_EQ(error_of(time), ETIMEDOUT);
    ASSERT_EQ(write(pipe_.write_end.get(), "x", 1), 1);
    EXPECT_EQ(error_of(time), ETIMEDOUT);
}

TEST_F(Waiting, CountsInAllAndNothingElse) {
    WaitingTime time(milliseconds(100));
    std::this_thread::sleep_for(milliseconds(150));
    EXPECT_FALSE(time.is_over());
    const auto begin = std::chrono::steady_clock::now();
    const std::jthread writer([&] {
        std::this_thread::sleep_for(milliseconds(60));
        EXPECT_EQ(write(pipe_.write_end.get(), "x", 1), 1);
    });
    EXPECT_EQ(error_of(time), 0);
    char byte = 0;
    EXPECT_EQ(read(pipe_.read_end.get(), &byte, 1), 1);
    EXPECT_EQ(error_of(time), ETIMEDOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(160));
}

TEST_F(Waiting, LastsLongerWhereItIsExtended) {
    WaitingTime time(milliseconds(1));
    EXPECT_EQ(error_of(time), ETIMEDOUT);
    time.extend(std::chrono::hours(1));
    ASSERT_EQ(write(pipe_.write_end.get(), "x", 1), 1);
    EXPECT_EQ(error_of(time), 0);
}

}  // namespace
