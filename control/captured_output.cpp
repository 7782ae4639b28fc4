// SPDX-License-Identifier: Apache-2.0

#include "control/captured_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "control/failure.h"
#include "core/run/diagnostics.h"

namespace autoresponder::control {

namespace {

constexpr int kAboveStandardStreams = 3;

tolva::Descriptor or_fail(int fd) {
    if (fd < 0) {
        throw Failure("cannot capture the output: " + error_text(errno));
    }
    return tolva::Descriptor(fd);
}

}  // namespace

CapturedOutput::CapturedOutput()
    : output_(or_fail(memfd_create("output", MFD_CLOEXEC))),
      errors_(or_fail(memfd_create("errors", MFD_CLOEXEC))),
      standard_output_(or_fail(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kAboveStandardStreams))),
      standard_error_(or_fail(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, kAboveStandardStreams))) {
    std::fflush(nullptr);
    dup2(output_.get(), STDOUT_FILENO);
    dup2(errors_.get(), STDERR_FILENO);
}

CapturedOutput::~CapturedOutput() {
    std::fflush(nullptr);
    dup2(standard_output_.get(), STDOUT_FILENO);
    dup2(standard_error_.get(), STDERR_FILENO);
}

std::string CapturedOutput::errors() const {
    std::fflush(nullptr);
    struct stat status {};
    if (fstat(errors_.get(), &status) != 0) {
        return "";
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t length = pread(errors_.get(), text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

}  // namespace autoresponder::control
