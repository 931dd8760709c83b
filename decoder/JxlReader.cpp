// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/JxlReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"

#include <jxl/decode.h>
#include <jxl/thread_parallel_runner.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <thread>
#include <vector>

namespace quorvane {

namespace {

/// More would wait for each other, and each wants memory of its own.
constexpr size_t kMostThreads = 8;

struct DecoderRelease {
    void operator()(JxlDecoder* decoder) const { JxlDecoderDestroy(decoder); }
};
using Decoder = std::unique_ptr<JxlDecoder, DecoderRelease>;

struct RunnerRelease {
    void operator()(void* runner) const { JxlThreadParallelRunnerDestroy(runner); }
};
using Runner = std::unique_ptr<void, RunnerRelease>;

tl::unexpected<Error> damaged()
{
    return fail(ErrorKind::Damaged, QStringLiteral("the picture ends too soon or is broken"));
}

/// What the samples that the library delivers mean.
struct SampleColors {
    bool isSrgb = false;
    int transfer = 2; ///< As ITU-T H.273 numbers it; 2 is none of those.
    int primaries = 2;
    ColorProfile profile;
};

std::uint32_t multiplied(std::uint32_t value, std::uint32_t alpha)
{
    const std::uint32_t product = value * alpha + 128;
    return (product + (product >> 8)) >> 8;
}

QRgb rearranged(const uchar* pixel, bool isPremultiplied)
{
    const std::uint32_t alpha = pixel[3];
    const auto share = [&](std::uint32_t value) {
        return isPremultiplied ? std::min(value, alpha) : multiplied(value, alpha);
    };
    return alpha << 24 | share(pixel[0]) << 16 | share(pixel[1]) << 8 | share(pixel[2]);
}

/// From the order of the library, red first, to that of the image, and alpha as the image has it.
void rearrange(QImage& image, bool isPremultiplied)
{
    for (int y = 0; y < image.height(); ++y) {
        uchar* pixel = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x, pixel += 4)
            *reinterpret_cast<QRgb*>(pixel) = rearranged(pixel, isPremultiplied);
    }
}

/// The decoding of one file, step by step.
class Decoding {
public:
    explicit Decoding(const QByteArray& bytes, int events)
        : mDecoder(JxlDecoderCreate(nullptr))
    {
        JxlDecoderSubscribeEvents(mDecoder.get(), events);
        JxlDecoderSetInput(mDecoder.get(), reinterpret_cast<const uint8_t*>(bytes.constData()),
            static_cast<size_t>(bytes.size()));
        // The input is not closed: the library would print a message where a file ends too soon.
    }

    /// Decodes up to `event`. False when that never comes.
    bool runUntil(JxlDecoderStatus event)
    {
        return JxlDecoderProcessInput(mDecoder.get()) == event;
    }

    void useThreads()
    {
        const size_t threads
            = std::clamp<size_t>(std::thread::hardware_concurrency(), 1, kMostThreads);
        mRunner.reset(JxlThreadParallelRunnerCreate(nullptr, threads));
        if (mRunner)
            JxlDecoderSetParallelRunner(mDecoder.get(), JxlThreadParallelRunner, mRunner.get());
    }

    std::optional<JxlBasicInfo> basicInfo() const
    {
        JxlBasicInfo info {};
        if (JxlDecoderGetBasicInfo(mDecoder.get(), &info) != JXL_DEC_SUCCESS)
            return std::nullopt;
        return info;
    }

    std::optional<JxlColorEncoding> encoding(JxlColorProfileTarget target) const
    {
        JxlColorEncoding encoding {};
        if (JxlDecoderGetColorAsEncodedProfile(mDecoder.get(), nullptr, target, &encoding)
            != JXL_DEC_SUCCESS)
            return std::nullopt;
        return encoding;
    }

    QByteArray iccProfile() const
    {
        constexpr size_t kLimit = 16 << 20;
        size_t size = 0;
        if (JxlDecoderGetICCProfileSize(
                mDecoder.get(), nullptr, JXL_COLOR_PROFILE_TARGET_DATA, &size)
                != JXL_DEC_SUCCESS
            || size > kLimit)
            return {};
        QByteArray bytes(static_cast<qsizetype>(size), '\0');
        if (JxlDecoderGetColorAsICCProfile(mDecoder.get(), nullptr, JXL_COLOR_PROFILE_TARGET_DATA,
                reinterpret_cast<uint8_t*>(bytes.data()), size)
            != JXL_DEC_SUCCESS)
            return {};
        return bytes;
    }

    /// The library can deliver sRGB itself where the colours are stored in a way of its own.
    void preferSrgb(bool isGray)
    {
        JxlColorEncoding wanted {};
        wanted.color_space = isGray ? JXL_COLOR_SPACE_GRAY : JXL_COLOR_SPACE_RGB;
        wanted.white_point = JXL_WHITE_POINT_D65;
        wanted.primaries = JXL_PRIMARIES_SRGB;
        wanted.transfer_function = JXL_TRANSFER_FUNCTION_SRGB;
        wanted.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
        JxlDecoderSetPreferredColorProfile(mDecoder.get(), &wanted);
    }

