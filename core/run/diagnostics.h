// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>

#include "support/descriptor.h"

/// Messages to the administrator, on standard error.
namespace autoresponder {

/// Writes the texts and a newline to standard error as one line, with one writev(2) unless it is
/// interrupted, so that the lines of processes that share it do not mix. Allocates nothing. A line
/// that cannot be written is lost.
template <typename... Texts>
void report(const Texts&... texts) {
    // writev(2) does not write where its pieces point.
    const auto piece = [](std::string_view text) {
        return iovec{const_cast<char*>(text.data()), text.size()};
    };
    std::array line = {piece(texts)..., piece("\n")};
    [[maybe_unused]] const auto written = tolva::write_whole(STDERR_FILENO, line);
}

/// Records a failure through messlog2, which writes it to standard error and to standard output.
/// `error` is the errno value of its cause, 0 for none; `format` is that of printf(3).
void record(int error, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// "reason (number)" of an errno value, the end of most messages about a failed system call.
std::string error_text(int error);

}  // namespace autoresponder
