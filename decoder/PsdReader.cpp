// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PsdReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ToneMapping.h"
#include "decoder/Transparency.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace quorvane {

namespace {

enum class PsdMode { Bitmap = 0, Grey = 1, Indexed = 2, Rgb = 3, Cmyk = 4, Duotone = 8 };

/// All that is known before the pixels are decoded.
struct PsdLayout {
    bool isLarge = false; ///< PSB: some lengths have twice the bytes.
    int channels = 0;
    QSize size;
    int depth = 0; ///< Bits of a sample: 1, 8, 16 or 32.
    PsdMode mode = PsdMode::Rgb;
    QByteArray palette; ///< 256 reds, as many greens, as many blues.
    int transparentIndex = -1;
    QByteArray profile;
    bool hasMergedPicture = true;
    bool hasLayers = false;
    bool hasAlpha = false; ///< The first channel behind the colours is the picture's transparency.
    qsizetype pixels = 0; ///< Where the merged picture begins.

    int colours() const { return mode == PsdMode::Rgb ? 3 : mode == PsdMode::Cmyk ? 4 : 1; }
};

tl::unexpected<Error> damaged(const char* why)
{
    return fail(ErrorKind::Damaged, QString::fromLatin1(why));
}

/// Reads numbers in order, high byte first. Behind the end everything is 0 and isSound() false.
class Cursor {
public:
    explicit Cursor(const QByteArray& bytes, qsizetype position = 0)
        : mBytes(bytes)
        , mPosition(position)
    {
    }

    template <typename Number> Number take()
    {
        const qsizetype at = mPosition;
        skip(sizeof(Number));
        return mIsSound ? qFromBigEndian<Number>(mBytes.constData() + at) : Number(0);
    }

    /// A length, of eight bytes in a part of a large document, else of four.
    qint64 takeLength(bool isLong)
    {
        const quint64 length = isLong ? take<quint64>() : take<quint32>();
        if (length > static_cast<quint64>(mBytes.size()))
            mIsSound = false;
        return mIsSound ? static_cast<qint64>(length) : 0;
    }

    QByteArray takeBytes(qint64 size)
    {
        const qsizetype at = mPosition;
        skip(size);
        return mIsSound ? mBytes.mid(at, size) : QByteArray();
    }

    void skip(qint64 size)
    {
        if (!mIsSound || size < 0 || size > mBytes.size() - mPosition)
            mIsSound = false;
        else
            mPosition += size;
    }

