// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "core/files/common_look_up.h"
#include "core/files/file_service.h"
#include "core/files/shared_blocks.h"
#include "core/run/forked_process.h"
#include "core/run/waiting_time.h"
#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// A process that looks files up and reads them for this one, because any of that may hang in a
/// file system for ever. This process waits only so long, and then kills it:
///
/// - 5 s in all for looking files up and opening them;
/// - 5 s for reading a file, and 1 s more for each MB (1,000,000 bytes) that has been read of it.
///
/// What takes longer fails with ETIMEDOUT; so do all look-ups after that. The process is started
/// when it is needed. It ends with the object, or with this process. One that cannot be started, or
/// ends, makes the files unreadable, with the reason or EIO.
class FileHelper {
  public:
    /// For files below the directory `root`.
    explicit FileHelper(std::string root) : root_(std::move(root)) {}
    FileHelper(const FileHelper&) = delete;
    FileHelper& operator=(const FileHelper&) = delete;
    FileHelper(FileHelper&&) = delete;
    FileHelper& operator=(FileHelper&&) = delete;
    ~FileHelper() { stop(); }

    /// What is known of the file `path` below the root, as look_up (core/files/common_look_up.h)
    /// finds it out. Opens it if that is asked for; the file opened before is closed.
    FileAnswer look_up(const std::string& path, Question question);

    /// Asks for more of the file that was opened: the process reads ahead into this block.
    tolva::Result<void> begin_reading(std::size_t block);

    /// Waits until it has read. Yields what it has, which lasts until that block is asked for
    /// again; nothing at the end of the file.
    tolva::Result<std::span<const char>> end_reading(WaitingTime& time);

    /// Kills the process if it is reading, or lets it end.
    void stop();

  private:
    struct Process {
        SharedBlocks blocks;
        tolva::Descriptor lifeline;  // closed with this: its own children then end
        tolva::Descriptor socket;
        ForkedProcess process;
    };

    tolva::Result<void> start();
    tolva::Result<void> request(FileRequest kind, std::string_view subject);
    tolva::Result<FileAnswer> receive(WaitingTime& time);
    int give_up(int error);

    std::string root_;
    std::optional<Process> process_;
    std::optional<std::size_t> reading_;  // the block that is asked for
    WaitingTime looking_{std::chrono::seconds(5)};
};

/// A file that is open for reading in a FileHelper, which has to live longer. Ends when the helper
/// opens another.
class OpenedFile {
  public:
    explicit OpenedFile(FileHelper& helper) : helper_(&helper) {}

    /// Reads until the block is full or the end is reached. `length` becomes the number of bytes
    /// that the block then contains, also if reading fails.
    tolva::Result<void> read_block(std::span<char> block, std::size_t& length);

  private:
    tolva::Result<void> go_on();

    FileHelper* helper_;
    WaitingTime time_{std::chrono::seconds(5)};
    std::span<const char> bytes_;  // read and not yet taken
    std::size_t block_ = 0;        // the one that is asked for next
    bool begun_ = false;
    bool ended_ = false;
};

}  // namespace autoresponder
