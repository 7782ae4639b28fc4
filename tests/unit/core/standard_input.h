// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "core/run/temporary_files.h"
#include "support/descriptor.h"
#include "tests/unit/core/temporary_directory.h"

// The message is on standard input.
class StandardInput : public testing::Test {
  protected:
    void SetUp() override {
        std::string("/tmp/tva-autoresponder-XXXXXX").copy(autoresponder::mail_file_name, 29);
        standard_input_ = tolva::Descriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3));
        setenv("RESP_RECIPIENT", "info@client.example", 1);
    }
    void TearDown() override {
        if (standard_input_) {
            dup2(standard_input_.get(), STDIN_FILENO);
        } else {
            close(STDIN_FILENO);
        }
        unlink(autoresponder::mail_file_name);
        unsetenv("RESP_RECIPIENT");
    }

    static void feed(const std::string& message) {
        const auto pipe = tolva::make_pipe();
        ASSERT_TRUE(pipe);
        ASSERT_EQ(write(pipe->write_end.get(), message.data(), message.size()),
                  static_cast<ssize_t>(message.size()));
        ASSERT_EQ(dup2(pipe->read_end.get(), STDIN_FILENO), STDIN_FILENO);
    }

    // For messages of any size.
    void feed_file(const std::string& message) {
        directory_.put("message", message);
        open_input(directory_.path("message"), O_RDONLY);
    }

    static void open_input(const std::string& path, int flags) {
        const tolva::Descriptor file(open(path.c_str(), flags | O_CLOEXEC));
        ASSERT_TRUE(file);
        ASSERT_EQ(dup2(file.get(), STDIN_FILENO), STDIN_FILENO);
    }

    static std::string copied() {
        std::ifstream file(autoresponder::mail_file_name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const TemporaryDirectory directory_;

  private:
    tolva::Descriptor standard_input_;
};
