// SPDX-License-Identifier: GPL-3.0-or-later
// Decoding for tests: bytes in, an upright picture out, in this process.
#pragma once

#include "decoder/FileBytes.h"
#include "decoder/PictureFormats.h"
#include "decoder/Rendering.h"

#include <QFile>

namespace quorvane::testing {

/// Whether, and as what, the table knows `bytes`; empty for no picture.
inline QByteArray formatNameOf(const QByteArray& bytes)
{
    FileBytes file(bytes);
    const PictureFormat* const format = formatOf(file, allFormats());
    return format ? format->name : QByteArray();
}

inline OpenedPicture openPicture(const QByteArray& bytes)
{
    FileBytes file(bytes);
    const PictureFormat* const format = formatOf(file, allFormats());
    if (!format)
        return fail(ErrorKind::Unsupported, QStringLiteral("not a picture"));
    return format->open(file);
}

/// The picture in `bytes`, upright and in sRGB. \param size  empty for its own.
inline Result<QImage> decoded(const QByteArray& bytes, QSize size = {})
{
    auto reader = openPicture(bytes);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader, size);
}

inline QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace quorvane::testing
