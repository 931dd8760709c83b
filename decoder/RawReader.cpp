// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/RawReader.h"

#include "decoder/FileBytes.h"
#include "decoder/JpegReader.h"
#include "decoder/PictureFormats.h"
#include "decoder/RawRecognition.h"
#include "decoder/TiffReader.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

namespace quorvane {

namespace {

/// For the sensor's numbers, in megabytes: 150 million of them with room for a copy.
constexpr unsigned kMemoryLimit = 1024;

/// A preview whose sides are this share of the picture's is as good as the picture.
constexpr double kGoodAsWhole = 0.95;

/// How much the shape of a preview may differ: cameras cut and round a few rows.
constexpr double kShapeTolerance = 0.02;

/// The library's turns are made of these bits: 1 mirrors left to right, 2 top to bottom, 4 then
/// exchanges rows and columns.
int orientationOf(int flip)
{
    constexpr std::array<int, 8> kOrientations = { 1, 2, 4, 3, 5, 8, 6, 7 };
    return kOrientations.at(static_cast<size_t>(flip) & 7);
}

tl::unexpected<Error> errorOf(int code)
{
    if (code == LIBRAW_UNSUFFICIENT_MEMORY || code == LIBRAW_TOO_BIG
        || code == LIBRAW_MEMPOOL_OVERFLOW)
        return fail(ErrorKind::TooLarge, QStringLiteral("the raw file needs too much memory"));
    if (code == LIBRAW_FILE_UNSUPPORTED || code == LIBRAW_NOT_IMPLEMENTED)
        return fail(ErrorKind::Unsupported, QStringLiteral("the raw file of an unknown camera"));
    return fail(ErrorKind::Damaged, QStringLiteral("the raw file ends too soon or is broken"));
}

/// Calls into the library, whose exceptions stay here.
template <typename Call> int guarded(const Call& call)
{
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return LIBRAW_UNSUFFICIENT_MEMORY;
    } catch (...) {
        return LIBRAW_DATA_ERROR;
    }
}

/// The file in the library's hands. It can be asked for its size or be developed, not both: the
/// one spoils the other.
class RawFile {
public:
    /// \param bytes  must outlive this.
    int open(const QByteArray& bytes)
    {
        return guarded([&] {
            mRaw = std::make_unique<LibRaw>(static_cast<unsigned>(
                LIBRAW_OPIONS_NO_MEMERR_CALLBACK | LIBRAW_OPIONS_NO_DATAERR_CALLBACK));
            mRaw->imgdata.params.max_raw_memory_mb = kMemoryLimit;
            // The library reads from it only, but says so nowhere.
            auto* const start = const_cast<char*>(bytes.constData());
            const int code = mRaw->open_buffer(start, static_cast<size_t>(bytes.size()));
            mOrientation = orientationOf(mRaw->imgdata.sizes.flip);
            mRaw->imgdata.params.user_flip = 0;
            return code;
        });
    }

    int orientation() const { return mOrientation; }

    /// Of the developed picture, not turned; empty when that cannot be known.
    QSize measure()
    {
        const int code = guarded([&] { return mRaw->adjust_sizes_info_only(); });
        if (code != LIBRAW_SUCCESS)
            return {};
        return { mRaw->imgdata.sizes.iwidth, mRaw->imgdata.sizes.iheight };
    }

    /// The largest preview, if it is a JPEG.
    QByteArray preview()
    {
        const int code = guarded([&] { return mRaw->unpack_thumb(); });
        const libraw_thumbnail_t& thumbnail = mRaw->imgdata.thumbnail;
        if (code != LIBRAW_SUCCESS || thumbnail.tformat != LIBRAW_THUMBNAIL_JPEG
            || !thumbnail.thumb)
            return {};
        return { thumbnail.thumb, static_cast<qsizetype>(thumbnail.tlength) };
    }

