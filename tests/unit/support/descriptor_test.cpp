// SPDX-License-Identifier: Apache-2.0

#include "support/descriptor.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/interrupted_pipe.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::NoMoreDescriptors;
using tolva::Descriptor;
using tolva::make_pipe;
using tolva::Pipe;
using tolva::read_block;
using tolva::read_some;
using tolva::Result;
using tolva::write_whole;

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

int open_null() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(Descriptor, ClosesWhatItOwns) {
    const int raw = open_null();
    {
        const Descriptor fd(raw);
        EXPECT_TRUE(fd);
        EXPECT_EQ(fd.get(), raw);
        EXPECT_TRUE(is_open(raw));
    }
    EXPECT_FALSE(is_open(raw));
}

TEST(Descriptor, NegativeValueIsNone) {
    EXPECT_FALSE(Descriptor());
    EXPECT_FALSE(Descriptor(-1));
}

TEST(Descriptor, MovingHandsOver) {
    Descriptor first(open_null());
    const int raw = first.get();
    Descriptor second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(second.get(), raw);

    Descriptor third(open_null());
    const int replaced = third.get();
    third = std::move(second);
    EXPECT_EQ(third.get(), raw);
    EXPECT_FALSE(is_open(replaced));
}

TEST(Descriptor, ReleasedDescriptorStaysOpen) {
    Descriptor fd(open_null());
    const int raw = fd.release();
    EXPECT_FALSE(fd);
    EXPECT_TRUE(is_open(raw));
    close(raw);
}

TEST(Descriptor, ClosingKeepsErrno) {
    Descriptor fd(open_null());
    close(fd.get());
    errno = ENOENT;
    fd.close();
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fd);
}

TEST(MakePipe, ReturnsBothEndsOfAPipeThatNoProgramInherits) {
    const Result<Pipe> pipe = make_pipe();
    ASSERT_TRUE(pipe);
    EXPECT_EQ(fcntl(pipe->read_end.get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(pipe->write_end.get(), F_GETFD), FD_CLOEXEC);
    ASSERT_EQ(write(pipe->write_end.get(), "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(pipe->read_end.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST(MakePipe, LeavesTheNumbersOfTheStandardStreamsAlone) {
    // Either end would get the number of the last one closed.
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0, 1, 2}, {0}, {1}, {2}, {1, 2}}) {
        const ChildRun run = run_in_child([&closed] {
            for (const int fd : closed) {
                close(fd);
            }
            const Result<Pipe> pipe = make_pipe();
            for (const Descriptor* end : {&pipe->read_end, &pipe->write_end}) {
                note("above:", end->get() > 2, "flags:", fcntl(end->get(), F_GETFD));
            }
            for (const int fd : closed) {
                note(fd, is_open(fd) ? "open" : "closed");
            }
        });
        const std::string apart = "above: true flags: " + std::to_string(FD_CLOEXEC) + "\n";
        std::string expected = apart + apart;
        for (const int fd : closed) {
            expected += std::to_string(fd) + " closed\n";
        }
        EXPECT_EQ(run.noted, expected);
    }
}

TEST(MakePipe, ReturnsNothingWithoutDescriptors) {
    const NoMoreDescriptors limit;
    const Result<Pipe> pipe = make_pipe();
    EXPECT_FALSE(pipe);
    EXPECT_EQ(pipe.error(), EMFILE);
}

// Descriptors may be had for the pipe but not for moving its ends.
TEST(MakePipe, ReturnsNothingWhereAnEndCannotBeMoved) {
    const ChildRun run = run_in_child([] {
        close(0);
        close(1);
        int error = 0;
        {
            const NoMoreDescriptors limit;
            error = make_pipe().error();
        }
        note(error != 0 ? strerrorname_np(error) : "a pipe", "open:", is_open(0), is_open(1));
    });
    EXPECT_EQ(run.noted, "EINVAL open: false false\n");
}

