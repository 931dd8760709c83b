// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Jpeg2000Reader.h"

#include "decoder/FileBytes.h"
#include "decoder/Jpeg2000Codestream.h"
#include "decoder/Jpeg2000Decoding.h"
#include "decoder/Jpeg2000Pixels.h"
#include "decoder/ReaderFailures.h"

namespace quorvane {

namespace {

/// The samples of all components together: four bytes each while they are decoded.
constexpr qint64 kSampleLimit = qint64(1) << 30;

const QByteArray& signatureBox()
{
    static const QByteArray signature("\0\0\0\x0CjP  \r\n\x87\n", 12);
    return signature;
}

tl::unexpected<Error> broken() { return damaged("the JPEG 2000 ends too soon or is broken"); }

class Jpeg2000Reader : public PictureReader {
public:
    static OpenedPicture open(const QByteArray& bytes)
    {
        Jpeg2000Decoding decoding(bytes, 0);
        if (!decoding.readHeader())
            return broken();
        auto reader = std::make_unique<Jpeg2000Reader>();
        reader->mBytes = bytes;
        reader->mSize = decoding.size();
        reader->mReductions = decoding.reductions();
        reader->mComponents = decoding.components();
        if (reader->mSize.isEmpty())
            return broken();
        if (!isReasonable(reader->mSize))
            return tooManyPixels();
        return reader;
    }

    PictureHeader header() const override { return { mSize, 1 }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        if (!isJpeg2000Whole(mBytes))
            return broken();
        const int reduce = reductionFor(wanted);
        const qint64 samples
            = (qint64(mSize.width()) * mSize.height() >> (2 * reduce)) * mComponents;
        if (samples > kSampleLimit)
            return fail(ErrorKind::TooLarge, QStringLiteral("too many samples"));
        Jpeg2000Decoding decoding(mBytes, reduce);
        if (decoding.readHeader() && decoding.decode())
            return jpeg2000Picture(decoding.image(), container(), makeImage);
        // A tile may have fewer sizes than the beginning of the file promises.
        return reduce > 0 ? decode(mSize, makeImage) : broken();
    }

private:
    int reductionFor(QSize wanted) const
    {
        int reduce = 0;
        while (reduce < mReductions && (mSize.width() >> (reduce + 1)) >= wanted.width()
            && (mSize.height() >> (reduce + 1)) >= wanted.height())
            ++reduce;
        return reduce;
    }

    Jpeg2000Container container() const
    {
        return isJpeg2000Codestream(mBytes) ? Jpeg2000Container::None : Jpeg2000Container::File;
    }

    QByteArray mBytes;
    QSize mSize;
    int mReductions = 0;
    qint64 mComponents = 1;
};

} // namespace

bool isJpeg2000(const QByteArray& head)
{
    return head.startsWith(signatureBox()) || isJpeg2000Codestream(head);
}

OpenedPicture openJpeg2000(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    return Jpeg2000Reader::open(*bytes);
}

} // namespace quorvane
