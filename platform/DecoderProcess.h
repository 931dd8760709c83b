// SPDX-License-Identifier: GPL-3.0-or-later
// One running decoder.
#pragma once

#include "platform/DecoderBuffers.h"
#include "platform/DecoderProtocol.h"
#include "platform/FileDescriptor.h"
#include "platform/MessageSocket.h"

#include <QByteArray>

#include <sys/types.h>

#include <memory>
#include <optional>

namespace quorvane {

/// How a decoder ended.
struct DecoderEnd {
    int signal; ///< 0 if it ended by itself.
    qint64 mostMemory; ///< Bytes in use at a time.
};

/// A decoder that was started, its socket and its buffers. Thread: the pool's, which also must not
/// end while the decoder runs: the kernel ends the decoder then.
class DecoderProcess {
public:
    enum class Kind {
        Photographs, ///< Ready within milliseconds.
        Everything,
    };

    /// \param program  the decoder's path. \return nullptr when it cannot be started.
    static std::unique_ptr<DecoderProcess> start(const QByteArray& program, Kind kind);

    /// Ends the decoder and waits for that, unless a file that no longer answers holds it.
    ~DecoderProcess();

    DecoderProcess(const DecoderProcess&) = delete;
    DecoderProcess& operator=(const DecoderProcess&) = delete;

    /// To wait for messages; -1 never.
    int socket() const { return mSocket.get(); }

    /// Becomes readable when the decoder has ended.
    int processDescriptor() const { return mProcess.get(); }

    bool send(const ToDecoder& message, int file = -1);

    /// One message, if there is one now.
    Received receive(FromDecoder& message);

    /// Ends it at once. processDescriptor() tells when it is gone.
    void kill();

    /// Nothing while it runs.
    std::optional<DecoderEnd> end();

    DecoderBuffers& buffers() { return *mBuffers; }

private:
    DecoderProcess(pid_t id, FileDescriptor process, FileDescriptor socket);

    pid_t mId;
    FileDescriptor mProcess;
    FileDescriptor mSocket;
    std::shared_ptr<DecoderBuffers> mBuffers;
    std::optional<DecoderEnd> mEnd;
};

} // namespace quorvane
