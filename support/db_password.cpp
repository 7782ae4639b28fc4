// SPDX-License-Identifier: Apache-2.0

#include "support/db_password.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/descriptor.h"

namespace tolva::db {

namespace {

bool fail(const char* format, char* err, std::size_t size) __attribute__((format(printf, 1, 0)));

bool fail(const char* format, char* err, std::size_t size) {
    const int error = errno;
    std::snprintf(err, size, format, strerror(error));
    errno = error;
    return false;
}

}  // namespace

AdminPassword::~AdminPassword() {
    explicit_bzero(text_.data(), text_.size());
}

// By one read(2) of what is a small file: the buffer of a stdio stream would be a second copy.
bool AdminPassword::read(char* err, std::size_t size) {
    const Descriptor file(open(kFile, O_RDONLY | O_CLOEXEC));
    if (!file) {
        return fail("Unable to open admin password file: %s", err, size);
    }
    const ssize_t length = TEMP_FAILURE_RETRY(::read(file.get(), text_.data(), text_.size() - 1));
    if (length <= 0) {
        if (length == 0) {
            errno = 0;  // not that of an earlier failure
        }
        return fail("Unable to read admin password file: %s", err, size);
    }
    if (void* line_feed = std::memchr(text_.data(), '\n', text_.size())) {
        *static_cast<char*>(line_feed) = '\0';
    }
    return true;
}

}  // namespace tolva::db
