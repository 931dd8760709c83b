// SPDX-License-Identifier: GPL-3.0-or-later
// A format of tests: "WxH", then what is to go wrong.
#pragma once

#include "decoder/FileBytes.h"
#include "decoder/PictureFormats.h"

#include <array>

namespace quorvane::tests {

constexpr QRgb kFakeColour = 0xFF336699;

/// Delivers as many pixels as it is told, of one colour.
class FakeReader : public PictureReader {
public:
    explicit FakeReader(PictureHeader header)
        : mHeader(header)
    {
    }

    QSize wanted; ///< What decode() was asked for.
    QSize delivered; ///< The size it answers with; that wanted while this is empty.
    QImage::Format format = QImage::Format_RGB32;
    QRgb colour = kFakeColour;
    bool isDamaged = false;
    bool takesMakersMemory = true;

    PictureHeader header() const override { return mHeader; }

    Result<DecodedPicture> decode(QSize size, const ImageMaker& makeImage) override
    {
        wanted = size;
        if (isDamaged)
            return fail(ErrorKind::Damaged, QStringLiteral("as told"));
        const QSize made = delivered.isEmpty() ? size : delivered;
        QImage image = takesMakersMemory ? makeImage(made, format) : QImage(made, format);
        image.fill(colour);
        return DecodedPicture { image, {} };
    }

private:
    PictureHeader mHeader;
};

inline OpenedPicture openFake(FileBytes& file)
{
    const QList<QByteArray> words = file.head().split(' ');
    const QList<QByteArray> sides = words[0].split('x');
    auto reader = std::make_unique<FakeReader>(
        PictureHeader { { sides[0].toInt(), sides[1].toInt() }, words.contains("turned") ? 6 : 1 });
    if (words.contains("unsupported"))
        return fail(ErrorKind::Unsupported, QStringLiteral("as told"));
    reader->isDamaged = words.contains("damaged");
    if (words.contains("transparent")) {
        reader->format = QImage::Format_ARGB32_Premultiplied;
        reader->colour = 0x80402010;
    }
    return reader;
}

inline OpenedPicture openFakeThumbnail(FileBytes& file)
{
    if (!file.head().contains("thumbnail"))
        return fail(ErrorKind::NotFound, QStringLiteral("none"));
    return std::make_unique<FakeReader>(PictureHeader { { 2, 1 }, 1 });
}

/// Sixteen pixels wide, and as high as the moment in seconds; nine in the middle.
inline OpenedPicture openFakeFrame(FileBytes& file, std::optional<double> seconds)
{
    if (!file.head().startsWith("movie"))
        return fail(ErrorKind::Unsupported, QStringLiteral("no movie"));
    return std::make_unique<FakeReader>(
        PictureHeader { { 16, static_cast<int>(seconds.value_or(9)) }, 1 });
}

/// A movie whose title is what stands behind the first word.
inline Result<MovieInformation> readFakeInformation(FileBytes& file)
{
    if (!file.head().startsWith("movie"))
        return fail(ErrorKind::Unsupported, QStringLiteral("no movie"));
    MovieInformation information { 1, 2, { 16, 9 }, 12.5, {} };
    if (file.head() == "movie unknown")
        return MovieInformation {};
    information.title = QString::fromUtf8(file.head().mid(6));
    return information;
}

/// What stands behind the first word is a picture of this format.
inline Result<QByteArray> readFakeCover(FileBytes& file)
{
    if (!file.head().startsWith("movie "))
        return fail(ErrorKind::NotFound, QStringLiteral("no cover"));
    return file.head().mid(6);
}

/// The table that knows this format alone.
inline const std::array<PictureFormat, 1> kFakeTable { { { "fake",
    [](const QByteArray& head) { return head.contains('x'); }, openFake, openFakeThumbnail } } };

} // namespace quorvane::tests
