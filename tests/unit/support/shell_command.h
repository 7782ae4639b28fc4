// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <string>

namespace testing_support {

/// The argument vector that has /bin/sh run a command.
class ShellCommand {
  public:
    explicit ShellCommand(const char* command)
        : words_{"sh", "-c", command},
          argv_{words_[0].data(), words_[1].data(), words_[2].data(), nullptr} {}
    ~ShellCommand() = default;
    ShellCommand(const ShellCommand&) = delete;
    ShellCommand& operator=(const ShellCommand&) = delete;

    char* const* argv() const { return argv_.data(); }

  private:
    std::array<std::string, 3> words_;
    std::array<char*, 4> argv_;
};

}  // namespace testing_support
