// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ExrReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"

#include <ImathMatrix.h>
#include <ImfChannelList.h>
#include <ImfChromaticities.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfRgbaFile.h>
#include <ImfStandardAttributes.h>
#include <ImfThreading.h>

#include <cmath>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvane {

namespace {

/// A file in memory, as the library reads it.
class MemoryStream final : public Imf::IStream {
public:
    explicit MemoryStream(QByteArray bytes)
        : Imf::IStream("picture")
        , mBytes(std::move(bytes))
    {
    }

    bool read(char to[], int count) override
    {
        if (count < 0 || static_cast<uint64_t>(count) > size() - mAt)
            throw std::runtime_error("the file ends too soon");
        std::memcpy(to, mBytes.constData() + mAt, static_cast<size_t>(count));
        mAt += static_cast<uint64_t>(count);
        return mAt < size();
    }

    uint64_t tellg() override { return mAt; }
    void seekg(uint64_t position) override { mAt = std::min(position, size()); }

private:
    uint64_t size() const { return static_cast<uint64_t>(mBytes.size()); }

    QByteArray mBytes;
    uint64_t mAt = 0;
};

/// \return  empty when there are no differences of colours to convert.
std::optional<Imath::M44f> conversionToSrgb(const Imf::Header& header)
{
    if (!Imf::hasChromaticities(header))
        return std::nullopt;
    const Imf::Chromaticities srgb;
    const Imf::Chromaticities& own = Imf::chromaticities(header);
    if (own == srgb)
        return std::nullopt;
    const Imath::M44f matrix = Imf::RGBtoXYZ(own, 1) * Imf::XYZtoRGB(srgb, 1);
    for (const auto& row : matrix.x) {
        for (const float value : row) {
            if (!std::isfinite(value))
                return std::nullopt;
        }
    }
    return matrix;
}

QSize sizeOf(const Imath::Box2i& window)
{
    const qint64 width = qint64(window.max.x) - window.min.x + 1;
    const qint64 height = qint64(window.max.y) - window.min.y + 1;
    constexpr qint64 kLongest = 1 << 30;
    if (width <= 0 || height <= 0 || width > kLongest || height > kLongest)
        return {};
    return { static_cast<int>(width), static_cast<int>(height) };
}

/// The name of the first layer that has colours; empty for those without a name.
std::string layerWithColors(const Imf::ChannelList& channels)
{
    const auto hasColors = [&](const std::string& prefix) {
        return channels.findChannel(prefix + "R") || channels.findChannel(prefix + "G")
            || channels.findChannel(prefix + "B") || channels.findChannel(prefix + "Y");
    };
    if (hasColors({}))
        return {};
    std::set<std::string> layers;
    channels.layers(layers);
    for (const std::string& layer : layers) {
        if (hasColors(layer + "."))
            return layer;
    }
    return {};
}

class ExrReader final : public PictureReader {
public:
    explicit ExrReader(QByteArray bytes)
        : mStream(std::move(bytes))
        , mFile(std::in_place, mStream, 0)
    {
        const std::string layer = layerWithColors(mFile->header().channels());
        if (!layer.empty()) {
            mStream.seekg(0);
            mFile.emplace(mStream, layer, 0);
        }
    }

    PictureHeader header() const override { return { sizeOf(mFile->dataWindow()), 1 }; }
    bool hasColors() const { return (mFile->channels() & (Imf::WRITE_RGB | Imf::WRITE_Y)) != 0; }

    Result<DecodedPicture> decode(QSize /*wanted*/, const ImageMaker& makeImage) override
    {
        try {
            return decodeOrThrow(makeImage);
        } catch (const std::bad_alloc&) {
            return noMemory();
        } catch (const std::exception& error) {
            return fail(ErrorKind::Damaged, QString::fromUtf8(error.what()));
        }
    }

private:
    bool hasAlpha() const { return (mFile->channels() & Imf::WRITE_A) != 0; }

    Result<DecodedPicture> decodeOrThrow(const ImageMaker& makeImage);
    void readPixels(std::vector<Imf::Rgba>& pixels);
    std::vector<float> lightOf(const std::vector<Imf::Rgba>& pixels) const;

    MemoryStream mStream;
    std::optional<Imf::RgbaInputFile> mFile;
};

void ExrReader::readPixels(std::vector<Imf::Rgba>& pixels)
{
    const Imath::Box2i window = mFile->dataWindow();
    const QSize size = header().size;
    pixels.resize(static_cast<size_t>(size.width()) * static_cast<size_t>(size.height()));
    // The library counts from the corner of its own coordinates, wherever that lies.
    const auto width = static_cast<std::ptrdiff_t>(size.width());
    mFile->setFrameBuffer(
        pixels.data() - window.min.x - window.min.y * width, 1, static_cast<size_t>(width));
    mFile->readPixels(window.min.y, window.max.y);
}

/// The pixels as floats, alpha not multiplied in, in sRGB's primaries.
std::vector<float> ExrReader::lightOf(const std::vector<Imf::Rgba>& pixels) const
{
    const auto matrix = conversionToSrgb(mFile->header());
    std::vector<float> light(pixels.size() * 4);
    float* to = light.data();
    for (const Imf::Rgba& pixel : pixels) {
        Imath::V3f rgb(pixel.r, pixel.g, pixel.b);
        if (matrix)
            rgb = rgb * *matrix;
        const float alpha = hasAlpha() ? float(pixel.a) : 1.0F;
        // Alpha is multiplied into the colours, except for light that covers nothing.
        const float scale = alpha > 0 && alpha < 1 ? 1 / alpha : 1.0F;
        *to++ = rgb.x * scale;
        *to++ = rgb.y * scale;
        *to++ = rgb.z * scale;
        *to++ = alpha;
    }
    return light;
}

Result<DecodedPicture> ExrReader::decodeOrThrow(const ImageMaker& makeImage)
{
    std::vector<float> light;
    {
        std::vector<Imf::Rgba> pixels;
        readPixels(pixels);
        light = lightOf(pixels);
    }
    const QSize size = header().size;
    QImage image
        = makeImage(size, hasAlpha() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull())
        return noMemory();
    toneMapLinear({ light.data(), qsizetype(size.width()) * 4, size, 4 }, image);
    return DecodedPicture { std::move(image), {} };
}

} // namespace

bool isExr(const QByteArray& head) { return head.startsWith("\x76\x2f\x31\x01"); }

OpenedPicture openExr(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    try {
        auto reader = std::make_unique<ExrReader>(std::move(*bytes));
        if (!isReasonable(reader->header().size))
            return tooManyPixels();
        if (!reader->hasColors())
            return fail(ErrorKind::Unsupported, QStringLiteral("no colours in it"));
        return reader;
    } catch (const std::exception& error) {
        return fail(ErrorKind::Damaged, QString::fromUtf8(error.what()));
    }
}

} // namespace quorvane
