// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SilentBus.h"

#include "platform/FileDescriptor.h"

#include <QByteArrayList>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quorvane {

namespace {

/// As the kernel wants it: a name beginning with a zero byte is none of a file.
struct SocketAddress {
    sockaddr_un name = {};
    socklen_t size = 0; ///< 0 = no local socket.
};

SocketAddress addressOf(const QByteArray& path)
{
    SocketAddress address;
    address.name.sun_family = AF_UNIX;
    if (path.isEmpty() || size_t(path.size()) >= sizeof(address.name.sun_path))
        return address;
    std::memcpy(address.name.sun_path, path.constData(), size_t(path.size()));
    address.size = socklen_t(offsetof(sockaddr_un, sun_path) + size_t(path.size()));
    return address;
}

/// The first address in DBUS_SESSION_BUS_ADDRESS, "unix:path=/run/user/1000/bus,guid=3f" and the
/// like, with escaped bytes; or else the usual place.
SocketAddress busAddress()
{
    const QByteArray usual = qgetenv("XDG_RUNTIME_DIR") + "/bus";
    const QByteArray text = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (text.isEmpty())
        return addressOf(usual);
    constexpr QByteArrayView kLocal("unix:");
    const QByteArray first = text.split(';').constFirst();
    if (!first.startsWith(kLocal))
        return {};
    for (const QByteArray& entry : first.mid(kLocal.size()).split(',')) {
        const auto equals = entry.indexOf('=');
        const QByteArray key = entry.left(equals);
        const QByteArray value = QByteArray::fromPercentEncoding(entry.mid(equals + 1));
        if (key == "path")
            return addressOf(value);
        if (key == "abstract")
            return addressOf('\0' + value);
        if (key == "runtime")
            return addressOf(usual);
    }
    return {};
}

void limitWaiting(int socket, std::chrono::milliseconds limit)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
    const timeval time { seconds.count(), std::chrono::microseconds(limit - seconds).count() };
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

/// The beginning of every conversation: who we are, by our number in decimal, in hexadecimal.
QByteArray greeting()
{
    return '\0' + QByteArray("AUTH EXTERNAL ") + QByteArray::number(getuid()).toHex() + "\r\n";
}

bool isTooLate(ssize_t outcome)
{
    return outcome < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINPROGRESS);
}

} // namespace

bool isSessionBusSilent(std::chrono::milliseconds limit)
{
    const SocketAddress address = busAddress();
    const FileDescriptor bus(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (address.size == 0 || bus.get() < 0)
        return false;
    limitWaiting(bus.get(), limit);
    if (const int outcome
        = connect(bus.get(), reinterpret_cast<const sockaddr*>(&address.name), address.size);
        outcome != 0)
        return isTooLate(outcome);
    const QByteArray hello = greeting();
    if (send(bus.get(), hello.constData(), size_t(hello.size()), MSG_NOSIGNAL) < 0)
        return isTooLate(-1);
    char answer = 0;
    return isTooLate(recv(bus.get(), &answer, 1, 0));
}

void doWithoutSessionBus() { qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); }

} // namespace quorvane
