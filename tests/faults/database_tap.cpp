// SPDX-License-Identifier: Apache-2.0

#include "tests/faults/database_tap.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kMost = std::size_t{1} << 20U;

sockaddr_un address_of(std::string_view path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

std::string_view server_path() {
    const char* path = std::getenv("MYSQL_UNIX_PORT");
    return path != nullptr ? path : "";
}

int new_socket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

int listen_at(const char* path) {
    unlink(path);
    const sockaddr_un address = address_of(path);
    const int listener = new_socket();
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0) {
        throw std::runtime_error("cannot listen for clients of the database");
    }
    return listener;
}

int connect_to_server() {
    const sockaddr_un address = address_of(server_path());
    const int server = new_socket();
    if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return server;
    }
    close(server);
    return -1;
}

// What is there to be read; nothing at the end.
std::vector<char> take(int socket) {
    std::vector<char> bytes(kMost);
    const ssize_t count = recv(socket, bytes.data(), bytes.size(), 0);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

void pass(int socket, const std::vector<char>& bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const ssize_t sent = send(socket, bytes.data() + done, count - done, MSG_NOSIGNAL);
        if (sent <= 0) {
            return;  // what is to be read next tells
        }
        done += static_cast<std::size_t>(sent);
    }
}

void close_if_open(int& descriptor) {
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1));
    }
}

}  // namespace

DatabaseTap::DatabaseTap(std::function<Cut(unsigned long)> at_packet)
    : at_packet_(std::move(at_packet)),
      listener_(listen_at(kSocket)),
      stop_(eventfd(0, EFD_CLOEXEC)),
      thread_([this] { serve(); }) {}

DatabaseTap::~DatabaseTap() {
    eventfd_write(stop_, 1);
    thread_.join();
    hang_up();
    close_if_open(listener_);
    close_if_open(stop_);
}

void DatabaseTap::serve() {
    for (;;) {
        // Negative descriptors are left out.
        std::array<pollfd, 4> ready = {{{stop_, POLLIN, 0},
                                        {client_ < 0 ? listener_ : -1, POLLIN, 0},
                                        {client_, POLLIN, 0},
                                        {server_, POLLIN, 0}}};
        poll(ready.data(), ready.size(), -1);
        if (ready[0].revents != 0) {
            return;
        }
        if (ready[1].revents != 0) {
            accept_client();
        } else if (ready[3].revents != 0) {
            take_answer();
        } else if (ready[2].revents != 0) {
            take_packet();
        }
    }
}

void DatabaseTap::accept_client() {
    client_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    server_ = connect_to_server();
    if (server_ < 0) {
        hang_up();
    }
}

void DatabaseTap::hang_up() {
    close_if_open(client_);
    close_if_open(server_);
    next_ = Cut::kNever;
}

void DatabaseTap::take_packet() {
    const std::vector<char> packet = take(client_);
    if (packet.empty()) {
        hang_up();
        return;
    }
    next_ = at_packet_(++packets_);
    if (next_ == Cut::kForGood) {
        unlink(kSocket);
        close_if_open(listener_);
    }
    if (next_ == Cut::kBefore || next_ == Cut::kForGood) {
        hang_up();
        return;
    }
    pass(server_, packet, packet.size());
}

void DatabaseTap::take_answer() {
    const std::vector<char> answer = take(server_);
    if (answer.empty() || next_ == Cut::kBeforeAnswer) {
        hang_up();
        return;
    }
    const bool broken_off = next_ == Cut::kInAnswer;
    pass(client_, answer, broken_off ? answer.size() / 2 : answer.size());
    if (broken_off) {
        hang_up();
    }
}
