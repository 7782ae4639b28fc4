// SPDX-License-Identifier: Apache-2.0

#pragma once

// A socket between the program and the database server, where the connection can be lost at a
// point that the test chooses.

#include <atomic>
#include <functional>
#include <thread>

// What becomes of the connection at a packet that the client sends: of its login or a statement.
enum class Cut {
    kNever,
    kBefore,        // it is lost before the server gets the packet
    kBeforeAnswer,  // the server gets the packet, the client no answer
    kInAnswer,      // the client gets half of the answer
    kForGood,       // like kBefore, and there is no server any more
};

class DatabaseTap {
  public:
    // Starts to listen at kSocket, in a thread of its own, which calls `at_packet` with the number
    // of each packet, counted from 1, before it does anything with it. Throws std::runtime_error.
    explicit DatabaseTap(std::function<Cut(unsigned long)> at_packet);
    DatabaseTap(const DatabaseTap&) = delete;
    DatabaseTap& operator=(const DatabaseTap&) = delete;
    DatabaseTap(DatabaseTap&&) = delete;
    DatabaseTap& operator=(DatabaseTap&&) = delete;
    ~DatabaseTap();

    [[nodiscard]] unsigned long packets() const { return packets_; }

    static constexpr const char* kSocket = "/world/tap.sock";

  private:
    void serve();
    void accept_client();
    void hang_up();
    void take_packet();
    void take_answer();

    std::function<Cut(unsigned long)> at_packet_;
    std::atomic<unsigned long> packets_ = 0;
    Cut next_ = Cut::kNever;  // what is to become of the answer
    int listener_ = -1;
    int client_ = -1;
    int server_ = -1;
    int stop_ = -1;  // readable when the thread is to end
    std::thread thread_;
};