    bool isSound() const { return mIsSound; }
    bool atEnd() const { return !mIsSound || mPosition >= mBytes.size(); }
    qsizetype position() const { return mPosition; }

private:
    const QByteArray& mBytes;
    qsizetype mPosition;
    bool mIsSound = true;
};

// ---- The parts before the pixels

void readResource(int id, const QByteArray& data, PsdLayout& layout)
{
    constexpr int iccProfile = 1039;
    constexpr int transparentIndex = 1047;
    constexpr int versionInfo = 1057;
    Cursor cursor(data);
    switch (id) {
    case iccProfile:
        layout.profile = data;
        break;
    case transparentIndex:
        layout.transparentIndex = cursor.take<quint16>();
        break;
    case versionInfo:
        cursor.skip(4);
        layout.hasMergedPicture = cursor.take<quint8>() != 0;
        break;
    default:
        break;
    }
}

void readResources(const QByteArray& resources, PsdLayout& layout)
{
    Cursor cursor(resources);
    while (!cursor.atEnd()) {
        cursor.skip(4); // "8BIM"
        const int id = cursor.take<quint16>();
        const int nameSize = cursor.take<quint8>();
        cursor.skip(nameSize | 1); // With its length of even size.
        const qint64 size = cursor.takeLength(false);
        const QByteArray data = cursor.takeBytes(size);
        if (cursor.isSound())
            readResource(id, data, layout);
        cursor.skip(size % 2);
    }
}

/// The number of layers; negative when the first channel behind the colours of the merged picture
/// is its transparency.
void readLayerCount(int count, PsdLayout& layout)
{
    layout.hasLayers = layout.hasLayers || count != 0;
    layout.hasAlpha = layout.hasAlpha || count < 0;
}

/// Deep documents keep their layers, and that there is transparency, in blocks behind.
void readBlock(const QByteArray& key, const QByteArray& data, PsdLayout& layout)
{
    if (key == "Lr16" || key == "Lr32")
        readLayerCount(Cursor(data).take<qint16>(), layout);
    else if (key == "Mt16" || key == "Mt32" || key == "Mtrn")
        layout.hasAlpha = true;
}

bool hasLongLength(const QByteArray& key)
{
    static const std::vector<QByteArray> keys { "LMsk", "Lr16", "Lr32", "Layr", "Mt16", "Mt32",
        "Mtrn", "Alph", "FMsk", "lnk2", "FEid", "FXid", "PxSD" };
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

void readLayers(const QByteArray& section, PsdLayout& layout)
{
    Cursor cursor(section);
    const qint64 infoSize = cursor.takeLength(layout.isLarge);
    const QByteArray info = cursor.takeBytes(infoSize);
    if (info.size() >= 2)
        readLayerCount(Cursor(info).take<qint16>(), layout);
    cursor.skip(cursor.takeLength(false)); // The mask of all layers.
    while (!cursor.atEnd()) {
        cursor.skip(4); // "8BIM" or "8B64"
        const QByteArray key = cursor.takeBytes(4);
        const qint64 size = cursor.takeLength(layout.isLarge && hasLongLength(key));
        const QByteArray data = cursor.takeBytes(size);
        if (cursor.isSound())
            readBlock(key, data, layout);
        cursor.skip((4 - size % 4) % 4);
    }
}

std::optional<PsdLayout> layoutOf(const QByteArray& bytes)
{
    PsdLayout layout;
    Cursor cursor(bytes);
    cursor.skip(4);
    layout.isLarge = cursor.take<quint16>() == 2;
    cursor.skip(6);
    layout.channels = cursor.take<quint16>();
    const auto height = cursor.take<quint32>();
    const auto width = cursor.take<quint32>();
    constexpr quint32 longestSide = 300'000; // The format's own limit.
    if (width > longestSide || height > longestSide)
        return {};
    layout.size = { static_cast<int>(width), static_cast<int>(height) };
    layout.depth = cursor.take<quint16>();
    layout.mode = static_cast<PsdMode>(cursor.take<quint16>());
    layout.palette = cursor.takeBytes(cursor.takeLength(false));
    readResources(cursor.takeBytes(cursor.takeLength(false)), layout);
    readLayers(cursor.takeBytes(cursor.takeLength(layout.isLarge)), layout);
    layout.pixels = cursor.position();
    if (!cursor.isSound() || layout.size.isEmpty() || layout.channels < layout.colours())
        return {};
    layout.hasAlpha = layout.hasAlpha && layout.channels > layout.colours();
    return layout;
}

bool isKnownForm(const PsdLayout& layout)
{
    switch (layout.mode) {
    case PsdMode::Bitmap:
        return layout.depth == 1;
    case PsdMode::Indexed:
        return layout.depth == 8 && layout.palette.size() >= 768;
    case PsdMode::Cmyk:
    case PsdMode::Duotone:
        return layout.depth == 8 || layout.depth == 16;
    case PsdMode::Grey:
    case PsdMode::Rgb:
        return layout.depth == 8 || layout.depth == 16 || layout.depth == 32;
    }
    return false;
}

// ---- The pixels

/// Rows of the merged picture, channel after channel, each from its top.
class PsdRows {
public:
    PsdRows(const QByteArray& bytes, const PsdLayout& layout)
        : mLayout(layout)
        , mCursor(bytes, layout.pixels)
        , mRow(((qsizetype(layout.size.width()) * layout.depth) + 7) / 8, '\0')
    {
        mCompression = mCursor.take<quint16>();
        if (mCompression != 1)
            return;
        const qsizetype rows = qsizetype(layout.channels) * layout.size.height();
        const qsizetype entry = layout.isLarge ? 4 : 2;
        mLengths = mCursor.takeBytes(rows * entry);
    }

    bool isKnown() const { return mCompression == 0 || mCompression == 1; }

    /// The next row, as stored; nullptr when the file ends before.
    const char* next()
    {
        if (mCompression == 0) {
            mRow = mCursor.takeBytes(mRow.size());
            return mCursor.isSound() ? mRow.constData() : nullptr;
        }
        const QByteArray packed = mCursor.takeBytes(nextLength());
        return mCursor.isSound() && unpack(packed) ? mRow.constData() : nullptr;
    }

private:
    qint64 nextLength()
    {
        Cursor lengths(mLengths, mRowIndex++ * (mLayout.isLarge ? 4 : 2));
        return mLayout.isLarge ? qint64(lengths.take<quint32>()) : lengths.take<quint16>();
    }

    /// PackBits. \return false when it does not fill the row.
    bool unpack(const QByteArray& packed)
    {
        qsizetype filled = 0;
        qsizetype at = 0;
        while (filled < mRow.size() && at < packed.size()) {
            const int code = static_cast<qint8>(packed[at++]);
            if (code == -128)
                continue;
            const qsizetype count = std::min<qsizetype>(std::abs(code) + 1, mRow.size() - filled);
            if (at + (code < 0 ? 1 : count) > packed.size())
                return false;
            if (code < 0) {
                std::memset(mRow.data() + filled, packed[at], static_cast<size_t>(count));
                at += 1;
            } else {
                std::memcpy(
                    mRow.data() + filled, packed.constData() + at, static_cast<size_t>(count));
                at += count;
            }
            filled += count;
        }
        return filled == mRow.size();
    }

    const PsdLayout& mLayout;
    Cursor mCursor;
    QByteArray mRow;
    QByteArray mLengths;
    qsizetype mRowIndex = 0;
    int mCompression = 0;
};

/// One sample of a row as a byte. \param depth  1, 8, 16 or 32.
quint8 byteOf(const char* row, int x, int depth)
{
    switch (depth) {
    case 1:
        return (static_cast<quint8>(row[x / 8]) >> (7 - x % 8)) & 1 ? 0 : 255;
    case 8:
        return static_cast<quint8>(row[x]);
    case 16:
        return static_cast<quint8>((qFromBigEndian<quint16>(row + 2 * x) * 255U + 32767U) / 65535U);
    default:
        return static_cast<quint8>(
            std::clamp(qFromBigEndian<float>(row + 4 * x), 0.0F, 1.0F) * 255.0F + 0.5F);
    }
}

/// All samples of the colours, interleaved. Number: quint8, quint16 or float.
template <typename Number>
bool readInterleaved(PsdRows& rows, const PsdLayout& layout, std::vector<Number>& samples)
{
    const auto channels = static_cast<size_t>(layout.colours());
    const auto width = static_cast<size_t>(layout.size.width());
    const auto height = static_cast<size_t>(layout.size.height());
    samples.resize(width * height * channels);
    for (size_t channel = 0; channel < channels; ++channel) {
        for (size_t y = 0; y < height; ++y) {
            const char* const row = rows.next();
            if (!row)
                return false;
            Number* to = samples.data() + y * width * channels + channel;
            for (size_t x = 0; x < width; ++x, to += channels)
                *to = qFromBigEndian<Number>(row + x * sizeof(Number));
        }
    }
    return true;
}

/// Bitmap, grey, duotone (its grey), indexed and RGB of one byte: straight into the image.
bool readBytes(PsdRows& rows, const PsdLayout& layout, QImage& image)
{
    for (int channel = 0; channel < layout.colours(); ++channel) {
        for (int y = 0; y < image.height(); ++y) {
            const char* const row = rows.next();
            if (!row)
                return false;
            auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
            if (layout.mode != PsdMode::Rgb) {
                for (int x = 0; x < image.width(); ++x)
                    to[x] = 0xFF000000U | 0x010101U * byteOf(row, x, layout.depth);
                continue;
            }
            const int shift = 16 - 8 * channel;
            const QRgb others = ~(QRgb(0xFF) << shift);
            for (int x = 0; x < image.width(); ++x) {
                const QRgb value = static_cast<quint8>(row[x]);
                to[x] = (to[x] & others) | value << shift | 0xFF000000U;
            }
        }
    }
    return true;
}

/// From indices, which stand in all three colours, to what they mean.
void lookUp(const PsdLayout& layout, QImage& image)
{
    std::vector<QRgb> colours(256);
    for (int i = 0; i < 256; ++i) {
        const auto part
            = [&](int offset) { return static_cast<quint8>(layout.palette[offset + i]); };
        const bool isTransparent = i == layout.transparentIndex;
        colours[static_cast<size_t>(i)] = isTransparent ? 0 : qRgb(part(0), part(256), part(512));
    }
    for (int y = 0; y < image.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        std::transform(row, row + image.width(), row, [&](QRgb c) { return colours[c & 0xFF]; });
    }
}

/// Colours that lie on white, since that is how the merged picture is stored, become colours with
/// transparency multiplied in.
QRgb withoutWhite(QRgb colour, int alpha)
{
    const auto part = [&](int value) { return std::clamp(value - (255 - alpha), 0, alpha); };
    return qRgba(part(qRed(colour)), part(qGreen(colour)), part(qBlue(colour)), alpha);
}

bool readAlpha(PsdRows& rows, const PsdLayout& layout, QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        const char* const row = rows.next();
        if (!row)
            return false;
        auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            to[x] = withoutWhite(to[x], byteOf(row, x, layout.depth));
    }
    return true;
}

class PsdReader : public PictureReader {
public:
    PsdReader(QByteArray bytes, PsdLayout layout)
        : mBytes(std::move(bytes))
        , mLayout(std::move(layout))
    {
    }

