// SPDX-License-Identifier: GPL-3.0-or-later
// One running decoder.
#pragma once

#include "platform/DecoderProtocol.h"
#include "platform/ServiceProcess.h"
#include "platform/SharedBuffers.h"

#include <memory>
#include <optional>

namespace quorvane {

/// A decoder that was started, its socket and its buffers. Thread: the pool's.
class DecoderProcess {
public:
    enum class Kind {
        Photographs, ///< Ready within milliseconds.
        Everything,
    };

    /// \param program  the decoder's path. \return nullptr when it cannot be started.
    static std::unique_ptr<DecoderProcess> start(const QByteArray& program, Kind kind);

    /// Ends the decoder.
    ~DecoderProcess();

    DecoderProcess(const DecoderProcess&) = delete;
    DecoderProcess& operator=(const DecoderProcess&) = delete;

    // As in ServiceProcess.
    int socket() const { return mProcess->socket(); }
    int processDescriptor() const { return mProcess->processDescriptor(); }
    bool send(const ToDecoder& message, int file = -1) { return mProcess->send(message, file); }
    Received receive(FromDecoder& message);
    void kill() { mProcess->kill(); }
    std::optional<ServiceEnd> end() { return mProcess->end(); }

    SharedBuffers& buffers() { return *mBuffers; }

private:
    explicit DecoderProcess(std::unique_ptr<ServiceProcess> process);

    std::unique_ptr<ServiceProcess> mProcess;
    std::shared_ptr<SharedBuffers> mBuffers;
};

} // namespace quorvane
