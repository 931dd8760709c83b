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

/// As much of a text in UTF-8 as there is room for, in whole characters.
void putText(FromDecoder& message, const QByteArray& text)
{
    auto size = std::min<qsizetype>(text.size(), qsizetype(message.text.size()) - 1);
    const auto isInsideCharacter = [&] {
        return size > 0 && size < text.size() && (static_cast<uchar>(text[size]) & 0xC0) == 0x80;
    };
    while (isInsideCharacter())
        --size;
    std::copy_n(text.begin(), size, message.text.begin());
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
    putText(ready, missingProtections);
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

OpenedPicture Session::open(const ToDecoder& request)
{
    using What = DecodeRequest::What;
    const auto what = static_cast<What>(request.what);
    if (what == What::MovieFrame || what == What::MovieFrameAt) {
        const bool isInMiddle = what == What::MovieFrame;
        return mFormats.openMovieFrame ? mFormats.openMovieFrame(
                   *mBytes, isInMiddle ? std::nullopt : std::optional(request.seconds))
                                       : notAPicture();
    }
    if (what == What::MovieCover)
        return openCover();
    const PictureFormat* const format = formatOf(*mBytes, mFormats);
    if (!format)
        return notAPicture();
    if (what == What::SmallPicture && format->openThumbnail) {
        if (auto small = format->openThumbnail(*mBytes))
            return small;
    }
    return format->open(*mBytes);
}

OpenedPicture Session::openCover()
{
    if (!mFormats.readMovieCover)
        return notAPicture();
    auto cover = mFormats.readMovieCover(*mBytes);
    if (!cover)
        return tl::unexpected(cover.error());
    mBytes.emplace(std::move(*cover)); // A picture as good as any file's.
    const PictureFormat* const format = formatOf(*mBytes, mFormats);
    return format ? format->open(*mBytes) : notAPicture();
}

bool Session::answerOpen(const ToDecoder& request, FileDescriptor file)
{
    closeFile();
    mFile = std::move(file);
    mBytes.emplace(mFile);
    if (request.what == static_cast<std::uint32_t>(DecodeRequest::What::MovieInformation))
        return answerInformation();
    auto reader = open(request);
    if (!reader)
        return sendRefusal(reader.error());
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

bool Session::answerInformation()
{
    const auto information = mFormats.readMovieInformation
        ? mFormats.readMovieInformation(*mBytes)
        : Result<MovieInformation>(notAPicture());
    if (!information)
        return sendRefusal(information.error());
    closeFile();
    FromDecoder answer { FromDecoder::Kind::Described };
    const QSize size = information->naturalSize.expandedTo({ 0, 0 });
    answer.width = size.width();
    answer.height = size.height();
    answer.pictureTracks = information->pictureTracks;
    answer.soundTracks = information->soundTracks;
    answer.seconds = information->seconds.value_or(kUnknownSeconds);
    putText(answer, information->title.toUtf8());
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
    putText(answer, error.message.toUtf8());
    return send(answer);
}

/// Where only photographs are known, somebody else may know what the file is.
bool Session::sendRefusal(const Error& error)
{
    closeFile();
    const bool mayBeAnothers = error.kind == ErrorKind::Unsupported && !mFormats.openMovieFrame;
    return mayBeAnothers ? send({ FromDecoder::Kind::Unknown }) : sendFailure(error);
}

} // namespace quorvane
