// SPDX-License-Identifier: GPL-3.0-or-later
#include "Material.h"

#include "Photograph.h"

#include <QFile>
#include <QImage>

#include <libheif/heif.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace quorvane::bench {

namespace {

constexpr QSize kPhotograph { 6000, 4000 };
constexpr QSize kSmaller { 3000, 2000 };
constexpr int kQuality = 90;

void require(bool isDone, const char* what)
{
    if (isDone)
        return;
    std::fprintf(stderr, "The benchmark cannot make %s.\n", what);
    std::exit(EXIT_FAILURE);
}

QByteArray saved(const QImage& image, const QString& path, const char* format, int quality = -1)
{
    require(image.save(path, format, quality), format);
    return QFile::encodeName(path);
}

QByteArray savedWebp(const QImage& image, const QString& path)
{
    uint8_t* bytes = nullptr;
    const size_t size = WebPEncodeBGRA(image.constBits(), image.width(), image.height(),
        static_cast<int>(image.bytesPerLine()), kQuality, &bytes);
    QFile file(path);
    require(size > 0 && file.open(QIODevice::WriteOnly)
            && file.write(reinterpret_cast<const char*>(bytes), qint64(size)) == qint64(size),
        "WebP");
    WebPFree(bytes);
    return QFile::encodeName(path);
}

QByteArray savedHeif(const QImage& picture, const QString& path, heif_compression_format format)
{
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    heif_context* const context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    require(heif_context_get_encoder_for_format(context, format, &encoder).code == heif_error_Ok,
        "HEIF");
    heif_encoder_set_lossy_quality(encoder, 60);
    heif_encoder_set_parameter(encoder, format == heif_compression_AV1 ? "speed" : "preset",
        format == heif_compression_AV1 ? "8" : "ultrafast");
    heif_image* image = nullptr;
    heif_image_create(
        rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
    int stride = 0;
    uint8_t* const plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < rgb.height(); ++y)
        std::copy_n(rgb.constScanLine(y), rgb.width() * 3, plane + qsizetype(y) * stride);
    const auto encoded = heif_context_encode_image(context, image, encoder, nullptr, nullptr);
    require(encoded.code == heif_error_Ok, "HEIF");
    require(heif_context_write_to_file(context, QFile::encodeName(path).constData()).code
            == heif_error_Ok,
        "HEIF");
    heif_image_release(image);
    heif_encoder_release(encoder);
    heif_context_free(context);
    return QFile::encodeName(path);
}

} // namespace

Material makeMaterial(const QString& folder)
{
    const QImage photograph = makePhotograph(kPhotograph);
    const QImage smaller = makePhotograph(kSmaller);
    QImage one(1, 1, QImage::Format_RGB32);
    one.fill(Qt::red);
    const auto path
        = [&](const char* name) { return folder + QLatin1Char('/') + QLatin1String(name); };
    return { saved(photograph, path("photograph.jpeg"), "jpg", kQuality),
        saved(smaller, path("smaller.png"), "png"), savedWebp(smaller, path("smaller.webp")),
        savedHeif(smaller, path("smaller.heic"), heif_compression_HEVC),
        savedHeif(smaller, path("smaller.avif"), heif_compression_AV1),
        saved(one, path("one.png"), "png") };
}

} // namespace quorvane::bench
