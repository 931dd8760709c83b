// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/RadianceReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"

#include <QByteArrayList>

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvane {

namespace {

/// Header lines of real files are few; a header without end is none.
constexpr qsizetype kHeaderLimit = 64 << 10;

struct RadianceHeader {
    QSize size; ///< As stored: the length of a line, and how many there are.
    int orientation = 1; ///< As EXIF numbers it.
    bool isXyz = false;
    qsizetype dataAt = 0;
};

/// How to turn a picture upright whose lines run along `second` and follow each other along
/// `first`: signs and axes as the file tells them, -Y +X being upright.
int orientationOf(QByteArrayView first, QByteArrayView second)
{
    struct Row {
        const char* first;
        const char* second;
        int orientation;
    };
    static constexpr std::array<Row, 8> kRows { {
        { "-Y", "+X", 1 },
        { "-Y", "-X", 2 },
        { "+Y", "-X", 3 },
        { "+Y", "+X", 4 },
        { "+X", "-Y", 5 },
        { "-X", "-Y", 6 },
        { "-X", "+Y", 7 },
        { "+X", "+Y", 8 },
    } };
    for (const Row& row : kRows) {
        if (first == QByteArrayView(row.first) && second == QByteArrayView(row.second))
            return row.orientation;
    }
    return 0;
}

/// "-Y 85 +X 128": which way the lines run and how many there are.
bool readResolution(const QByteArray& line, RadianceHeader& header)
{
    const QByteArrayList words = line.simplified().split(' ');
    if (words.size() != 4)
        return false;
    bool isHeight = false;
    bool isWidth = false;
    header.size = { words[3].toInt(&isWidth), words[1].toInt(&isHeight) };
    header.orientation = orientationOf(words[0], words[2]);
    return isHeight && isWidth && header.orientation != 0;
}

std::optional<RadianceHeader> headerOf(const QByteArray& bytes)
{
    RadianceHeader header;
    bool isOver = false;
    qsizetype at = 0;
    while (at < kHeaderLimit) {
        const qsizetype end = bytes.indexOf('\n', at);
        if (end < 0)
            return std::nullopt;
        const QByteArray line = bytes.sliced(at, end - at).trimmed();
        at = end + 1;
        if (isOver) {
            header.dataAt = at;
            return readResolution(line, header) ? std::optional(header) : std::nullopt;
        }
        isOver = line.isEmpty();
        if (line == "FORMAT=32-bit_rle_xyze")
            header.isXyz = true;
    }
    return std::nullopt;
}

using Pixel = std::array<std::uint8_t, 4>; ///< Three mantissas and their exponent.

/// Unpacks line after line; every way of running out of bytes is an error.
class LineReader {
public:
    LineReader(QByteArrayView bytes, int width)
        : mBytes(bytes)
        , mLine(static_cast<size_t>(width))
    {
    }

    bool readLine()
    {
        if (left() < 4)
            return false;
        const bool isPacked = peek(0) == 2 && peek(1) == 2 && (peek(2) & 0x80) == 0;
        if (!isPacked || mLine.size() < 8 || mLine.size() > 0x7fff)
            return readOldLine();
        const auto length = static_cast<size_t>(peek(2) << 8 | peek(3));
        mAt += 4;
        return length == mLine.size() && readChannels();
    }

    const std::vector<Pixel>& line() const { return mLine; }

private:
    qsizetype left() const { return mBytes.size() - mAt; }
    std::uint8_t peek(qsizetype ahead) const
    {
        return static_cast<std::uint8_t>(mBytes[mAt + ahead]);
    }
    std::uint8_t next() { return static_cast<std::uint8_t>(mBytes[mAt++]); }

    bool readChannels()
    {
        for (size_t channel = 0; channel < 4; ++channel) {
            size_t x = 0;
            while (x < mLine.size()) {
                const size_t count = readRun(channel, x);
                if (count == 0)
                    return false;
                x += count;
            }
        }
        return true;
    }

    /// \return how many pixels it filled; 0 when it does not fit.
    size_t readRun(size_t channel, size_t x)
    {
        if (left() < 2)
            return 0;
        const std::uint8_t code = next();
        const bool isRepeated = code > 128;
        const size_t count = isRepeated ? code - 128U : code;
        if (count > mLine.size() - x || left() < (isRepeated ? 1 : qsizetype(count)))
            return 0;
        const std::uint8_t value = isRepeated ? next() : std::uint8_t(0);
        for (size_t i = x; i < x + count; ++i)
            mLine[i][channel] = isRepeated ? value : next();
        return count;
    }

    /// Pixel by pixel, where 1 1 1 n repeats the last one n times, and the next such one n * 256
    /// times.
    bool readOldLine()
    {
        size_t x = 0;
        unsigned shift = 0;
        while (x < mLine.size()) {
            if (left() < 4)
                return false;
            const Pixel pixel { next(), next(), next(), next() };
            const bool repeats = pixel[0] == 1 && pixel[1] == 1 && pixel[2] == 1;
            if (!repeats) {
                mLine[x++] = mLast = pixel;
                shift = 0;
                continue;
            }
            const size_t count = shift > 16 ? mLine.size() + 1 : size_t(pixel[3]) << shift;
            if (count > mLine.size() - x)
                return false;
            std::fill_n(mLine.begin() + static_cast<std::ptrdiff_t>(x), count, mLast);
            x += count;
            shift += 8;
        }
        return true;
    }

    QByteArrayView mBytes;
    qsizetype mAt = 0;
    std::vector<Pixel> mLine;
    Pixel mLast {};
};

/// From XYZ to linear sRGB. White is the format's own, E.
void convertFromXyz(float* rgb)
{
    const float x = rgb[0];
    const float y = rgb[1];
    const float z = rgb[2];
    rgb[0] = 2.6896F * x - 1.2759F * y - 0.4138F * z;
    rgb[1] = -1.0221F * x + 1.9783F * y + 0.0438F * z;
    rgb[2] = 0.0612F * x - 0.2245F * y + 1.1633F * z;
}

class RadianceReader final : public PictureReader {
public:
    RadianceReader(QByteArray bytes, const RadianceHeader& header)
        : mBytes(std::move(bytes))
        , mHeader(header)
    {
        for (size_t i = 0; i < mScales.size(); ++i)
            mScales[i] = i == 0 ? 0 : std::ldexp(1.0F, static_cast<int>(i) - 128 - 8);
    }

    PictureHeader header() const override { return { mHeader.size, mHeader.orientation }; }

    Result<DecodedPicture> decode(QSize /*wanted*/, const ImageMaker& makeImage) override
    {
        const auto width = static_cast<size_t>(mHeader.size.width());
        const auto height = static_cast<size_t>(mHeader.size.height());
        // A line is four bytes at least: nothing is allocated for what cannot be there.
        if (height > static_cast<size_t>(mBytes.size()) / 4)
            return damaged("the picture ends too soon");
        std::vector<float> light(width * height * 3);
        LineReader reader(QByteArrayView(mBytes).sliced(mHeader.dataAt), mHeader.size.width());
        for (size_t y = 0; y < height; ++y) {
            if (!reader.readLine())
                return damaged("the picture ends too soon");
            store(reader.line(), light.data() + y * width * 3);
        }
        QImage image = makeImage(mHeader.size, QImage::Format_RGB32);
        if (image.isNull())
            return noMemory();
        toneMapLinear({ light.data(), qsizetype(width) * 3, mHeader.size, 3 }, image);
        return DecodedPicture { std::move(image), {} };
    }

private:
    void store(const std::vector<Pixel>& line, float* to) const
    {
        for (const Pixel& pixel : line) {
            const float scale = mScales[pixel[3]];
            for (size_t i = 0; i < 3; ++i)
                to[i] = (static_cast<float>(pixel[i]) + 0.5F) * scale;
            if (mHeader.isXyz)
                convertFromXyz(to);
            to += 3;
        }
    }

    QByteArray mBytes;
    RadianceHeader mHeader;
    std::array<float, 256> mScales {}; ///< What a mantissa is worth, by exponent.
};

} // namespace

bool isRadiance(const QByteArray& head)
{
    return head.startsWith("#?RADIANCE") || head.startsWith("#?RGBE");
}

OpenedPicture openRadiance(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const auto header = headerOf(*bytes);
    if (!header || header->size.isEmpty())
        return damaged("a header that is broken");
    if (!isReasonable(header->size))
        return tooManyPixels();
    return std::make_unique<RadianceReader>(std::move(*bytes), *header);
}

} // namespace quorvane
