// SPDX-License-Identifier: Apache-2.0

#include "support/descriptor_passing.h"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace tolva {

namespace {

// Room for the control message that carries one descriptor, cmsg(3).
struct alignas(cmsghdr) OneDescriptor {
    std::array<char, CMSG_SPACE(sizeof(int))> bytes{};
};

msghdr header_of(iovec& piece, OneDescriptor& control) {
    msghdr header{};
    header.msg_iov = &piece;
    header.msg_iovlen = 1;
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
    return header;
}

void put_descriptor(msghdr& header, int descriptor) {
    cmsghdr* control = CMSG_FIRSTHDR(&header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(control), &descriptor, sizeof descriptor);
}

Descriptor take_descriptor(msghdr& header) {
    int descriptor = -1;
    const cmsghdr* control = CMSG_FIRSTHDR(&header);
    if (control != nullptr && control->cmsg_level == SOL_SOCKET &&
        control->cmsg_type == SCM_RIGHTS && control->cmsg_len == CMSG_LEN(sizeof descriptor)) {
        std::memcpy(&descriptor, CMSG_DATA(control), sizeof descriptor);
    }
    return Descriptor(descriptor);
}

}  // namespace

Result<SocketPair> make_socket_pair(int type) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) == -1) {
        return Errno{errno};
    }
    SocketPair pair{Descriptor(ends[0]), Descriptor(ends[1])};
    if (!move_above_standard_streams(pair.first) || !move_above_standard_streams(pair.second)) {
        return Errno{errno};
    }
    return pair;
}

Result<void> send_message(int socket, std::string_view bytes, int descriptor) {
    // sendmsg(2) does not write where its pieces point.
    iovec piece{const_cast<char*>(bytes.data()), bytes.size()};
    OneDescriptor control;
    msghdr header = header_of(piece, control);
    if (descriptor >= 0) {
        put_descriptor(header, descriptor);
    } else {
        header.msg_controllen = 0;
    }
    if (TEMP_FAILURE_RETRY(sendmsg(socket, &header, MSG_NOSIGNAL)) < 0) {
        return Errno{errno};
    }
    return {};
}

Result<Message> receive_message(int socket, std::size_t size) {
    Message message{std::string(size, '\0'), {}};
    iovec piece{message.bytes.data(), message.bytes.size()};
    OneDescriptor control;
    msghdr header = header_of(piece, control);
    const ssize_t count = TEMP_FAILURE_RETRY(recvmsg(socket, &header, MSG_CMSG_CLOEXEC));
    if (count <= 0) {
        return Errno{count < 0 ? errno : EPIPE};
    }
    message.bytes.resize(static_cast<std::size_t>(count));
    message.descriptor = take_descriptor(header);
    return message;
}

}  // namespace tolva
