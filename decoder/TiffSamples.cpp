// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffSamples.h"

#include "decoder/ToneMapping.h"

#include <algorithm>
#include <new>
#include <type_traits>

namespace quorvane {

namespace {

qint64 bytesOf(SampleForm form)
{
    if (form == SampleForm::Byte)
        return 1;
    return form == SampleForm::Float32 ? 4 : 2;
}

template <typename Number> const Number* numbersOf(const SampleRun& run)
{
    return reinterpret_cast<const Number*>(run.bytes);
}

/// Stretched to 16 bits: the largest number stays the largest.
quint16 packedSample(const SampleRun& run, qsizetype index)
{
    quint32 value = 0;
    const qsizetype start = index * run.bits;
    for (qsizetype bit = start; bit < start + run.bits; ++bit)
        value = value << 1 | ((run.bytes[bit >> 3] >> (7 - (bit & 7))) & 1U);
    return static_cast<quint16>(value * 65535 / ((1U << run.bits) - 1));
}

QRgb pixelOf(const uchar* sample, int colors, bool isPremultiplied, bool hasAlpha)
{
    const int red = sample[0];
    const int green = colors == 1 ? red : sample[1];
    const int blue = colors == 1 ? red : sample[2];
    if (!hasAlpha)
        return qRgb(red, green, blue);
    const int alpha = sample[colors];
    if (!isPremultiplied)
        return qPremultiply(qRgba(red, green, blue, alpha));
    return qRgba(std::min(red, alpha), std::min(green, alpha), std::min(blue, alpha), alpha);
}

} // namespace

Bytes newBytes(qint64 size)
{
    return size > 0 ? Bytes(new (std::nothrow) uchar[static_cast<size_t>(size)]) : Bytes();
}

Band::Band(const BandLayout& layout, QSize size)
    : mLayout(layout)
    , mWidth(size.width())
    , mRows(size.height())
    , mBytes(newBytes(qint64(size.width()) * size.height() * channels() * bytesOf(layout.form)))
{
}

bool Band::holdsSample(int index) const
{
    return index < mLayout.colors || index == mLayout.alphaSample;
}

template <typename Number> Number* Band::row(int y)
{
    return reinterpret_cast<Number*>(mBytes.get()) + qsizetype(y) * mWidth * channels();
}

template <typename Number, typename Get>
void Band::takeSamples(const SampleRun& run, int plane, QPoint to, const Get& get)
{
    const int step = channels();
    Number* const target = row<Number>(to.y()) + qsizetype(to.x()) * step;
    const bool isPlane = run.samples == 1;
    for (int channel = 0; channel < step; ++channel) {
        const int sample = channel < mLayout.colors ? channel : mLayout.alphaSample;
        if (isPlane && sample != plane)
            continue;
        const int first = isPlane ? 0 : sample;
        for (qsizetype i = 0; i < run.pixels; ++i)
            target[i * step + channel] = get(i * run.samples + first);
    }
}

void Band::take(const SampleRun& run, int plane, QPoint to)
{
    switch (run.form) {
    case SampleForm::Byte:
        takeSamples<uchar>(run, plane, to, [&](qsizetype i) { return run.bytes[i]; });
        return;
    case SampleForm::Word:
        takeSamples<quint16>(
            run, plane, to, [words = numbersOf<quint16>(run)](qsizetype i) { return words[i]; });
        return;
    case SampleForm::LongWord:
        takeSamples<quint16>(run, plane, to, [words = numbersOf<quint32>(run)](qsizetype i) {
            return static_cast<quint16>(words[i] >> 16);
        });
        return;
    case SampleForm::Packed:
        takeSamples<quint16>(run, plane, to, [&](qsizetype i) { return packedSample(run, i); });
        return;
    case SampleForm::Float32:
        takeSamples<float>(
            run, plane, to, [numbers = numbersOf<float>(run)](qsizetype i) { return numbers[i]; });
        return;
    }
}

template <typename Number> void Band::invertGrey(Number white)
{
    const qsizetype count = qsizetype(mWidth) * mRows * channels();
    Number* const samples = row<Number>(0);
    for (qsizetype i = 0; i < count; i += channels())
        samples[i] = static_cast<Number>(white - samples[i]);
}

template <typename Number> void Band::divideByAlpha(Number opaque)
{
    const int step = channels();
    const qsizetype pixels = qsizetype(mWidth) * mRows;
    Number* pixel = row<Number>(0);
    for (qsizetype i = 0; i < pixels; ++i, pixel += step) {
        const Number alpha = pixel[mLayout.colors];
        for (int color = 0; color < mLayout.colors && alpha > 0; ++color) {
            if constexpr (std::is_floating_point_v<Number>)
                pixel[color] /= alpha;
            else
                pixel[color]
                    = static_cast<Number>(quint32(std::min(pixel[color], alpha)) * opaque / alpha);
        }
    }
}

void Band::writePixels(QImage& image)
{
    const int step = channels();
    const bool hasAlpha = mLayout.alphaSample >= 0;
    for (int y = 0; y < mRows; ++y) {
        const uchar* samples = row<uchar>(y);
        auto* const pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < mWidth; ++x, samples += step)
            pixels[x] = pixelOf(samples, mLayout.colors, mLayout.isPremultiplied, hasAlpha);
    }
}

bool Band::renderWords(const ColorProfile& profile, QImage& image)
{
    const bool hasAlpha = mLayout.alphaSample >= 0;
    auto layout = Samples::Layout::Cmyk;
    if (mLayout.colors == 1)
        layout = hasAlpha ? Samples::Layout::GrayAlpha : Samples::Layout::Gray;
    else if (mLayout.colors == 3)
        layout = hasAlpha ? Samples::Layout::Rgba : Samples::Layout::Rgb;
    const Samples samples { mBytes.get(),
        static_cast<qsizetype>(qint64(mWidth) * channels() * bytesOf(mLayout.form)),
        QSize(mWidth, mRows), layout,
        mLayout.form == SampleForm::Byte ? Samples::Depth::Bits8 : Samples::Depth::Bits16 };
    return convertToSrgb(samples, profile, image);
}

bool Band::renderLight(QImage& image)
{
    const LinearSamples samples { row<float>(0), qsizetype(mWidth) * channels(),
        QSize(mWidth, mRows), channels() };
    toneMapLinear(samples, image);
    return true;
}

bool Band::isConverted() const { return mLayout.form != SampleForm::Byte || mLayout.colors == 4; }

bool Band::render(const ColorProfile& profile, QImage& image)
{
    switch (mLayout.form) {
    case SampleForm::Byte:
        if (mLayout.isWhiteZero)
            invertGrey<uchar>(255);
        if (isConverted())
            return renderWords(profile, image);
        writePixels(image);
        return true;
    case SampleForm::Float32:
        if (mLayout.isWhiteZero)
            invertGrey<float>(1);
        if (mLayout.isPremultiplied)
            divideByAlpha<float>(1);
        return renderLight(image);
    default:
        if (mLayout.isWhiteZero)
            invertGrey<quint16>(65535);
        if (mLayout.isPremultiplied)
            divideByAlpha<quint16>(65535);
        return renderWords(profile, image);
    }
}

} // namespace quorvane
