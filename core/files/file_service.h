// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/files/common_look_up.h"
#include "core/files/shared_blocks.h"

namespace autoresponder {

/// What the file helper is asked for (core/files/file_helper.h).
enum class FileRequest : char {
    kIsThere = '?',  ///< followed by a path: whether anything is there
    kOpen = 'o',     ///< followed by a path: to keep that file open; it takes the place of another
    kRead = 'r'      ///< followed by the number of a block: to read(2) the open file into it once
};

/// Its answer.
struct FileAnswer {
    LookUp::State state = LookUp::State::kUnreadable;
    int error = 0;           ///< errno value
    std::size_t length = 0;  ///< to kRead: how many bytes; 0 at the end of the file

    /// As a message between two processes of this program.
    [[nodiscard]] std::string_view bytes() const;
    /// Nothing if that is no answer.
    static std::optional<FileAnswer> from(std::string_view bytes);
};

/// The file helper's work: answers requests about files below the directory `root` until the other
/// end of the socket is closed.
void serve_files(int socket, const std::string& root, const SharedBlocks& blocks);

}  // namespace autoresponder
