// SPDX-License-Identifier: Apache-2.0

#include "core/files/file_helper.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>

#include "support/descriptor_passing.h"

namespace autoresponder {

FileAnswer FileHelper::look_up(const std::string& path, Question question) {
    if (path.size() >= PATH_MAX) {
        return {LookUp::State::kMissing, ENAMETOOLONG};
    }
    if (looking_.is_over()) {
        return {.error = ETIMEDOUT};
    }
    if (reading_) {
        stop();
    }
    const auto kind = question == Question::kOpen ? FileRequest::kOpen : FileRequest::kIsThere;
    if (const auto sent = request(kind, path); !sent) {
        return {.error = sent.error()};
    }
    const tolva::Result<FileAnswer> answer = receive(looking_);
    return answer ? *answer : FileAnswer{.error = answer.error()};
}

tolva::Result<void> FileHelper::begin_reading(std::size_t block) {
    if (!process_ || reading_) {
        return tolva::Errno{EIO};
    }
    reading_ = block;
    return request(FileRequest::kRead, std::string(1, static_cast<char>(block)));
}

tolva::Result<std::span<const char>> FileHelper::end_reading(WaitingTime& time) {
    if (!process_ || !reading_) {
        return tolva::Errno{EIO};
    }
    const tolva::Result<FileAnswer> answer = receive(time);
    const std::size_t block = std::exchange(reading_, std::nullopt).value_or(0);
    if (!answer || answer->error != 0) {
        return tolva::Errno{answer ? answer->error : answer.error()};
    }
    return std::span<const char>(process_->blocks.block(block)).first(answer->length);
}

void FileHelper::stop() {
    if (!process_) {
        return;
    }
    if (!std::exchange(reading_, std::nullopt)) {
        // It ends when it has ended its own children.
        constexpr std::chrono::milliseconds moment(100);
        shutdown(process_->socket.get(), SHUT_WR);
        [[maybe_unused]] const auto ended =
            WaitingTime(moment).wait_for_input(process_->socket.get());
    }
    process_.reset();
}

tolva::Result<void> FileHelper::start() {
    tolva::Result<tolva::SocketPair> sockets = tolva::make_socket_pair(SOCK_SEQPACKET);
    if (!sockets) {
        return tolva::Errno{sockets.error()};
    }
    tolva::Result<tolva::Pipe> lifeline = tolva::make_pipe();
    if (!lifeline) {
        return tolva::Errno{lifeline.error()};
    }
    tolva::Result<SharedBlocks> blocks = SharedBlocks::make();
    if (!blocks) {
        return tolva::Errno{blocks.error()};
    }
    // Without this process's output: should it hang for ever, nobody has to wait for its end.
    auto process = ForkedProcess::start(
        {.in = sockets->second.get(), .out = lifeline->read_end.get(), .err = -1},
        [&] { serve_files(STDIN_FILENO, root_, *blocks); });
    if (!process) {
        return tolva::Errno{process.error()};
    }
    process_.emplace(Process{std::move(*blocks), std::move(lifeline->write_end),
                             std::move(sockets->first), std::move(*process)});
    return {};
}

tolva::Result<void> FileHelper::request(FileRequest kind, std::string_view subject) {
    if (!process_) {
        if (auto started = start(); !started) {
            return started;
        }
    }
    std::string message(1, static_cast<char>(kind));
    message += subject;
    const auto sent = tolva::send_message(process_->socket.get(), message);
    return sent ? sent : tolva::Errno{give_up(sent.error())};
}

tolva::Result<FileAnswer> FileHelper::receive(WaitingTime& time) {
    const int socket = process_->socket.get();
    if (const auto ready = time.wait_for_input(socket); !ready) {
        return tolva::Errno{give_up(ready.error())};
    }
    const auto message = tolva::receive_message(socket, sizeof(FileAnswer));
    if (!message) {
        return tolva::Errno{give_up(message.error())};
    }
    const std::optional<FileAnswer> answer = FileAnswer::from(message->bytes);
    if (!answer) {
        return tolva::Errno{give_up(EIO)};
    }
    return *answer;
}

// Kills the process, and says why the file cannot be read after that error.
int FileHelper::give_up(int error) {
    process_.reset();
    reading_.reset();
    return error == EPIPE || error == ECONNRESET ? EIO : error;
}

// Takes what has been read, and has the other block filled meanwhile.
tolva::Result<void> OpenedFile::go_on() {
    if (!std::exchange(begun_, true)) {
        if (auto begun = helper_->begin_reading(block_); !begun) {
            return begun;
        }
    }
    const tolva::Result<std::span<const char>> read = helper_->end_reading(time_);
    if (!read) {
        return tolva::Errno{read.error()};
    }
    bytes_ = *read;
    time_.extend(std::chrono::microseconds(bytes_.size()));  // a second for each MB
    ended_ = bytes_.empty();
    block_ = (block_ + 1) % SharedBlocks::kCount;
    return ended_ ? tolva::Result<void>() : helper_->begin_reading(block_);
}

tolva::Result<void> OpenedFile::read_block(std::span<char> block, std::size_t& length) {
    for (length = 0; length < block.size() && !ended_;) {
        if (bytes_.empty()) {
            if (auto gone_on = go_on(); !gone_on) {
                ended_ = true;
                return gone_on;
            }
        }
        const std::size_t count = std::min(bytes_.size(), block.size() - length);
        std::copy_n(bytes_.begin(), count, block.begin() + static_cast<std::ptrdiff_t>(length));
        bytes_ = bytes_.subspan(count);
        length += count;
    }
    return {};
}

}  // namespace autoresponder