    PictureHeader header() const override { return { mLayout.size }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        PsdRows rows(mBytes, mLayout);
        if (!rows.isKnown())
            return fail(ErrorKind::Unsupported, QStringLiteral("an unusual compression"));
        const bool canBeTransparent = mLayout.hasAlpha || mLayout.transparentIndex >= 0;
        const auto format
            = canBeTransparent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
        DecodedPicture picture { makeImage(mLayout.size, format), {} };
        if (picture.image.isNull())
            return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
        // Filled as if opaque, then made transparent.
        picture.image.reinterpretAsFormat(QImage::Format_RGB32);
        if (!readColours(rows, picture))
            return damaged("the picture is cut short");
        picture.image.reinterpretAsFormat(format);
        if (mLayout.hasAlpha && !readAlpha(rows, mLayout, picture.image))
            return damaged("the transparency is cut short");
        dropUselessTransparency(picture.image);
        return picture;
    }

private:
    bool readColours(PsdRows& rows, DecodedPicture& picture)
    {
        const auto profile = ColorProfile::fromIcc(mLayout.profile);
        if (mLayout.depth == 32)
            return readLight(rows, picture.image);
        if (mLayout.depth == 16)
            return convert<quint16>(rows, profile, picture.image);
        if (mLayout.mode == PsdMode::Cmyk)
            return convert<quint8>(rows, profile, picture.image);
        if (!readBytes(rows, mLayout, picture.image))
            return false;
        picture.profile = profile;
        if (mLayout.mode == PsdMode::Indexed)
            lookUp(mLayout, picture.image);
        return true;
    }

