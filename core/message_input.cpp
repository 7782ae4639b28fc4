#include "core/message_input.h"

#include <unistd.h>

#include <cerrno>
#include <memory>

#include "core/message_copy.h"

MessageInput read_message(MessageCopy* copy) {
    MessageInput input;
    const auto keep = [&](const char* bytes, std::size_t length) {
        input.text += DwString(bytes, length);
        if (copy != nullptr) {
            copy->append({bytes, length});
        }
    };
    // Not on the stack, whose protection touches each of its pages: most messages fill one or two.
    constexpr std::size_t block = 65536;
    const auto buffer = std::make_unique_for_overwrite<char[]>(block);
    ssize_t count = 0;
    do {
        count = read(STDIN_FILENO, buffer.get(), block);
        if (count > 0) {
            keep(buffer.get(), static_cast<std::size_t>(count));
        }
    } while (count > 0 || (count < 0 && errno == EINTR));
    input.error = count < 0 ? errno : 0;
    keep("\n", 1);
    return input;
}
