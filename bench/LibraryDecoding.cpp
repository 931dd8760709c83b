// SPDX-License-Identifier: GPL-3.0-or-later
#include "LibraryDecoding.h"

#include <QFile>
#include <QImage>

#include <libheif/heif.h>
#include <png.h>
#include <turbojpeg.h>
#include <webp/decode.h>

#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

namespace quorvane::bench {

namespace {

QByteArray contentsOf(const QByteArray& path)
{
    QFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::ReadOnly))
        std::exit(EXIT_FAILURE);
    return file.readAll();
}

void require(bool isDone, const char* what)
{
    if (isDone)
        return;
    std::fprintf(stderr, "The library cannot decode %s.\n", what);
    std::exit(EXIT_FAILURE);
}

const uint8_t* unsignedBytes(const QByteArray& bytes)
{
    return reinterpret_cast<const uint8_t*>(bytes.constData());
}

uchar* memoryFor(QSize size)
{
    static std::vector<uchar> memory;
    const auto needed = size_t(size.width()) * size_t(size.height()) * 4;
    if (memory.size() < needed)
        memory.resize(needed);
    return memory.data();
}

QSize jpegSize(void* decompressor, const QByteArray& bytes)
{
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;
    require(tjDecompressHeader3(decompressor, unsignedBytes(bytes),
                static_cast<unsigned long>(bytes.size()), &width, &height, &subsampling, &colours)
            == 0,
        "JPEG");
    return { width, height };
}

QImage decodedJpeg(const QByteArray& path, const tjscalingfactor& factor)
{
    const QByteArray bytes = contentsOf(path);
    void* const decompressor = tjInitDecompress();
    const QSize whole = jpegSize(decompressor, bytes);
    const QSize size(TJSCALED(whole.width(), factor), TJSCALED(whole.height(), factor));
    uchar* const pixels = memoryFor(size);
    require(
        tjDecompress2(decompressor, unsignedBytes(bytes), static_cast<unsigned long>(bytes.size()),
            pixels, size.width(), size.width() * 4, size.height(), TJPF_BGRX, 0)
            == 0,
        "JPEG");
    tjDestroy(decompressor);
    return { pixels, size.width(), size.height(), QImage::Format_RGB32 };
}

/// The smallest that is large enough for `wanted`.
tjscalingfactor factorFor(QSize whole, QSize wanted)
{
    int count = 0;
    const tjscalingfactor* const factors = tjGetScalingFactors(&count);
    tjscalingfactor best { 1, 1 };
    for (const tjscalingfactor& factor : std::span(factors, static_cast<size_t>(count))) {
        const int width = TJSCALED(whole.width(), factor);
        const int height = TJSCALED(whole.height(), factor);
        if (width >= wanted.width() && height >= wanted.height()
            && width < TJSCALED(whole.width(), best))
            best = factor;
    }
    return best;
}

} // namespace

void decodeJpeg(const QByteArray& path) { decodedJpeg(path, { 1, 1 }); }

void decodeJpegScaled(const QByteArray& path, QSize box)
{
    void* const decompressor = tjInitDecompress();
    const QSize whole = jpegSize(decompressor, contentsOf(path));
    tjDestroy(decompressor);
    const QSize wanted = whole.scaled(box, Qt::KeepAspectRatio);
    const QImage image = decodedJpeg(path, factorFor(whole, wanted));
    require(
        !image.scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).isNull(), "JPEG");
}

void decodeJpegEighth(const QByteArray& path) { decodedJpeg(path, { 1, 8 }); }

void decodePng(const QByteArray& path)
{
    const QByteArray bytes = contentsOf(path);
    png_image image {};
    image.version = PNG_IMAGE_VERSION;
    require(png_image_begin_read_from_memory(&image, bytes.constData(), size_t(bytes.size())) != 0,
        "PNG");
    image.format = PNG_FORMAT_BGRA;
    uchar* const pixels = memoryFor({ int(image.width), int(image.height) });
    require(png_image_finish_read(&image, nullptr, pixels, 0, nullptr) != 0, "PNG");
}

void decodeWebp(const QByteArray& path)
{
    const QByteArray bytes = contentsOf(path);
    int width = 0;
    int height = 0;
    require(WebPGetInfo(unsignedBytes(bytes), size_t(bytes.size()), &width, &height) != 0, "WebP");
    uchar* const pixels = memoryFor({ width, height });
    require(WebPDecodeBGRAInto(unsignedBytes(bytes), size_t(bytes.size()), pixels,
                size_t(width) * size_t(height) * 4, width * 4)
            != nullptr,
        "WebP");
}

void decodeHeif(const QByteArray& path)
{
    const QByteArray bytes = contentsOf(path);
    heif_context* const context = heif_context_alloc();
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    const bool isDone = heif_context_read_from_memory_without_copy(
                            context, bytes.constData(), size_t(bytes.size()), nullptr)
                            .code
            == heif_error_Ok
        && heif_context_get_primary_image_handle(context, &handle).code == heif_error_Ok
        && heif_decode_image(
               handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr)
                .code
            == heif_error_Ok;
    require(isDone, "HEIF");
    heif_image_release(image);
    heif_image_handle_release(handle);
    heif_context_free(context);
}

} // namespace quorvane::bench
