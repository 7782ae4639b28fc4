// SPDX-License-Identifier: Apache-2.0

#include "support/exec_output.h"

#include <sys/wait.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "support/c_pointer.h"
#include "support/captured_stream.h"
#include "support/child_process.h"
#include "support/descriptor.h"
#include "support/log.h"
#include "support/output_buffer.h"

namespace child = tolva::child;
using tolva::CapturedStream;
using tolva::OutputBuffer;
using tolva::Pipe;

namespace {

constexpr char kNoCommand[] =
    "popen_exec: failed to execute command: fork or pipe calls failed, or cannon allocate memory\n";

void report_failed_exec(const char* path, int error) {
    child::say("Cannot exec ", path, ":\n", child::reason(error), "\n");
}

void set_null(char** text) {
    if (text != nullptr) {
        *text = nullptr;
    }
}

// As the shell puts it in $?.
int shell_code(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void report_utility(int status, const char* path, const char* output) {
    errno = 0;
    if (WIFSIGNALED(status) && WCOREDUMP(status)) {
        messlog2(0, 0, "utility %s crashed (status %d):\n%s", path, status, output);
    } else if (WIFSIGNALED(status)) {
        messlog2(0, 0, "utility %s killed (signal %d):\n%s", path, WTERMSIG(status), output);
    } else if (status != 0) {
        messlog2(0, 0, "utility %s failed (result=%d):\n%s", path, WEXITSTATUS(status), output);
    }
}

int getoutput(char** output, const char* path, char* const argv[]) {
    OutputBuffer text;
    tolva::Result<Pipe> pipe = tolva::Errno{EFAULT};
    if (argv != nullptr && text.reserve()) {
        pipe = tolva::make_pipe();
    }
    if (!pipe) {
        messlog2(0, 0, "Cannot allocate buffer:\n%s", strerror(errno));
        return -1;
    }
    const pid_t pid = child::start({0, pipe->write_end.get(), 2}, path, argv, report_failed_exec);
    if (pid == -1) {
        messlog2(0, 0, "Cannot fork():\n%s", strerror(errno));
        return -1;
    }
    pipe->write_end.close();
    const auto outcome = text.read_from(pipe->read_end.get());
    const int error = errno;
    if (outcome == OutputBuffer::Outcome::kNoMemory) {
        messlog2(0, 0, "Cannot allocate buffer:\n%s", strerror(error));
    } else if (outcome == OutputBuffer::Outcome::kFailed) {
        messlog2(0, 0, "Cannot read child output:\n%s", strerror(error));
    }
    pipe->read_end.close();
    const int status = child::wait_for(pid);
    if (outcome != OutputBuffer::Outcome::kEnded) {
        errno = error;
        return -1;
    }
    if (status == -1) {
        messlog2(0, 0, "error:\n%s", strerror(errno));
        return -1;
    }
    report_utility(status, path, text.text());
    *output = text.release();
    return status;
}

// Collects what a command of the shell writes, as far as there is memory for it; false with errno
// when it cannot be read.
bool collect_command(OutputBuffer& text, int fd) {
    const OutputBuffer::Outcome outcome = text.read_from(fd);
    if (outcome == OutputBuffer::Outcome::kNoMemory) {
        messlog2(0, 0,
                 "popen_exec: warning: failed to allocate memory for command output buffer\n");
        OutputBuffer::drain(fd);
    } else if (outcome == OutputBuffer::Outcome::kFailed) {
        tolva::report_failed_read();
        return false;
    }
    return true;
}

}  // namespace

int popen_exec_getoutput(char** output, const char* command) {
    *output = nullptr;
    OutputBuffer text;
    if (!text.reserve()) {
        messlog2(0, 0, "popen_exec: failed to allocate memory\n");
        return -1;
    }
    FILE* pipe = popen(command, "r");
    if (pipe == nullptr) {
        messlog2(0, 0, kNoCommand);
        return -1;
    }
    const bool collected = collect_command(text, fileno(pipe));
    const int error = errno;
    const int status = pclose(pipe);
    if (!collected) {
        errno = error;
        return -1;
    }
    if (status != -1) {
        *output = text.release();
    }
    return status;
}

int popen_exec(const char* command) {
    char* collected = nullptr;
    const int status = popen_exec_getoutput(&collected, command);
    const tolva::CPointer<char> output(collected);
    if (status == -1) {
        messlog2(0, 0, "popen_exec: failed to execute command: %s\n", command);
    } else if (status != 0) {
        const bool silent = *output == '\0';
        errno = 0;
        messlog2(0, 0, "popen_exec: command failed code: %d , %s\n", shell_code(status),
                 silent ? "error: none" : output.get());
    }
    return status;
}

int fork_execv_getoutput(char** output, const char* path, ...) {
    *output = nullptr;
    va_list arguments;
    va_start(arguments, path);
    const child::ArgumentVector argv = child::collect_arguments(arguments);
    va_end(arguments);
    return getoutput(output, path, argv.get());
}

int read_to_buf(int fd, char** buf, size_t* length, size_t* capacity) {
    OutputBuffer buffer(*buf, *length, *capacity);
    const OutputBuffer::Outcome outcome = tolva::read_and_report(buffer, fd);
    *length = buffer.length();
    *capacity = buffer.capacity();
    *buf = buffer.release();
    switch (outcome) {
        case OutputBuffer::Outcome::kEnded:
            return 0;
        case OutputBuffer::Outcome::kPending:
            return 1;
        default:
            return -1;
    }
}

int fork_execv_getouterr(char** out, char** err, const char* path, char* const argv[]) {
    CapturedStream output(out);
    CapturedStream errors(err);
    return tolva::run_captured(output, &errors, path, argv);
}

int fork_execl_getouterr(char** out, char** err, const char* path, ...) {
    set_null(out);
    set_null(err);
    va_list arguments;
    va_start(arguments, path);
    const int result = child::with_arguments(
        arguments, 0, [&](char** argv) { return fork_execv_getouterr(out, err, path, argv); });
    va_end(arguments);
    return result;
}

int fork_execv_getout(char** out, const char* path, char* const argv[]) {
    CapturedStream output(out);
    return tolva::run_captured(output, nullptr, path, argv);
}

int fork_execl_getout(char** out, const char* path, ...) {
    set_null(out);
    va_list arguments;
    va_start(arguments, path);
    const int result = child::with_arguments(
        arguments, 0, [&](char** argv) { return fork_execv_getout(out, path, argv); });
    va_end(arguments);
    return result;
}
