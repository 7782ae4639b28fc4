// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/child_run.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace {

// A file without a name that takes what a stream of the child is given.
class Capture {
  public:
    Capture() : fd_(memfd_create("capture", MFD_CLOEXEC)) {
        if (fd_ < 0) {
            throw std::system_error(errno, std::generic_category(), "memfd_create");
        }
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture() { close(fd_); }

    void take(int stream) const {
        if (dup2(fd_, stream) < 0) {
            _exit(126);
        }
    }

    void add(std::string_view text) const {
        if (write(fd_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            _exit(127);
        }
    }

    std::string text() const {
        std::string text;
        std::array<char, 4096> piece{};
        ssize_t length = 0;
        while ((length = pread(fd_, piece.data(), piece.size(), static_cast<off_t>(text.size()))) >
               0) {
            text.append(piece.data(), static_cast<std::size_t>(length));
        }
        return text;
    }

  private:
    int fd_;
};

// The notes of this child; null in a process that is none.
const Capture* notes = nullptr;

}  // namespace

ChildRun run_in_child(const std::function<void()>& body) {
    const Capture out;
    const Capture err;
    const Capture noted;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        out.take(STDOUT_FILENO);
        err.take(STDERR_FILENO);
        notes = &noted;
        errno = 0;
        body();
        std::exit(0);
    }
    int state = 0;
    if (waitpid(child, &state, 0) != child) {
        throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    const int status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    return {status, out.text(), err.text(), noted.text()};
}

void add_note(std::string_view text) {
    notes->add(text);
}
