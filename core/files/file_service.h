// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/files/common_look_up.h"

namespace autoresponder {

/// What the file helper is asked for (core/files/file_helper.h).
enum class FileRequest : char {
    kIsThere = '?',  ///< followed by a path: whether anything is there
    kOpen = 'o',     ///< followed by a path: to keep that file open; it takes the place of another
    kSend = 's'      ///< with the end of a pipe: to write the open file to it, and to close both
};

/// Its answer, to kSend once all is written.
struct FileAnswer {
    LookUp::State state = LookUp::State::kUnreadable;
    int error = 0;  ///< errno value

    /// As a message between two processes of this program.
    [[nodiscard]] std::string_view bytes() const;
    /// Nothing if that is no answer.
    static std::optional<FileAnswer> from(std::string_view bytes);
};

/// The file helper's work: answers requests about files below the directory `root` until the other
/// end of the socket is closed.
void serve_files(int socket, const std::string& root);

}  // namespace autoresponder