    /// Decodes all of the first frame into `to`.
    bool decodeInto(void* to, size_t size, const JxlPixelFormat& format)
    {
        if (!runUntil(JXL_DEC_NEED_IMAGE_OUT_BUFFER))
            return false;
        size_t needed = 0;
        if (JxlDecoderImageOutBufferSize(mDecoder.get(), &format, &needed) != JXL_DEC_SUCCESS
            || needed > size)
            return false;
        return JxlDecoderSetImageOutBuffer(mDecoder.get(), &format, to, size) == JXL_DEC_SUCCESS
            && runUntil(JXL_DEC_FULL_IMAGE);
    }

private:
    Runner mRunner; ///< Outlives the decoder.
    Decoder mDecoder;
};

bool isBrighterThanSrgb(const JxlColorEncoding& encoding)
{
    return encoding.color_space == JXL_COLOR_SPACE_RGB
        && (encoding.transfer_function == JXL_TRANSFER_FUNCTION_PQ
            || encoding.transfer_function == JXL_TRANSFER_FUNCTION_HLG);
}

bool isSrgb(const JxlColorEncoding& encoding)
{
    const bool isGray = encoding.color_space == JXL_COLOR_SPACE_GRAY;
    return encoding.transfer_function == JXL_TRANSFER_FUNCTION_SRGB
        && encoding.white_point == JXL_WHITE_POINT_D65
        && (isGray || encoding.primaries == JXL_PRIMARIES_SRGB);
}

class JxlReader final : public PictureReader {
public:
    JxlReader(QByteArray bytes, const JxlBasicInfo& info)
        : mBytes(std::move(bytes))
        , mInfo(info)
    {
    }

    PictureHeader header() const override
    {
        return { { static_cast<int>(mInfo.xsize), static_cast<int>(mInfo.ysize) }, 1 };
    }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override;

private:
    bool hasAlpha() const { return mInfo.alpha_bits > 0; }
    bool isGray() const { return mInfo.num_color_channels == 1; }
    bool isPremultiplied() const { return mInfo.alpha_premultiplied != 0; }
    QImage::Format format() const
    {
        return hasAlpha() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    }

    SampleColors chooseColors(Decoding& decoding) const;
    Result<DecodedPicture> decodeShallow(
        Decoding& decoding, const SampleColors& colors, const ImageMaker& makeImage) const;
    Result<DecodedPicture> decodeDeep(
        Decoding& decoding, const SampleColors& colors, const ImageMaker& makeImage) const;
    Result<DecodedPicture> decodeLight(Decoding& decoding, const ImageMaker& makeImage) const;
    void divideByAlpha(std::vector<std::uint16_t>& samples, int channels) const;

