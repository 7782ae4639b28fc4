#include "core/message_input.h"

#include <unistd.h>

#include <array>
#include <cerrno>

#include "core/message_copy.h"

MessageInput read_message(MessageCopy* copy) {
    MessageInput input;
    const auto keep = [&](const char* bytes, std::size_t length) {
        input.text += DwString(bytes, length);
        if (copy != nullptr) {
            copy->append({bytes, length});
        }
    };
    std::array<char, 65536> buffer;  // NOLINT(*-member-init): filled by each read
    ssize_t count = 0;
    do {
        count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count > 0) {
            keep(buffer.data(), static_cast<std::size_t>(count));
        }
    } while (count > 0 || (count < 0 && errno == EINTR));
    input.error = count < 0 ? errno : 0;
    keep("\n", 1);
    return input;
}
