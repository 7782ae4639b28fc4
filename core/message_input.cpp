#include "core/message_input.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>

#include "core/diagnostics.h"
#include "core/message_copy.h"

namespace {

// Reads what there is, as far as it fits; nothing at the end of the input, which a failing read is
// too.
std::size_t read_input(std::span<char> buffer) {
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            report("autoresponder: Failed to read the message: ", error_text(errno));
            return 0;
        }
    }
}

}  // namespace

DwString read_message(MessageCopy& copy) {
    DwString text;
    const auto keep = [&](const char* bytes, std::size_t length) {
        text += DwString(bytes, length);
        copy.append({bytes, length});
    };
    std::array<char, 65536> buffer;  // NOLINT(*-member-init): filled by each read
    while (const std::size_t count = read_input(buffer)) {
        keep(buffer.data(), count);
    }
    keep("\n", 1);
    return text;
}
