// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MessageSocket.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace quorvane {

namespace {

/// Room for one descriptor in a message's envelope.
union Envelope {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

Received take(int socket, std::span<std::byte> message, msghdr& header, int flags)
{
    iovec contents { message.data(), message.size() };
    header.msg_iov = &contents;
    header.msg_iovlen = 1;
    ssize_t got = 0;
    do {
        got = recvmsg(socket, &header, flags | MSG_CMSG_CLOEXEC);
        // Who ends without having read everything resets the connection, which is said once, and
        // before what was sent until then.
    } while (got < 0 && (errno == EINTR || errno == ECONNRESET));
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        return Received::Nothing;
    if (got <= 0)
        return Received::End;
    const bool fits
        = got == static_cast<ssize_t>(message.size()) && (header.msg_flags & MSG_TRUNC) == 0;
    return fits ? Received::Message : Received::Nonsense;
}

FileDescriptor descriptorIn(msghdr& header)
{
    const cmsghdr* const first = CMSG_FIRSTHDR(&header);
    if (!first || first->cmsg_level != SOL_SOCKET || first->cmsg_type != SCM_RIGHTS
        || first->cmsg_len != CMSG_LEN(sizeof(int)))
        return {};
    int descriptor = -1;
    std::memcpy(&descriptor, CMSG_DATA(first), sizeof descriptor);
    return FileDescriptor(descriptor);
}

} // namespace

std::optional<std::pair<FileDescriptor, FileDescriptor>> makeMessageSockets()
{
    int ends[2] = { -1, -1 };
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return {};
    return std::pair(FileDescriptor(ends[0]), FileDescriptor(ends[1]));
}

bool sendMessage(int socket, std::span<const std::byte> message, int file)
{
    // The interface is older than const.
    iovec contents { const_cast<std::byte*>(message.data()), message.size() };
    msghdr header {};
    header.msg_iov = &contents;
    header.msg_iovlen = 1;
    Envelope envelope {};
    if (file >= 0) {
        header.msg_control = &envelope;
        header.msg_controllen = sizeof envelope;
        cmsghdr* const first = CMSG_FIRSTHDR(&header);
        first->cmsg_level = SOL_SOCKET;
        first->cmsg_type = SCM_RIGHTS;
        first->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(first), &file, sizeof file);
    }
    ssize_t sent = 0;
    do {
        sent = sendmsg(socket, &header, MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

Received receiveMessage(int socket, std::span<std::byte> message)
{
    msghdr header {};
    return take(socket, message, header, MSG_DONTWAIT);
}

Received awaitMessage(int socket, std::span<std::byte> message, FileDescriptor& file)
{
    Envelope envelope {};
    msghdr header {};
    header.msg_control = &envelope;
    header.msg_controllen = sizeof envelope;
    const Received received = take(socket, message, header, 0);
    file = descriptorIn(header);
    return received;
}

} // namespace quorvane
