// SPDX-License-Identifier: Apache-2.0

#include "core/files/opener.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "core/run/rights.h"
#include "support/descriptor_passing.h"

namespace autoresponder {

namespace {

constexpr std::size_t kLongestRequest = sizeof(int) + PATH_MAX;
constexpr std::size_t kMostOpeners = 64;

// What stands for an int in a message.
std::string_view bytes_of(const int& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

int int_of(const std::string& bytes) {
    int value = 0;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

tolva::Result<tolva::Descriptor> carry_out(const tolva::Message& request) {
    const int flags = int_of(request.bytes);
    return tolva::opened(
        openat(request.descriptor.get(), request.bytes.c_str() + sizeof flags, flags | O_CLOEXEC));
}

// Whether a request has come; false when there will be none. The run may give its parent up while
// that hangs in a file system and cannot end: the pipe at standard output tells.
bool has_request() {
    std::array<pollfd, 2> ends{pollfd{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
                               pollfd{.fd = STDOUT_FILENO, .events = 0, .revents = 0}};
    const auto ready = TEMP_FAILURE_RETRY(poll(ends.data(), ends.size(), -1));
    return ready > 0 && ends[1].revents == 0;
}

// Answers requests at standard input. A process that cannot have the rights opens nothing and says
// why.
void serve(const tolva::Result<void>& assumed) {
    while (has_request()) {
        const auto request = tolva::receive_message(STDIN_FILENO, kLongestRequest);
        if (!request) {
            return;
        }
        const tolva::Result<tolva::Descriptor> file =
            assumed ? carry_out(*request) : tolva::Errno{assumed.error()};
        if (!tolva::send_message(STDIN_FILENO, bytes_of(file.error()), file ? file->get() : -1)) {
            return;
        }
    }
}

int lost(int error) {
    return error == EPIPE || error == ECONNRESET ? EIO : error;
}

}  // namespace

tolva::Result<Opener> Opener::start(const Suspect& suspect) {
    tolva::Result<tolva::SocketPair> sockets = tolva::make_socket_pair(SOCK_SEQPACKET);
    if (!sockets) {
        return tolva::Errno{sockets.error()};
    }
    const pid_t parent = getpid();
    auto process = ForkedProcess::start({.in = sockets->second.get(), .err = -1}, [&] {
        const tolva::Result<void> assumed = assume(identity_of(suspect));
        end_with(parent);
        serve(assumed);
    });
    if (!process) {
        return tolva::Errno{process.error()};
    }
    return Opener(std::move(sockets->first), std::move(*process));
}

tolva::Result<tolva::Descriptor> Opener::open(int directory, const std::string& path,
                                              int flags) const {
    if (path.size() >= PATH_MAX) {
        return tolva::Errno{ENAMETOOLONG};
    }
    const std::string request = std::string(bytes_of(flags)) + path;
    if (const auto sent = tolva::send_message(socket_.get(), request, directory); !sent) {
        return tolva::Errno{lost(sent.error())};
    }
    tolva::Result<tolva::Message> answer = tolva::receive_message(socket_.get(), sizeof(int));
    if (!answer) {
        return tolva::Errno{lost(answer.error())};
    }
    if (const int error = int_of(answer->bytes); error != 0) {
        return tolva::Errno{error};
    }
    if (!answer->descriptor) {
        return tolva::Errno{EMFILE};
    }
    return std::move(answer->descriptor);
}

tolva::Result<tolva::Descriptor> Openers::open_as(const Suspect& suspect, int directory,
                                                  const std::string& path, int flags) {
    auto opener = openers_.find(suspect);
    if (opener == openers_.end()) {
        if (openers_.size() >= kMostOpeners) {
            openers_.clear();
        }
        tolva::Result<Opener> started = Opener::start(suspect);
        if (!started) {
            return tolva::Errno{started.error()};
        }
        opener = openers_.emplace(suspect, std::move(*started)).first;
    }
    tolva::Result<tolva::Descriptor> file = opener->second.open(directory, path, flags);
    if (file.error() == EIO) {
        openers_.erase(opener);  // it may have ended; the next file gets another
    }
    return file;
}

}  // namespace autoresponder
