// SPDX-License-Identifier: GPL-3.0-or-later
// The pixels of a decoded picture, wherever they lie.
#pragma once

#include <QImage>
#include <QSize>

#include <memory>

namespace quorvane {

/// Finished pixels in memory that may belong to anybody: to this program's heap, or to another
/// program that filled it and handed it over. Whoever holds the buffer keeps that memory alive. The
/// pixels never change. A value; thread: any.
class PixelBuffer {
public:
    /// Four bytes a pixel, rows from the top down; the bytes of a pixel are blue, green, red and
    /// ...
    enum class Format {
        Opaque, ///< ... one that means nothing.
        Premultiplied, ///< ... the opacity, by which the colours are multiplied already.
    };

    /// No pixels at all.
    PixelBuffer() = default;

    /// \param owner  keeps `bits` alive.
    /// \param bits   size.height() rows of `stride` bytes.
    PixelBuffer(std::shared_ptr<const void> owner, const uchar* bits, QSize size, qsizetype stride,
        Format format);

    /// Takes over an image of this program, converted if it must be.
    static PixelBuffer fromImage(QImage image);

    bool isNull() const { return mBits == nullptr; }
    QSize size() const { return mSize; }

    /// The same pixels for Qt to draw, not copied; the image keeps their memory alive.
    QImage image() const;

private:
    std::shared_ptr<const void> mOwner;
    const uchar* mBits = nullptr;
    QSize mSize;
    qsizetype mStride = 0;
    Format mFormat = Format::Opaque;
};

} // namespace quorvane
