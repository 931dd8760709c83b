// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PfmReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"

#include <QList>
#include <QtEndian>

#include <vector>

namespace quorvane {

namespace {

struct PfmLayout {
    QSize size;
    int channels = 3;
    bool isLittleEndian = true;
    qsizetype samples = 0; ///< Where they begin.

    qint64 rowSize() const { return qint64(size.width()) * channels * qint64(sizeof(float)); }
};

/// Behind the line that begins at `at`, and the comments that follow it.
qsizetype nextLine(const QByteArray& file, qsizetype at)
{
    do {
        const qsizetype end = file.indexOf('\n', at);
        at = end < 0 ? file.size() : end + 1;
    } while (file.mid(at, 1) == "#");
    return at;
}

/// The header is three lines: the signature, width and height, and a scale whose sign tells the
/// order of bytes. Its amount has no meaning that programs agree on.
PfmLayout layoutOf(const QByteArray& file)
{
    PfmLayout layout;
    const qsizetype sizes = nextLine(file, 0);
    const qsizetype scale = nextLine(file, sizes);
    const auto words = file.mid(sizes, scale - sizes).simplified().split(' ');
    layout.size = { words.value(0).toInt(), words.value(1).toInt() };
    layout.channels = file[1] == 'F' ? 3 : 1;
    layout.isLittleEndian = file.mid(scale, 1) == "-";
    // No comments here: the first sample may look like one.
    const qsizetype end = file.indexOf('\n', scale);
    layout.samples = end < 0 ? file.size() : end + 1;
    return layout;
}

class PfmReader : public PictureReader {
public:
    PfmReader(QByteArray bytes, const PfmLayout& layout)
        : mBytes(std::move(bytes))
        , mLayout(layout)
    {
    }

    PictureHeader header() const override { return { mLayout.size }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        QImage image = makeImage(mLayout.size, QImage::Format_RGB32);
        if (image.isNull())
            return noMemory();
        const auto row
            = static_cast<size_t>(mLayout.size.width()) * static_cast<size_t>(mLayout.channels);
        std::vector<float> samples(row * static_cast<size_t>(mLayout.size.height()));
        for (int y = 0; y < mLayout.size.height(); ++y) {
            // The last row comes first.
            const qint64 index = mLayout.size.height() - 1 - y;
            readRow(mLayout.samples + index * mLayout.rowSize(), row,
                samples.data() + static_cast<size_t>(y) * row);
        }
        toneMapLinear(
            { samples.data(), static_cast<qsizetype>(row), mLayout.size, mLayout.channels }, image);
        return DecodedPicture { std::move(image), {} };
    }

private:
    void readRow(qsizetype from, size_t count, float* to) const
    {
        const char* const bytes = mBytes.constData() + from;
        if (mLayout.isLittleEndian)
            qFromLittleEndian<float>(bytes, static_cast<qsizetype>(count), to);
        else
            qFromBigEndian<float>(bytes, static_cast<qsizetype>(count), to);
    }

    QByteArray mBytes;
    PfmLayout mLayout;
};

} // namespace

bool isPfm(const QByteArray& head) { return head.startsWith("PF\n") || head.startsWith("Pf\n"); }

OpenedPicture openPfm(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    if (!isPfm(*bytes))
        return damaged("another file by now");
    const PfmLayout layout = layoutOf(*bytes);
    if (layout.size.isEmpty())
        return damaged("no size");
    if (!isReasonable(layout.size))
        return tooManyPixels();
    if (layout.samples + layout.rowSize() * layout.size.height() > bytes->size())
        return damaged("the picture is cut short");
    return std::make_unique<PfmReader>(std::move(*bytes), layout);
}

} // namespace quorvane
