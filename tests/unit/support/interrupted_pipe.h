// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>

#include "support/descriptor.h"

/// A pipe whose reader first lets it run full, while signals interrupt the thread that made it, and
/// then reads it to its end. SIGUSR1 is at its default afterwards.
class InterruptedPipe {
  public:
    InterruptedPipe() : pipe_(std::move(*tolva::make_pipe())) {
        struct sigaction action {};
        action.sa_handler = [](int) {};  // without SA_RESTART
        sigaction(SIGUSR1, &action, nullptr);
        reader_ = std::thread([this, writer = pthread_self()] {
            for (int i = 0; i < 100; ++i) {
                pthread_kill(writer, SIGUSR1);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            std::array<char, 4096> piece{};
            ssize_t length = 0;
            while ((length = read(pipe_.read_end.get(), piece.data(), piece.size())) > 0) {
                text_.append(piece.data(), static_cast<std::size_t>(length));
            }
        });
    }
    InterruptedPipe(const InterruptedPipe&) = delete;
    InterruptedPipe& operator=(const InterruptedPipe&) = delete;
    ~InterruptedPipe() { finish(); }

    [[nodiscard]] int write_end() const { return pipe_.write_end.get(); }

    /// Closes the write end, and returns what has been read.
    const std::string& finish() {
        pipe_.write_end.close();
        if (reader_.joinable()) {
            reader_.join();
            signal(SIGUSR1, SIG_DFL);
        }
        return text_;
    }

  private:
    tolva::Pipe pipe_;
    std::thread reader_;
    std::string text_;
};
