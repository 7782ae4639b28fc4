// SPDX-License-Identifier: Apache-2.0

#include "support/captured_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

#include "support/child_process.h"
#include "support/descriptor.h"
#include "support/log.h"

namespace tolva {

namespace {

// One or two.
using Captured = std::span<CapturedStream* const>;

// Waits until a stream has something to read, and reads it, until all have ended; false with errno
// when that fails.
bool collect(Captured captured) {
    const auto ended = [](const CapturedStream* stream) { return stream->read_end() == -1; };
    while (!std::all_of(captured.begin(), captured.end(), ended)) {
        std::array<pollfd, 2> waiting{};
        for (std::size_t i = 0; i < captured.size(); ++i) {
            waiting[i] = {captured[i]->read_end(), POLLIN, 0};
        }
        if (poll(waiting.data(), captured.size(), -1) == -1) {
            if (errno == EINTR) {
                continue;
            }
            report_failed_read();
            return false;
        }
        for (std::size_t i = 0; i < captured.size(); ++i) {
            if (waiting[i].revents != 0 && !captured[i]->read()) {
                return false;
            }
        }
    }
    return true;
}

bool open_all(Captured captured) {
    return std::all_of(captured.begin(), captured.end(),
                       [](CapturedStream* stream) { return stream->open(); });
}

}  // namespace

void report_failed_read() {
    messlog2(0, 0, "fork_exec*: read(pipe) failed: %s\n", strerror(errno));
}

OutputBuffer::Outcome read_and_report(OutputBuffer& buffer, int fd) {
    const OutputBuffer::Outcome outcome = buffer.read_from(fd);
    if (outcome == OutputBuffer::Outcome::kNoMemory) {
        messlog2(0, 0, "Cannot allocate memory");
    } else if (outcome == OutputBuffer::Outcome::kFailed) {
        report_failed_read();
    }
    return outcome;
}

CapturedStream::CapturedStream(char** target) : target_(target) {
    if (target_ != nullptr) {
        *target_ = nullptr;
    }
}

bool CapturedStream::open() {
    if (target_ == nullptr) {
        return true;
    }
    Result<Pipe> pipe = make_pipe();
    if (!pipe) {
        messlog2(0, 0, "fork_execv_getouterr: pipe() failed");
        return false;
    }
    read_end_ = std::move(pipe->read_end);
    child_end_ = std::move(pipe->write_end);
    if (fcntl(read_end_.get(), F_SETFL, O_NONBLOCK) == -1) {
        messlog2(0, 0, "fork_execv_getouterr: fcntl(O_NONBLOCK) failed");
        return false;
    }
    return true;
}

bool CapturedStream::read() {
    const OutputBuffer::Outcome outcome = read_and_report(text_, read_end_.get());
    if (outcome == OutputBuffer::Outcome::kEnded) {
        read_end_.close();
    }
    return outcome == OutputBuffer::Outcome::kEnded || outcome == OutputBuffer::Outcome::kPending;
}

void CapturedStream::hand_over() {
    if (target_ != nullptr) {
        *target_ = text_.release();
    }
}

int run_captured(CapturedStream& output, CapturedStream* errors, const char* path,
                 char* const argv[]) {
    const std::array<CapturedStream*, 2> streams{&output, errors};
    const Captured captured(streams.data(), errors != nullptr ? 2 : 1);
    if (!open_all(captured)) {
        return -1;
    }
    const int child_errors = errors != nullptr ? errors->child_end() : STDERR_FILENO;
    const pid_t pid = child::start({STDIN_FILENO, output.child_end(), child_errors}, path, argv);
    if (pid == -1) {
        child::report_failed_fork(0);
        return -1;
    }
    for (CapturedStream* stream : captured) {
        stream->close_child_end();
    }
    const bool complete = collect(captured);
    const int error = errno;
    for (CapturedStream* stream : captured) {
        stream->close();  // a child that still writes must not wait for a reader
    }
    const int status = child::wait_for(pid);
    if (!complete) {
        errno = error;
        return -1;
    }
    if (status != -1) {
        for (CapturedStream* stream : captured) {
            stream->hand_over();
        }
    }
    return status;
}

}  // namespace tolva
