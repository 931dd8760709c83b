// SPDX-License-Identifier: GPL-3.0-or-later
#include "WaylandToken.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <optional>

namespace quorvane::show {

namespace {

// The numbers that the protocol gives, and those that we do.
constexpr quint32 kDisplay = 1;
constexpr quint32 kRegistry = 2;
constexpr quint32 kSynced = 3;
constexpr quint32 kActivation = 4;
constexpr quint32 kToken = 5;
constexpr quint32 kSync = 0;
constexpr quint32 kGetRegistry = 1;
constexpr quint32 kBind = 0;
constexpr quint32 kGetActivationToken = 1;
constexpr quint32 kCommit = 3;

constexpr qsizetype kWord = 4;
constexpr quint32 kHeaderSize = 8;

QByteArray word(quint32 value)
{
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

quint32 wordAt(const QByteArray& bytes, qsizetype where)
{
    quint32 value = 0;
    if (where + kWord <= bytes.size())
        std::memcpy(&value, bytes.constData() + where, sizeof value);
    return value;
}

/// Its length, its bytes and a zero, filled up to whole words.
QByteArray string(const QByteArray& text)
{
    QByteArray bytes = word(static_cast<quint32>(text.size() + 1)) + text + '\0';
    while (bytes.size() % kWord != 0)
        bytes += '\0';
    return bytes;
}

QByteArray stringAt(const QByteArray& bytes, qsizetype where)
{
    return bytes.mid(where + kWord, qsizetype(wordAt(bytes, where)) - 1);
}

struct Event {
    quint32 sender = 0;
    QByteArray arguments;
};

/// A connection that waits for what it asks. Every event that comes here has the code 0.
class Client {
public:
    explicit Client(const QByteArray& path)
        : mSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
        const timeval limit { 5, 0 };
        setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        static_cast<void>(
            connect(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }
    ~Client() { close(mSocket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void request(quint32 object, quint32 code, const QByteArray& arguments = {}) const
    {
        const quint32 size = kHeaderSize + static_cast<quint32>(arguments.size());
        const QByteArray bytes = word(object) + word(size << 16U | code) + arguments;
        static_cast<void>(send(mSocket, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL));
    }

    /// Nothing when the connection ends, or is silent for seconds.
    std::optional<Event> event()
    {
        const auto header = take(kHeaderSize);
        const quint32 size = header ? wordAt(*header, kWord) >> 16U : 0;
        if (size < kHeaderSize)
            return std::nullopt;
        const auto arguments = take(size - kHeaderSize);
        return arguments ? std::optional(Event { wordAt(*header, 0), *arguments }) : std::nullopt;
    }

private:
    std::optional<QByteArray> take(qsizetype size) const
    {
        QByteArray bytes(size, '\0');
        const auto length = size_t(size);
        if (size > 0 && recv(mSocket, bytes.data(), length, MSG_WAITALL) != ssize_t(length))
            return std::nullopt;
        return bytes;
    }

    int mSocket;
};

/// The number of the interface among what the compositor offers.
std::optional<quint32> findInterface(Client& client, const QByteArray& interface)
{
    std::optional<quint32> found;
    client.request(kDisplay, kGetRegistry, word(kRegistry));
    client.request(kDisplay, kSync, word(kSynced));
    for (auto event = client.event(); event && event->sender != kSynced; event = client.event()) {
        if (event->sender == kRegistry && stringAt(event->arguments, kWord) == interface)
            found = wordAt(event->arguments, 0);
    }
    return found;
}

} // namespace

QByteArray activationToken(const QByteArray& socket)
{
    const QByteArray interface = "xdg_activation_v1";
    Client client(socket);
    const auto number = findInterface(client, interface);
    if (!number)
        return {};
    client.request(
        kRegistry, kBind, word(*number) + string(interface) + word(1) + word(kActivation));
    client.request(kActivation, kGetActivationToken, word(kToken));
    client.request(kToken, kCommit);
    for (auto event = client.event(); event; event = client.event()) {
        if (event->sender == kToken)
            return stringAt(event->arguments, 0);
    }
    return {};
}

} // namespace quorvane::show
