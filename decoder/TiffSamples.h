// SPDX-License-Identifier: GPL-3.0-or-later
// From the samples that stand in a TIFF to pixels.
#pragma once

#include "decoder/ColorProfile.h"

#include <QImage>
#include <QPoint>

#include <memory>

namespace quorvane {

/// Memory whose size comes from a file: null when there is not so much.
using Bytes = std::unique_ptr<uchar[]>;
Bytes newBytes(qint64 size);

/// Samples as they are stored, in this machine's byte order.
enum class SampleForm {
    Byte,
    Word,
    LongWord, ///< Of its 32 bits the upper half counts.
    Packed, ///< 9 to 15 bits, the most significant first, without gaps but at the ends of rows.
    Float32,
};

/// Neighbouring pixels of one row.
struct SampleRun {
    const uchar* bytes; ///< Aligned for its form.
    SampleForm form;
    int bits; ///< Of a sample.
    int samples; ///< Of a pixel.
    int pixels;
};

/// What a Band holds of each pixel.
struct BandLayout {
    SampleForm form;
    int colors; ///< 1 grey, 3 RGB, 4 CMYK; the first samples of a pixel.
    int alphaSample; ///< Which sample of the pixel is alpha; -1 for none.
    bool isPremultiplied; ///< The colours are multiplied with alpha.
    bool isWhiteZero; ///< 0 is white, the largest number black. Grey only.
};

/// Some rows of a picture, as samples. Thread: any, one at a time.
class Band {
public:
    /// \param size  the largest that will be needed. Invalid when there is no memory.
    Band(const BandLayout& layout, QSize size);

    bool isValid() const { return mBytes != nullptr; }
    int rows() const { return mRows; }
    void setRows(int rows) { mRows = rows; } ///< No more than at the beginning.

    /// Whether sample `index` of a pixel is kept.
    bool holdsSample(int index) const;

    /// Puts `run` where `to` says. \param plane  which sample of the pixels it is, if of one only.
    void take(const SampleRun& run, int plane, QPoint to);

    /// The rows as pixels. \param image  as large as the rows; RGB32, or premultiplied where there
    /// is alpha. \return false when the colours cannot be converted. The samples are used up.
    bool render(const ColorProfile& profile, QImage& image);

    /// Whether render() converts to sRGB; else it leaves the colours as the profile means them.
    bool isConverted() const;

private:
    int channels() const { return mLayout.colors + (mLayout.alphaSample >= 0 ? 1 : 0); }
    template <typename Number> Number* row(int y);
    template <typename Number, typename Get>
    void takeSamples(const SampleRun& run, int plane, QPoint to, const Get& get);
    template <typename Number> void invertGrey(Number white);
    template <typename Number> void divideByAlpha(Number opaque);
    void writePixels(QImage& image);
    bool renderWords(const ColorProfile& profile, QImage& image);
    bool renderLight(QImage& image);

    BandLayout mLayout;
    int mWidth;
    int mRows;
    Bytes mBytes;
};

} // namespace quorvane
