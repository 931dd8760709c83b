// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Session.h"

#include "decoder/DisplayColors.h"
#include "decoder/Rendering.h"
#include "platform/Decoding.h"
#include "platform/MessageSocket.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>

namespace quorvane {

namespace {

constexpr int kBytesPerPixel = 4;

/// Memory that the library of memory may keep between two pictures, in bytes: enough for the
/// next one of a usual size without asking the kernel for fresh pages.
constexpr size_t kIdleLimit = size_t(256) << 20;

tl::unexpected<Error> notAPicture()
{
    return fail(ErrorKind::Unsupported, QStringLiteral("not a picture"));
}

/// Passes for a picture that is upright already.
class AsStored : public PictureReader {
public:
    explicit AsStored(std::unique_ptr<PictureReader> reader)
        : mReader(std::move(reader))
    {
    }
    PictureHeader header() const override { return { mReader->header().size, 1 }; }
    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        return mReader->decode(wanted, makeImage);
    }

private:
    std::unique_ptr<PictureReader> mReader;
};

void returnIdleMemory()
{
    if (mallinfo2().fordblks > kIdleLimit)
        malloc_trim(0);
}

} // namespace

Session::Session(int socket, const Formats& formats)
    : mSocket(socket)
    , mFormats(formats)
{
}

Session::~Session()
{
    while (!mBuffers.empty())
        forget(mBuffers.begin()->first);
}

void Session::run(const QByteArray& missingProtections)
{
    FromDecoder ready { FromDecoder::Kind::Ready };
    std::copy_n(missingProtections.begin(),
        std::min<size_t>(static_cast<size_t>(missingProtections.size()), ready.text.size() - 1),
        ready.text.begin());
    bool isConnected = send(ready);
    while (isConnected) {
        ToDecoder request;
        FileDescriptor file;
        if (awaitMessage(mSocket, std::as_writable_bytes(std::span(&request, 1)), file)
            != Received::Message)
            return;
        switch (request.kind) {
        case ToDecoder::Kind::Open:
            isConnected = answerOpen(request, std::move(file));
            break;
        case ToDecoder::Kind::Render:
            isConnected = answerRender(request, file);
            break;
        case ToDecoder::Kind::Forget:
            forget(request.buffer);
            break;
        case ToDecoder::Kind::Target:
            setTarget(file);
            break;
        }
    }
}

OpenedPicture Session::open(FileBytes& file, std::uint32_t what) const
{
    if (what == static_cast<std::uint32_t>(DecodeRequest::What::MovieFrame))
        return mFormats.openMovieFrame ? mFormats.openMovieFrame(file) : notAPicture();
    const PictureFormat* const format = formatOf(file, mFormats);
    if (!format)
        return notAPicture();
    if (what == static_cast<std::uint32_t>(DecodeRequest::What::SmallPicture)
        && format->openThumbnail) {
        if (auto small = format->openThumbnail(file))
            return small;
    }
    return format->open(file);
}

bool Session::answerOpen(const ToDecoder& request, FileDescriptor file)
{
    closeFile();
    mFile = std::move(file);
    mBytes.emplace(mFile);
    auto reader = open(*mBytes, request.what);
    if (!reader) {
        closeFile();
        const bool mayBeAnothers
            = reader.error().kind == ErrorKind::Unsupported && !mFormats.openMovieFrame;
        return mayBeAnothers ? send({ FromDecoder::Kind::Unknown }) : sendFailure(reader.error());
    }
    mReader = std::move(*reader);
    FromDecoder answer { FromDecoder::Kind::Opened };
    if (request.what == static_cast<std::uint32_t>(DecodeRequest::What::StoredPicture)) {
        answer.orientation = mReader->header().orientation;
        mReader = std::make_unique<AsStored>(std::move(mReader));
    }
    const QSize size = uprightSize(mReader->header());
    answer.width = size.width();
    answer.height = size.height();
    return send(answer);
}

bool Session::answerRender(const ToDecoder& request, const FileDescriptor& file)
{
    const auto isOpaque = render(request, file);
    closeFile();
    returnIdleMemory();
    if (!isOpaque)
        return sendFailure(isOpaque.error());
    FromDecoder answer { FromDecoder::Kind::Rendered };
    answer.isOpaque = *isOpaque ? 1 : 0;
    return send(answer);
}

Result<bool> Session::render(const ToDecoder& request, const FileDescriptor& file)
{
    const auto buffer = bufferFor(request, file);
    const QSize size(request.width, request.height);
    if (!mReader || !buffer || !isReasonable(size)
        || size_t(size.width()) * size_t(size.height()) * kBytesPerPixel > buffer->size)
        return fail(ErrorKind::InvalidArgument, QStringLiteral("no such request is possible"));
    QImage canvas(static_cast<uchar*>(buffer->data), size.width(), size.height(),
        qsizetype(size.width()) * kBytesPerPixel, QImage::Format_RGB32);
    if (auto done = renderUpright(*mReader, canvas); !done)
        return tl::unexpected(done.error());
    return canvas.format() == QImage::Format_RGB32;
}

std::optional<Session::Buffer> Session::bufferFor(
    const ToDecoder& request, const FileDescriptor& file)
{
    if (const auto known = mBuffers.find(request.buffer); known != mBuffers.end())
        return known->second;
    void* const data
        = mmap(nullptr, request.bufferSize, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (data == MAP_FAILED)
        return {};
    return mBuffers.emplace(request.buffer, Buffer { data, request.bufferSize }).first->second;
}

void Session::forget(std::uint64_t number)
{
    const auto known = mBuffers.find(number);
    if (known == mBuffers.end())
        return;
    munmap(known->second.data, known->second.size);
    mBuffers.erase(known);
}

void Session::setTarget(const FileDescriptor& file)
{
    const bool isSrgb = file.get() < 0;
    setDisplayProfile(isSrgb ? QByteArray() : FileBytes(file).all().value_or(QByteArray()));
}

void Session::closeFile()
{
    mReader = nullptr;
    mBytes.reset();
    mFile = {};
}

bool Session::send(const FromDecoder& message) const
{
    return sendMessage(mSocket, std::as_bytes(std::span(&message, 1)));
}

bool Session::sendFailure(const Error& error)
{
    FromDecoder answer { FromDecoder::Kind::Failed };
    answer.error = static_cast<std::uint32_t>(error.kind);
    const QByteArray text = error.message.toUtf8();
    std::copy_n(text.begin(),
        std::min<size_t>(static_cast<size_t>(text.size()), answer.text.size() - 1),
        answer.text.begin());
    return send(answer);
}

} // namespace quorvane