    template <typename Number>
    bool convert(PsdRows& rows, const ColorProfile& profile, QImage& image)
    {
        std::vector<Number> samples;
        if (!readInterleaved(rows, mLayout, samples))
            return false;
        const int channels = mLayout.colours();
        const auto form = channels == 4 ? Samples::Layout::CmykInverted
            : channels == 3             ? Samples::Layout::Rgb
                                        : Samples::Layout::Gray;
        const auto depth = sizeof(Number) == 1 ? Samples::Depth::Bits8 : Samples::Depth::Bits16;
        const qsizetype stride = qsizetype(image.width()) * channels * qsizetype(sizeof(Number));
        return convertToSrgb({ samples.data(), stride, image.size(), form, depth }, profile, image);
    }

    bool readLight(PsdRows& rows, QImage& image)
    {
        std::vector<float> samples;
        if (!readInterleaved(rows, mLayout, samples))
            return false;
        const int channels = mLayout.colours();
        toneMapLinear(
            { samples.data(), qsizetype(image.width()) * channels, image.size(), channels }, image);
        return true;
    }

    QByteArray mBytes;
    PsdLayout mLayout;
};

} // namespace

bool isPsd(const QByteArray& head)
{
    return head.startsWith(QByteArray("8BPS\0\1", 6)) || head.startsWith(QByteArray("8BPS\0\2", 6));
}

OpenedPicture openPsd(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    auto layout = layoutOf(*bytes);
    if (!layout)
        return damaged("no sound header");
    if (!isReasonable(layout->size))
        return fail(ErrorKind::TooLarge, QStringLiteral("too many pixels"));
    if (!isKnownForm(*layout))
        return fail(ErrorKind::Unsupported, QStringLiteral("an unusual form of colours"));
    if (!layout->hasMergedPicture && layout->hasLayers)
        return fail(ErrorKind::Unsupported, QStringLiteral("no merged picture"));
    return std::make_unique<PsdReader>(std::move(*bytes), std::move(*layout));
}

} // namespace quorvane
