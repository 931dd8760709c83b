// SPDX-License-Identifier: GPL-3.0-or-later
// Another program of ours that this one has started, with a socket between them.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/MessageSocket.h"

#include <QByteArray>

#include <sys/types.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorvane {

/// The socket, in a program that was started so.
constexpr int kServiceSocket = 3;

/// How such a program ended.
struct ServiceEnd {
    int signal; ///< 0 if it ended by itself.
    qint64 mostMemory; ///< Bytes in use at a time.
};

/// What such a program is started with. Standard input and output are /dev/null for it, and
/// standard error, too, as libraries complain there of every second file.
struct ServiceCommand {
    QByteArray program; ///< Its path.
    std::vector<std::string> arguments;
    std::vector<std::string> environment; ///< "NAME=value". The sanitizers' variables are added.
};

/// Thread: one, which also must not end while the program runs: the program asks the kernel to be
/// ended then.
class ServiceProcess {
public:
    /// \return nullptr when it cannot be started.
    static std::unique_ptr<ServiceProcess> start(const ServiceCommand& command);

    /// Ends it and waits for that, unless a file that no longer answers holds it.
    ~ServiceProcess();

    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// To wait for messages; -1 never.
    int socket() const { return mSocket.get(); }

    /// Becomes readable when it has ended.
    int processDescriptor() const { return mProcess.get(); }

    /// Never waits. \return false when it is gone or does not keep up.
    template <typename Message> bool send(const Message& message, int file = -1)
    {
        return sendMessage(mSocket.get(), std::as_bytes(std::span(&message, 1)), file);
    }

    /// One message, if there is one now.
    template <typename Message> Received receive(Message& message)
    {
        return receiveMessage(mSocket.get(), std::as_writable_bytes(std::span(&message, 1)));
    }

    /// Tells it to end by itself. Nothing is sent or received afterwards.
    void closeSocket() { mSocket = FileDescriptor(); }

    /// Ends it at once. processDescriptor() tells when it is gone.
    void kill();

    /// Nothing while it runs.
    std::optional<ServiceEnd> end();

private:
    ServiceProcess(pid_t id, FileDescriptor process, FileDescriptor socket);

    pid_t mId;
    FileDescriptor mProcess;
    FileDescriptor mSocket;
    std::optional<ServiceEnd> mEnd;
};

} // namespace quorvane
