// SPDX-License-Identifier: GPL-3.0-or-later
// One decoder's conversation with the viewer.
#pragma once

#include "decoder/FileBytes.h"
#include "decoder/PictureFormats.h"
#include "decoder/PictureReader.h"
#include "platform/DecoderProtocol.h"
#include "platform/FileDescriptor.h"

#include <map>
#include <memory>
#include <optional>

namespace quorvane {

/// Serves one file after the other until the viewer is gone. Memory that cannot be had ends the
/// program: the viewer starts another one.
class Session {
public:
    /// \param formats  outlives this.
    Session(int socket, const Formats& formats);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// \param missingProtections  for the viewer's log. Returns when the viewer has gone.
    void run(const QByteArray& missingProtections);

private:
    /// Shared memory that pixels go into.
    struct Buffer {
        void* data;
        size_t size;
    };

    bool answerOpen(const ToDecoder& request, FileDescriptor file);
    bool answerInformation();
    bool answerRender(const ToDecoder& request, const FileDescriptor& file);
    Result<bool> render(const ToDecoder& request, const FileDescriptor& file);
    std::optional<Buffer> bufferFor(const ToDecoder& request, const FileDescriptor& file);
    void forget(std::uint64_t number);
    static void setTarget(const FileDescriptor& file);
    void closeFile();
    bool send(const FromDecoder& message) const;
    bool sendFailure(const Error& error);
    bool sendRefusal(const Error& error);

    OpenedPicture open(const ToDecoder& request);
    OpenedPicture openCover();

    const int mSocket;
    const Formats& mFormats;
    std::map<std::uint64_t, Buffer> mBuffers;
    FileDescriptor mFile;
    std::optional<FileBytes> mBytes;
    std::unique_ptr<PictureReader> mReader;
};

} // namespace quorvane