    /// \param atHalf  one pixel for four of the sensor: fast, and sharp enough for half the size.
    int develop(bool atHalf)
    {
        libraw_output_params_t& wanted = mRaw->imgdata.params;
        wanted.half_size = atHalf ? 1 : 0;
        wanted.use_camera_wb = 1;
        wanted.output_color = 1; // sRGB
        wanted.output_bps = 8;
        wanted.user_qual = 2; // Better ways to guess the missing colours take too long.
        const int code = guarded([&] { return mRaw->unpack(); });
        if (code != LIBRAW_SUCCESS)
            return code;
        if (mRaw->error_count() > 0)
            return LIBRAW_DATA_ERROR;
        return guarded([&] { return mRaw->dcraw_process(); });
    }

    Result<QImage> developed(const ImageMaker& makeImage)
    {
        int width = 0;
        int height = 0;
        int colors = 0;
        int bits = 0;
        mRaw->get_mem_image_format(&width, &height, &colors, &bits);
        if (!isReasonable({ width, height }) || (colors != 1 && colors != 3) || bits != 8)
            return fail(ErrorKind::Unsupported, QStringLiteral("a raw file of an unknown kind"));
        QImage image = makeImage({ width, height }, QImage::Format_RGB32);
        const int stride = width * colors;
        const std::unique_ptr<uchar[]> bytes(
            new (std::nothrow) uchar[size_t(stride) * size_t(height)]);
        if (image.isNull() || !bytes)
            return errorOf(LIBRAW_UNSUFFICIENT_MEMORY);
        const int code = guarded([&] { return mRaw->copy_mem_image(bytes.get(), stride, 0); });
        if (code != LIBRAW_SUCCESS)
            return errorOf(code);
        for (int y = 0; y < height; ++y) {
            const uchar* sample = bytes.get() + qsizetype(y) * stride;
            auto* const pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = 0; x < width; ++x, sample += colors)
                pixels[x] = colors == 3 ? qRgb(sample[0], sample[1], sample[2])
                                        : qRgb(sample[0], sample[0], sample[0]);
        }
        return image;
    }

private:
    std::unique_ptr<LibRaw> mRaw;
    int mOrientation = 1;
};

/// Whether `preview` shows what the picture of size `whole` shows, turned alike.
bool hasShapeOf(QSize preview, QSize whole)
{
    const double ratio
        = double(preview.width()) * whole.height() / (double(preview.height()) * whole.width());
    return std::abs(ratio - 1) <= kShapeTolerance;
}

bool isEnough(QSize preview, QSize whole, QSize wanted)
{
    return (preview.width() >= wanted.width() && preview.height() >= wanted.height())
        || (preview.width() >= kGoodAsWhole * whole.width()
            && preview.height() >= kGoodAsWhole * whole.height());
}

class RawReader : public PictureReader {
public:
    static OpenedPicture open(const QByteArray& bytes)
    {
        auto reader = std::make_unique<RawReader>();
        reader->mBytes = bytes;
        RawFile file;
        if (const int code = file.open(bytes); code != LIBRAW_SUCCESS)
            return errorOf(code);
        reader->mHeader = { file.measure(), file.orientation() };
        if (reader->mHeader.size.isEmpty())
            return errorOf(LIBRAW_DATA_ERROR);
        if (!isReasonable(reader->mHeader.size))
            return errorOf(LIBRAW_TOO_BIG);
        return reader;
    }

    PictureHeader header() const override { return mHeader; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        RawFile file;
        if (const int code = file.open(mBytes); code != LIBRAW_SUCCESS)
            return errorOf(code);
        const auto preview = usablePreview(file);
        if (preview && isEnough(preview->header().size, mHeader.size, wanted)) {
            auto picture = decodePreview(*preview, wanted, makeImage);
            if (picture)
                return picture;
        }
        auto picture = develop(wanted, makeImage);
        // A camera newer than the library: what it put into the file is all there is.
        if (!picture && picture.error().kind == ErrorKind::Unsupported && preview)
            return decodePreview(*preview, wanted, makeImage);
        return picture;
    }

private:
    std::unique_ptr<PictureReader> usablePreview(RawFile& file) const
    {
        FileBytes bytes(file.preview());
        if (bytes.head().isEmpty())
            return {};
        auto opened = openJpeg(bytes);
        // What differs in shape is cut, has black edges, or is turned already.
        if (!opened || !hasShapeOf((*opened)->header().size, mHeader.size))
            return {};
        return std::move(*opened);
    }

