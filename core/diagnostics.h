#pragma once

#include <sys/uio.h>

#include <array>
#include <span>
#include <string>
#include <string_view>

/// What the core says to the administrator.

/// Writes the pieces to standard error, all with one writev(2) unless it is interrupted. Nothing
/// can be done about a line that cannot be written.
void write_diagnostic(std::span<iovec> pieces);

/// Writes the texts and a line end to standard error as one line, so that lines of processes that
/// share it do not mix. Allocates nothing.
template <typename... Texts>
void report(const Texts&... texts) {
    // writev(2) does not write where its pieces point.
    const auto piece = [](std::string_view text) {
        return iovec{const_cast<char*>(text.data()), text.size()};
    };
    std::array line = {piece(texts)..., piece("\n")};
    write_diagnostic(line);
}

/// Records a failure through messlog2, which writes it to standard error and to standard output.
/// `error` is the errno value of its cause, 0 for none; `format` is that of printf(3).
void record(int error, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// "reason (number)" of an errno value, the end of most messages about a failed system call.
std::string error_text(int error);

/// `text` as a line of a log can hold it: control characters become "?".
std::string on_one_line(std::string_view text);
