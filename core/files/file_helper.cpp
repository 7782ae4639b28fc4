// SPDX-License-Identifier: Apache-2.0

#include "core/files/file_helper.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "support/descriptor_passing.h"

namespace autoresponder {

namespace {

// As large as anybody may make it by default: fewer changes between the two processes.
constexpr int kPipeSize = 1 << 20;

}  // namespace

FileAnswer FileHelper::look_up(const std::string& path, Question question) {
    if (path.size() >= PATH_MAX) {
        return {LookUp::State::kMissing, ENAMETOOLONG};
    }
    if (looking_.is_over()) {
        return {.error = ETIMEDOUT};
    }
    if (is_reading_) {
        stop();
    }
    const auto kind = question == Question::kOpen ? FileRequest::kOpen : FileRequest::kIsThere;
    if (const auto sent = request(kind, path, -1); !sent) {
        return {.error = sent.error()};
    }
    const tolva::Result<FileAnswer> answer = receive(looking_);
    return answer ? *answer : FileAnswer{.error = answer.error()};
}

tolva::Result<tolva::Descriptor> FileHelper::begin_reading() {
    if (!process_ || is_reading_) {
        return tolva::Errno{EIO};
    }
    tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
    if (!pipe) {
        return tolva::Errno{pipe.error()};
    }
    fcntl(pipe->write_end.get(), F_SETPIPE_SZ, kPipeSize);
    if (fcntl(pipe->read_end.get(), F_SETFL, O_NONBLOCK) == -1) {
        return tolva::Errno{errno};
    }
    if (const auto sent = request(FileRequest::kSend, "", pipe->write_end.get()); !sent) {
        return tolva::Errno{sent.error()};
    }
    is_reading_ = true;
    return std::move(pipe->read_end);
}

tolva::Result<void> FileHelper::end_reading(WaitingTime& time) {
    const tolva::Result<FileAnswer> answer = receive(time);
    is_reading_ = false;
    if (!answer || answer->error != 0) {
        return tolva::Errno{answer ? answer->error : answer.error()};
    }
    return {};
}

void FileHelper::stop() {
    if (!process_) {
        return;
    }
    if (!std::exchange(is_reading_, false)) {
        // It ends when it has ended its own children.
        constexpr std::chrono::milliseconds moment(100);
        shutdown(process_->socket.get(), SHUT_WR);
        [[maybe_unused]] const auto ended =
            WaitingTime(moment).wait_for_input(process_->socket.get());
    }
    process_.reset();
}

tolva::Result<void> FileHelper::start() {
    tolva::Result<tolva::SocketPair> sockets = tolva::make_socket_pair();
    if (!sockets) {
        return tolva::Errno{sockets.error()};
    }
    tolva::Result<tolva::Pipe> lifeline = tolva::make_pipe();
    if (!lifeline) {
        return tolva::Errno{lifeline.error()};
    }
    // Without this process's output: should it hang for ever, nobody has to wait for its end.
    auto process = ForkedProcess::start(
        {.in = sockets->second.get(), .out = lifeline->read_end.get(), .err = -1},
        [this] { serve_files(STDIN_FILENO, root_); });
    if (!process) {
        return tolva::Errno{process.error()};
    }
    process_.emplace(
        Process{std::move(lifeline->write_end), std::move(sockets->first), std::move(*process)});
    return {};
}

// A process that is there may have ended, so another is started then.
tolva::Result<void> FileHelper::request(FileRequest kind, std::string_view path, int descriptor) {
    if (!process_) {
        if (auto started = start(); !started) {
            return started;
        }
    }
    std::string message(1, static_cast<char>(kind));
    message += path;
    const auto sent = tolva::send_message(process_->socket.get(), message, descriptor);
    return sent ? sent : tolva::Errno{give_up(sent.error())};
}

tolva::Result<FileAnswer> FileHelper::receive(WaitingTime& time) {
    if (!process_) {
        return tolva::Errno{EIO};
    }
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
    is_reading_ = false;
    return error == EPIPE || error == ECONNRESET ? EIO : error;
}

tolva::Result<void> OpenedFile::begin() {
    begun_ = true;
    tolva::Result<tolva::Descriptor> pipe = helper_->begin_reading();
    if (!pipe) {
        return tolva::Errno{pipe.error()};
    }
    pipe_ = std::move(*pipe);
    return {};
}

tolva::Result<std::size_t> OpenedFile::read_some(std::span<char> block) {
    for (;;) {
        tolva::Result<std::size_t> length = tolva::read_some(pipe_.get(), block);
        if (length.error() != EAGAIN) {
            return length;
        }
        if (const auto ready = time_.wait_for_input(pipe_.get()); !ready) {
            helper_->stop();
            return tolva::Errno{ready.error()};
        }
    }
}

tolva::Result<void> OpenedFile::read_block(std::span<char> block, std::size_t& length) {
    length = 0;
    if (!begun_) {
        if (auto begun = begin(); !begun) {
            return begun;
        }
    }
    while (pipe_ && length < block.size()) {
        const tolva::Result<std::size_t> count = read_some(block.subspan(length));
        if (!count) {
            return tolva::Errno{count.error()};
        }
        if (*count == 0) {
            pipe_.close();
            return helper_->end_reading(time_);
        }
        length += *count;
        time_.extend(std::chrono::microseconds(*count));  // a second for each MB
    }
    return {};
}

}  // namespace autoresponder