    QByteArray mBytes;
    JxlBasicInfo mInfo;
};

SampleColors JxlReader::chooseColors(Decoding& decoding) const
{
    const auto original = decoding.encoding(JXL_COLOR_PROFILE_TARGET_ORIGINAL);
    if (!mInfo.uses_original_profile && !(original && isBrighterThanSrgb(*original)))
        decoding.preferSrgb(isGray());
    SampleColors colors;
    const auto data = decoding.encoding(JXL_COLOR_PROFILE_TARGET_DATA);
    if (data && isSrgb(*data)) {
        colors.isSrgb = true;
        return colors;
    }
    if (data && data->color_space == JXL_COLOR_SPACE_RGB) {
        colors.transfer = data->transfer_function;
        colors.primaries = data->primaries;
    }
    colors.profile = ColorProfile::fromIcc(decoding.iccProfile());
    return colors;
}

Result<DecodedPicture> JxlReader::decode(QSize /*wanted*/, const ImageMaker& makeImage)
{
    Decoding decoding(mBytes, JXL_DEC_COLOR_ENCODING | JXL_DEC_FULL_IMAGE);
    decoding.useThreads();
    if (!decoding.runUntil(JXL_DEC_COLOR_ENCODING))
        return damaged();
    const SampleColors colors = chooseColors(decoding);
    if (colors.profile.model() == ColorProfile::Model::Cmyk)
        return fail(ErrorKind::Unsupported, QStringLiteral("a picture in inks"));
    const bool isLight = colors.transfer == JXL_TRANSFER_FUNCTION_LINEAR
        && colors.primaries == JXL_PRIMARIES_SRGB && mInfo.exponent_bits_per_sample > 0;
    if (isLight)
        return decodeLight(decoding, makeImage);
    const bool isBright = colors.transfer == JXL_TRANSFER_FUNCTION_PQ
        || colors.transfer == JXL_TRANSFER_FUNCTION_HLG;
    if (isBright || (!colors.isSrgb && mInfo.bits_per_sample > 8))
        return decodeDeep(decoding, colors, makeImage);
    return decodeShallow(decoding, colors, makeImage);
}

Result<DecodedPicture> JxlReader::decodeShallow(
    Decoding& decoding, const SampleColors& colors, const ImageMaker& makeImage) const
{
    QImage image = makeImage(header().size, format());
    if (image.isNull())
        return noMemory();
    const JxlPixelFormat pixels { 4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0 };
    const qsizetype size = qsizetype(image.width()) * 4 * image.height();
    if (image.bytesPerLine() != qsizetype(image.width()) * 4
        || !decoding.decodeInto(image.bits(), static_cast<size_t>(size), pixels))
        return damaged();
    rearrange(image, isPremultiplied());
    return DecodedPicture { std::move(image), colors.profile };
}

void JxlReader::divideByAlpha(std::vector<std::uint16_t>& samples, int channels) const
{
    const auto step = static_cast<size_t>(channels);
    for (size_t at = 0; at + step <= samples.size(); at += step) {
        const std::uint32_t alpha = samples[at + step - 1];
        for (size_t i = at; i < at + step - 1 && alpha > 0; ++i) {
            samples[i] = static_cast<std::uint16_t>(
                std::min((samples[i] * 65535U + alpha / 2) / alpha, 65535U));
        }
    }
}

Result<DecodedPicture> JxlReader::decodeDeep(
    Decoding& decoding, const SampleColors& colors, const ImageMaker& makeImage) const
{
    const QSize size = header().size;
    const int channels = (isGray() ? 1 : 3) + (hasAlpha() ? 1 : 0);
    std::vector<std::uint16_t> data(static_cast<size_t>(channels)
        * static_cast<size_t>(size.width()) * static_cast<size_t>(size.height()));
    const JxlPixelFormat pixels { static_cast<uint32_t>(channels), JXL_TYPE_UINT16,
        JXL_NATIVE_ENDIAN, 0 };
    if (!decoding.decodeInto(data.data(), data.size() * sizeof(data[0]), pixels))
        return damaged();
    if (hasAlpha() && isPremultiplied())
        divideByAlpha(data, channels);
    QImage image = makeImage(size, format());
    if (image.isNull())
        return noMemory();
    const auto gray = hasAlpha() ? Samples::Layout::GrayAlpha : Samples::Layout::Gray;
    const auto rgb = hasAlpha() ? Samples::Layout::Rgba : Samples::Layout::Rgb;
    const Samples samples { data.data(), qsizetype(size.width()) * channels * 2, size,
        isGray() ? gray : rgb, Samples::Depth::Bits16 };
    if (!isGray() && isHighDynamicRange(colors.transfer)) {
        // The number of P3 says nothing of the white; H.273 has one number for each.
        const int primaries = colors.primaries == JXL_PRIMARIES_P3 ? 12 : colors.primaries;
        toneMapCoded(samples, primaries, colors.transfer, image);
    } else if (!convertToSrgb(samples, colors.profile, image)) {
        return fail(ErrorKind::Unsupported, QStringLiteral("colours that cannot be converted"));
    }
    return DecodedPicture { std::move(image), {} };
}

Result<DecodedPicture> JxlReader::decodeLight(Decoding& decoding, const ImageMaker& makeImage) const
{
    const QSize size = header().size;
    const int channels = hasAlpha() ? 4 : 3;
    std::vector<float> data(static_cast<size_t>(channels) * static_cast<size_t>(size.width())
        * static_cast<size_t>(size.height()));
    const JxlPixelFormat pixels { static_cast<uint32_t>(channels), JXL_TYPE_FLOAT,
        JXL_NATIVE_ENDIAN, 0 };
    if (!decoding.decodeInto(data.data(), data.size() * sizeof(data[0]), pixels))
        return damaged();
    QImage image = makeImage(size, format());
    if (image.isNull())
        return noMemory();
    toneMapLinear({ data.data(), qsizetype(size.width()) * channels, size, channels }, image);
    return DecodedPicture { std::move(image), {} };
}

} // namespace

bool isJxl(const QByteArray& head)
{
    const auto signature = JxlSignatureCheck(
        reinterpret_cast<const uint8_t*>(head.constData()), static_cast<size_t>(head.size()));
    return signature == JXL_SIG_CODESTREAM || signature == JXL_SIG_CONTAINER;
}

OpenedPicture openJxl(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    Decoding decoding(*bytes, JXL_DEC_BASIC_INFO);
    const auto info = decoding.runUntil(JXL_DEC_BASIC_INFO) ? decoding.basicInfo() : std::nullopt;
    if (!info)
        return damaged();
    constexpr uint32_t kLongest = 1U << 30; // Its largest side, so that a QSize holds it.
    if (info->xsize > kLongest || info->ysize > kLongest
        || !isReasonable({ static_cast<int>(info->xsize), static_cast<int>(info->ysize) }))
        return tooManyPixels();
    return std::make_unique<JxlReader>(std::move(*bytes), *info);
}

} // namespace quorvane