    static Result<DecodedPicture> decodePreview(
        PictureReader& preview, QSize wanted, const ImageMaker& makeImage)
    {
        return preview.decode(wanted.boundedTo(preview.header().size), makeImage);
    }

    Result<DecodedPicture> develop(QSize wanted, const ImageMaker& makeImage) const
    {
        RawFile file;
        int code = file.open(mBytes);
        const bool atHalf = mHeader.size.width() / 2 >= wanted.width()
            && mHeader.size.height() / 2 >= wanted.height();
        if (code == LIBRAW_SUCCESS)
            code = file.develop(atHalf);
        if (code != LIBRAW_SUCCESS)
            return errorOf(code);
        auto image = file.developed(makeImage);
        if (!image)
            return tl::unexpected(image.error());
        return DecodedPicture { std::move(*image), {} };
    }

    QByteArray mBytes;
    PictureHeader mHeader;
};

/// The camera's own small picture. It is stored like the large one and turned like it; what its
/// own EXIF data say does not count.
class PreviewReader : public PictureReader {
public:
    PreviewReader(std::unique_ptr<PictureReader> jpeg, int orientation)
        : mJpeg(std::move(jpeg))
        , mOrientation(orientation)
    {
    }

    PictureHeader header() const override { return { mJpeg->header().size, mOrientation }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        return mJpeg->decode(wanted, makeImage);
    }

private:
    std::unique_ptr<PictureReader> mJpeg;
    int mOrientation;
};

bool hasMagic(const QByteArray& head)
{
    // Canon's second and third format, Fuji, Olympus (three), Panasonic, Minolta, Canon's first,
    // Sigma.
    const QByteArray brand = head.mid(4, 8);
    return brand == "ftypcrx " || (head.startsWith("II*") && head.mid(8, 2) == "CR")
        || head.startsWith("FUJIFILMCCD-RAW") || head.startsWith("IIRO") || head.startsWith("IIRS")
        || head.startsWith("MMOR") || head.startsWith(QByteArray("IIU\0", 4))
        || head.startsWith(QByteArray("\0MRM", 4)) || head.mid(6, 8) == "HEAPCCDR"
        || head.startsWith("FOVb");
}

bool isClassicTiff(const QByteArray& head)
{
    return head.startsWith(QByteArray("II*\0", 4)) || head.startsWith(QByteArray("MM\0*", 4));
}

} // namespace

bool isRaw(const QByteArray& head)
{
    if (hasMagic(head))
        return true;
    if (!isClassicTiff(head))
        return false;
    // Phase One and Leaf say it behind the TIFF's own beginning.
    const QByteArray mark = head.mid(8, 4);
    return mark == "IIII" || mark == "MMMM" || describesSensor(head);
}

OpenedPicture openRaw(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    auto reader = RawReader::open(*bytes);
    // Compressed in a way that is newer than the library: what is there for every TIFF program.
    if (!reader && reader.error().kind == ErrorKind::Unsupported && isTiff(*bytes)) {
        if (auto tiff = openTiff(file))
            return tiff;
    }
    return reader;
}

OpenedPicture openRawThumbnail(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    RawFile raw;
    if (const int code = raw.open(*bytes); code != LIBRAW_SUCCESS)
        return errorOf(code);
    FileBytes preview(raw.preview());
    if (preview.head().isEmpty())
        return fail(ErrorKind::NotFound, QStringLiteral("no preview in the raw file"));
    auto jpeg = openJpeg(preview);
    if (!jpeg)
        return jpeg;
    return std::make_unique<PreviewReader>(std::move(*jpeg), raw.orientation());
}

} // namespace quorvane