constexpr auto kShortWhile = std::chrono::milliseconds(20);

// A pipe that a thread writes the pieces into, one by one with pauses, and then closes. While it
// lives, signals interrupt the thread that made it.
class PipeOfPieces {
  public:
    explicit PipeOfPieces(std::vector<std::string> pieces) {
        struct sigaction action {};
        action.sa_handler = [](int) {};  // without SA_RESTART
        sigaction(SIGUSR1, &action, nullptr);
        writer_ = std::thread([this, pieces = std::move(pieces), reader = pthread_self()] {
            for (const std::string& piece : pieces) {
                std::this_thread::sleep_for(kShortWhile);
                pthread_kill(reader, SIGUSR1);
                std::this_thread::sleep_for(kShortWhile);
                [[maybe_unused]] const ssize_t written =
                    write(pipe_.write_end.get(), piece.data(), piece.size());
            }
            std::this_thread::sleep_for(kShortWhile);
            pthread_kill(reader, SIGUSR1);
            std::this_thread::sleep_for(kShortWhile);
            pipe_.write_end.close();
        });
    }
    PipeOfPieces(const PipeOfPieces&) = delete;
    PipeOfPieces& operator=(const PipeOfPieces&) = delete;
    ~PipeOfPieces() {
        writer_.join();
        signal(SIGUSR1, SIG_DFL);
    }

    [[nodiscard]] int read_end() const { return pipe_.read_end.get(); }

  private:
    Pipe pipe_ = std::move(*make_pipe());
    std::thread writer_;
};

// What read_block leaves in a block of that size.
struct Block {
    Result<void> read;
    std::string bytes;
};

Block block_from(int fd, std::size_t size) {
    std::string block(size, '#');
    std::size_t length = 12345;
    const Result<void> read = read_block(fd, block, length);
    EXPECT_LE(length, size);
    EXPECT_EQ(block.substr(length), std::string(size - length, '#'));
    return {read, block.substr(0, length)};
}

TEST(ReadSome, YieldsWhatIsThereAndZeroAtTheEnd) {
    const PipeOfPieces pipe({"one", "two"});
    std::array<char, 100> block{};
    Result<std::size_t> count = read_some(pipe.read_end(), block);
    ASSERT_TRUE(count);
    EXPECT_EQ(std::string_view(block.data(), *count), "one");
    count = read_some(pipe.read_end(), block);
    ASSERT_TRUE(count);
    EXPECT_EQ(std::string_view(block.data(), *count), "two");
    count = read_some(pipe.read_end(), block);
    ASSERT_TRUE(count);
    EXPECT_EQ(*count, 0U);
}

