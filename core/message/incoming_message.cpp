// SPDX-License-Identifier: Apache-2.0

#include "core/message/incoming_message.h"

#include <unistd.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include "core/run/diagnostics.h"
#include "support/descriptor.h"

namespace autoresponder {

namespace {

// Calls keep(bytes) for each block of standard input, and for the newline after the last line.
template <typename Keep>
tolva::Result<void> read_blocks(Keep keep) {
    // On the heap: stack-clash protection would touch every page of it, and most messages fill one
    // or two.
    constexpr std::size_t size = 65536;
    const auto buffer = std::make_unique_for_overwrite<char[]>(size);
    tolva::Result<void> result;
    std::size_t length = size;
    while (result && length == size) {
        result = tolva::read_block(STDIN_FILENO, std::span(buffer.get(), size), length);
        keep(std::string_view(buffer.get(), length));
    }
    keep(std::string_view("\n"));
    return result;
}

}  // namespace

MessageInput read_message() {
    MessageInput input;
    input.read = read_blocks(
        [&](std::string_view bytes) { input.text += DwString(bytes.data(), bytes.size()); });
    return input;
}

DwString receive_message(MessageCopy& copy) {
    DwString text;
    const auto read = read_blocks([&](std::string_view bytes) {
        text += DwString(bytes.data(), bytes.size());
        copy.append(bytes);
    });
    copy.close();
    if (!read) {
        report("autoresponder: Failed to read the message: ", error_text(read.error()));
    }
    return text;
}

}  // namespace autoresponder
