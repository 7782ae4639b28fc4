#include "core/diagnostics.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "core/control_characters.h"
#include "support/log.h"

namespace {

// What is left of the pieces after their first `written` bytes.
std::span<iovec> rest_of(std::span<iovec> pieces, std::size_t written) {
    while (!pieces.empty() && written >= pieces.front().iov_len) {
        written -= pieces.front().iov_len;
        pieces = pieces.subspan(1);
    }
    if (!pieces.empty()) {
        pieces.front().iov_base = static_cast<char*>(pieces.front().iov_base) + written;
        pieces.front().iov_len -= written;
    }
    return pieces;
}

}  // namespace

void write_diagnostic(std::span<iovec> pieces) {
    while (!pieces.empty()) {
        const ssize_t written =
            writev(STDERR_FILENO, pieces.data(), static_cast<int>(pieces.size()));
        if (written >= 0) {
            pieces = rest_of(pieces, static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return;
        }
    }
}

void record(int error, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    errno = error;  // vmesslog2 names the pending error
    vmesslog2(1, 1, format, arguments);
    va_end(arguments);
}

std::string error_text(int error) {
    return std::string(std::strerror(error)) + " (" + std::to_string(error) + ")";
}

std::string on_one_line(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(line, is_control_character, '?');
    return line;
}
