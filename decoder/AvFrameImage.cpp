// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/AvFrameImage.h"

#include "decoder/ReaderFailures.h"
#include "decoder/Transparency.h"

#include <algorithm>
#include <array>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace quorvane {

namespace {

/// The rows of a frame, one component after the other.
class FrameRows {
public:
    FrameRows(const AVFrame& frame, const AVPixFmtDescriptor& form)
        : mFrame(frame)
        , mForm(form)
    {
        std::copy(std::begin(frame.data), std::begin(frame.data) + 4, mData.begin());
        std::copy(std::begin(frame.linesize), std::begin(frame.linesize) + 4, mStrides.begin());
    }

    int components() const { return mForm.nb_components; }

    void read(int y, int component, std::vector<quint16>& values)
    {
        av_read_image_line2(values.data(), mData.data(), mStrides.data(), &mForm, 0, y, component,
            mFrame.width, 0, sizeof(quint16));
    }

private:
    const AVFrame& mFrame;
    const AVPixFmtDescriptor& mForm;
    std::array<const uint8_t*, 4> mData {};
    std::array<int, 4> mStrides {};
};

bool hasPalette(const AVPixFmtDescriptor& form) { return (form.flags & AV_PIX_FMT_FLAG_PAL) != 0; }

bool hasAlpha(const AVPixFmtDescriptor& form)
{
    return (form.flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || hasPalette(form);
}

bool isReadable(const AVPixFmtDescriptor& form)
{
    const bool isRgbOrGrey = (form.flags & AV_PIX_FMT_FLAG_RGB) != 0 || form.nb_components <= 2;
    constexpr auto foreign
        = AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
    return hasPalette(form) || (isRgbOrGrey && (form.flags & foreign) == 0);
}

/// Indices into the table of colours that comes with the frame.
void copyIndexed(const AVFrame& frame, QImage& image)
{
    const auto* const palette = reinterpret_cast<const QRgb*>(frame.data[1]);
    for (int y = 0; y < frame.height; ++y) {
        const uint8_t* const from = frame.data[0] + qptrdiff(y) * frame.linesize[0];
        auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
        std::transform(from, from + frame.width, to, [&](uint8_t index) { return palette[index]; });
    }
}

/// Values of `component` as 0 to 255.
void scaleToBytes(std::vector<quint16>& values, const AVComponentDescriptor& component)
{
    const unsigned most = (1U << component.depth) - 1;
    if (most == 255)
        return;
    for (quint16& value : values)
        value = static_cast<quint16>((value * 255U + most / 2) / most);
}

void copySamples(const AVFrame& frame, const AVPixFmtDescriptor& form, QImage& image)
{
    FrameRows rows(frame, form);
    const int components = rows.components();
    const bool isGrey = components <= 2;
    // In black-on-white pictures of one bit, 0 is white.
    const quint16 flip = frame.format == AV_PIX_FMT_MONOWHITE ? 255 : 0;
    std::array<std::vector<quint16>, 4> values;
    values.fill(std::vector<quint16>(static_cast<size_t>(frame.width), 255));
    for (int y = 0; y < frame.height; ++y) {
        for (int i = 0; i < components; ++i) {
            auto& target = values[isGrey && i == 1 ? 3 : static_cast<size_t>(i)];
            rows.read(y, i, target);
            scaleToBytes(target, form.comp[i]);
        }
        const auto& green = values[isGrey ? 0 : 1];
        const auto& blue = values[isGrey ? 0 : 2];
        auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (size_t x = 0; x < green.size(); ++x)
            to[x] = qRgba(values[0][x] ^ flip, green[x] ^ flip, blue[x] ^ flip, values[3][x]);
    }
}

} // namespace

Result<QImage> imageOf(const AVFrame& frame, Alpha alpha, const ImageMaker& makeImage)
{
    const auto* const form = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (!form || !isReadable(*form))
        return fail(ErrorKind::Unsupported, QStringLiteral("an unusual form of pixels"));
    const bool isTransparent = hasAlpha(*form);
    QImage image = makeImage({ frame.width, frame.height },
        isTransparent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull())
        return noMemory();
    if (hasPalette(*form))
        copyIndexed(frame, image);
    else
        copySamples(frame, *form, image);
    if (isTransparent && alpha == Alpha::MayBeJunk && isAlphaUnused(image))
        dropAlpha(image);
    else if (isTransparent)
        multiplyAlpha(image);
    return image;
}

} // namespace quorvane
