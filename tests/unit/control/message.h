// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <memory>
#include <string>

#include <mimelib/mimepp.h>

/// A message of that text, parsed.
inline std::unique_ptr<DwMessage> message_of(const std::string& text) {
    DwInitialize();
    std::unique_ptr<DwMessage> message(
        DwMessage::NewMessage(DwString(text.data(), text.size()), nullptr));
    message->Parse();
    return message;
}
