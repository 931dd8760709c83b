// SPDX-License-Identifier: GPL-3.0-or-later
// Feeds the readers of files with what the fuzzer makes up.
#include "decoder/FileBytes.h"
#include "decoder/MovieReader.h"
#include "decoder/PictureFormats.h"
#include "decoder/Rendering.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using namespace quorvane;

/// Which reader is fed: a name of the table of formats, "movie" for all
/// that movies are asked for, or "any" for what the table says.
std::string gEntry = "any";

/// Pixels of pictures that are worth their time: what breaks in large ones breaks in small ones.
constexpr qint64 kLargest = 1 << 20;

void render(OpenedPicture reader)
{
    if (!reader)
        return;
    const QSize size = uprightSize((*reader)->header());
    if (size.isEmpty())
        std::abort(); // No reader may promise that.
    const bool isSmall = qint64(size.width()) * size.height() <= kLargest;
    const QSize wanted
        = isSmall ? size : size.scaled(64, 64, Qt::KeepAspectRatio).expandedTo({ 1, 1 });
    const auto image = renderedImage(**reader, wanted);
    if (image && image->size() != wanted)
        std::abort();
}

void feed(const PictureFormat& format, const QByteArray& bytes)
{
    FileBytes file(bytes);
    format.recognizes(file.head());
    render(format.open(file));
    if (format.openThumbnail)
        render(format.openThumbnail(file));
}

/// What comes along with a movie, and its frames at the middle and at a moment.
void feedMovie(const QByteArray& bytes)
{
    FileBytes file(bytes);
    render(openMovieFrame(file));
    render(openMovieFrame(file, 1));
    if (const auto information = readMovieInformation(file)) {
        if (information->seconds && !(*information->seconds >= 0))
            std::abort();
    }
    const auto cover = readMovieCover(file);
    FileBytes picture(cover.value_or(QByteArray()));
    if (const PictureFormat* const format = formatOf(picture, allFormats()))
        render(format->open(picture));
}

void ignoreMessage(QtMsgType, const QMessageLogContext&, const QString&) { }

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    for (int i = 1; i < *argc; ++i) {
        if (std::strncmp((*argv)[i], "--entry=", 8) == 0)
            gEntry = (*argv)[i] + 8;
    }
    qInstallMessageHandler(ignoreMessage);
    static QCoreApplication application(*argc, *argv);
    QCoreApplication::setLibraryPaths({});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (gEntry == "movie") {
        feedMovie(bytes);
        return 0;
    }
    if (gEntry == "any") {
        FileBytes file(bytes);
        if (const PictureFormat* const format = formatOf(file, allFormats()))
            feed(*format, bytes);
        return 0;
    }
    for (const PictureFormat& format : allFormats().pictures) {
        if (gEntry == format.name)
            feed(format, bytes);
    }
    return 0;
}
