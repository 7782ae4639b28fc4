// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "support/descriptor.h"
#include "support/result.h"

/// Messages between two processes, each with a descriptor if wanted (unix(7), SCM_RIGHTS).
namespace tolva {

struct SocketPair {
    Descriptor first;
    Descriptor second;
};

/// Makes two connected sockets of that type (unix(7)), which are closed on execv(2): SOCK_SEQPACKET
/// keeps messages apart. Like the ends of make_pipe, they have numbers above 2.
Result<SocketPair> make_socket_pair(int type);

/// What arrived in one message.
struct Message {
    std::string bytes;
    Descriptor descriptor;  ///< closed on execv(2); none if none was sent, or none can be had
};

/// Sends `bytes`, at least one, as one message, and with it a copy of `descriptor` unless that is
/// negative (sendmsg(2)). EPIPE, and no signal, if the other end is closed.
Result<void> send_message(int socket, std::string_view bytes, int descriptor = -1);

/// Waits for a message of at most `size` bytes (recvmsg(2)); what is longer is cut. EPIPE if the
/// other end is closed.
Result<Message> receive_message(int socket, std::size_t size);

}  // namespace tolva