TEST(ReadSome, YieldsTheReasonOfAFailure) {
    std::array<char, 10> block{};
    EXPECT_EQ(read_some(-1, block).error(), EBADF);
    const Descriptor directory(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(read_some(directory.get(), block).error(), EISDIR);
}

TEST(ReadBlock, FillsItFromSeveralPieces) {
    const PipeOfPieces pipe({"one", "two", "three"});
    const Block first = block_from(pipe.read_end(), 8);
    EXPECT_TRUE(first.read);
    EXPECT_EQ(first.bytes, "onetwoth");
    const Block second = block_from(pipe.read_end(), 8);
    EXPECT_TRUE(second.read);
    EXPECT_EQ(second.bytes, "ree");
    const Block third = block_from(pipe.read_end(), 8);
    EXPECT_TRUE(third.read);
    EXPECT_EQ(third.bytes, "");
}

TEST(ReadBlock, OfNoSizeReadsNothing) {
    const Block block = block_from(-1, 0);
    EXPECT_TRUE(block.read);
    EXPECT_EQ(block.bytes, "");
}

TEST(ReadBlock, KeepsWhatWasReadBeforeAFailure) {
    const Pipe pipe = std::move(*make_pipe());
    ASSERT_EQ(fcntl(pipe.read_end.get(), F_SETFL, O_NONBLOCK), 0);
    ASSERT_EQ(write(pipe.write_end.get(), "begin", 5), 5);
    const Block block = block_from(pipe.read_end.get(), 10);
    EXPECT_EQ(block.read.error(), EAGAIN);
    EXPECT_EQ(block.bytes, "begin");
    EXPECT_EQ(block_from(-1, 10).read.error(), EBADF);
}

// Pieces of all lengths from none to some thousands of bytes; together far more than a pipe holds.
std::vector<std::string> many_pieces() {
    std::vector<std::string> pieces;
    for (std::size_t i = 0; i < 1000; ++i) {
        pieces.emplace_back(i % 7 == 0 ? 0 : i * 37 % 3000, static_cast<char>('a' + i % 26));
    }
    pieces.emplace_back("");
    return pieces;
}

std::vector<iovec> as_iovecs(std::vector<std::string>& pieces) {
    std::vector<iovec> all;
    all.reserve(pieces.size());
    for (std::string& piece : pieces) {
        all.push_back({piece.data(), piece.size()});
    }
    return all;
}

std::string joined(const std::vector<std::string>& pieces) {
    std::string all;
    for (const std::string& piece : pieces) {
        all += piece;
    }
    return all;
}

TEST(WriteWhole, WritesAllOfManyPiecesHoweverOftenItIsInterrupted) {
    std::vector<std::string> pieces = many_pieces();
    std::vector<iovec> left = as_iovecs(pieces);
    InterruptedPipe pipe;
    EXPECT_TRUE(write_whole(pipe.write_end(), left));
    EXPECT_TRUE(pipe.finish() == joined(pieces));
}

TEST(WriteWhole, WritesOneLargePieceHoweverOftenItIsInterrupted) {
    const std::string text = joined(many_pieces());
    InterruptedPipe pipe;
    EXPECT_TRUE(write_whole(pipe.write_end(), text));
    EXPECT_TRUE(pipe.finish() == text);
}

TEST(WriteWhole, WritesPiecesAtOnce) {
    // In a packet pipe every write is a packet, and every read takes one.
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_DIRECT | O_CLOEXEC), 0);
    const Descriptor read_end(ends[0]);
    const Descriptor write_end(ends[1]);
    std::vector<std::string> pieces = {"", "one ", "", "two", ""};
    std::vector<iovec> left = as_iovecs(pieces);
    ASSERT_TRUE(write_whole(write_end.get(), left));
    std::array<char, 100> block{};
    const Result<std::size_t> count = read_some(read_end.get(), block);
    ASSERT_TRUE(count);
    EXPECT_EQ(std::string_view(block.data(), *count), "one two");
}

TEST(WriteWhole, OfNothingDoesNotWrite) {
    EXPECT_TRUE(write_whole(-1, ""));
    EXPECT_TRUE(write_whole(-1, std::span<iovec>()));
    std::vector<std::string> pieces = {"", "", ""};
    std::vector<iovec> left = as_iovecs(pieces);
    EXPECT_TRUE(write_whole(-1, left));
}

TEST(WriteWhole, YieldsTheReasonOfAFailure) {
    EXPECT_EQ(write_whole(-1, "x").error(), EBADF);
    const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(write_whole(full.get(), "x").error(), ENOSPC);
    std::vector<std::string> pieces = {"a", "b"};
    std::vector<iovec> left = as_iovecs(pieces);
    EXPECT_EQ(write_whole(full.get(), left).error(), ENOSPC);
}

TEST(WriteWhole, FailsWhereAPipeTakesNoMore) {
    const Pipe pipe = std::move(*make_pipe());
    ASSERT_EQ(fcntl(pipe.write_end.get(), F_SETFL, O_NONBLOCK), 0);
    EXPECT_EQ(write_whole(pipe.write_end.get(), std::string(1'000'000, 'x')).error(), EAGAIN);
}

}  // namespace
