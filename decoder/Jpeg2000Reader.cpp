// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Jpeg2000Reader.h"

#include "decoder/FileBytes.h"
#include "decoder/PictureFormats.h"

#include <QtEndian>

#include <openjpeg.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <optional>
#include <vector>

namespace quorvane {

namespace {

/// The samples of all components together: four bytes each while they are decoded.
constexpr qint64 kSampleLimit = qint64(1) << 30;

const QByteArray& signatureBox()
{
    static const QByteArray signature("\0\0\0\x0CjP  \r\n\x87\n", 12);
    return signature;
}

bool isCodestream(const QByteArray& head) { return head.startsWith("\xFF\x4F\xFF\x51"); }

/// The file as the library sees it.
struct Source {
    const QByteArray* bytes;
    qint64 position = 0;
};

OPJ_SIZE_T readSource(void* to, OPJ_SIZE_T size, void* handle)
{
    auto& source = *static_cast<Source*>(handle);
    const qint64 left = source.bytes->size() - source.position;
    if (left <= 0)
        return static_cast<OPJ_SIZE_T>(-1);
    const auto count = std::min(size, static_cast<OPJ_SIZE_T>(left));
    std::memcpy(to, source.bytes->constData() + source.position, count);
    source.position += static_cast<qint64>(count);
    return count;
}

OPJ_OFF_T skipSource(OPJ_OFF_T count, void* handle)
{
    auto& source = *static_cast<Source*>(handle);
    const qint64 target = std::clamp<qint64>(
        count > source.bytes->size() ? source.bytes->size() : source.position + count, 0,
        source.bytes->size());
    const qint64 skipped = target - source.position;
    source.position = target;
    return skipped == 0 && count != 0 ? -1 : skipped;
}

OPJ_BOOL seekSource(OPJ_OFF_T position, void* handle)
{
    auto& source = *static_cast<Source*>(handle);
    if (position < 0 || position > source.bytes->size())
        return OPJ_FALSE;
    source.position = position;
    return OPJ_TRUE;
}

void keepSilent(const char*, void*) { }

/// One run of the library's decoder over the file.
class Decoding {
public:
    /// \param bytes   must outlive this.
    /// \param reduce  how often both sides are halved.
    Decoding(const QByteArray& bytes, int reduce)
        : mSource { &bytes }
        , mStream(opj_stream_default_create(OPJ_TRUE))
        , mCodec(opj_create_decompress(isCodestream(bytes) ? OPJ_CODEC_J2K : OPJ_CODEC_JP2))
    {
        opj_stream_set_user_data(mStream.get(), &mSource, nullptr);
        opj_stream_set_user_data_length(mStream.get(), static_cast<OPJ_UINT64>(bytes.size()));
        opj_stream_set_read_function(mStream.get(), readSource);
        opj_stream_set_skip_function(mStream.get(), skipSource);
        opj_stream_set_seek_function(mStream.get(), seekSource);
        opj_set_info_handler(mCodec.get(), keepSilent, nullptr);
        opj_set_warning_handler(mCodec.get(), keepSilent, nullptr);
        opj_set_error_handler(mCodec.get(), keepSilent, nullptr);
        opj_dparameters_t parameters = {};
        opj_set_default_decoder_parameters(&parameters);
        parameters.cp_reduce = static_cast<OPJ_UINT32>(reduce);
        mIsReady = opj_setup_decoder(mCodec.get(), &parameters)
            && opj_decoder_set_strict_mode(mCodec.get(), OPJ_TRUE);
    }

    bool readHeader()
    {
        opj_image_t* image = nullptr;
        const bool done = mIsReady && opj_read_header(mStream.get(), mCodec.get(), &image);
        mImage.reset(image);
        return done && image && image->numcomps > 0;
    }

    bool decode()
    {
        return opj_decode(mCodec.get(), mStream.get(), mImage.get())
            && opj_end_decompress(mCodec.get(), mStream.get());
    }

    const opj_image_t& image() const { return *mImage; }

    /// How often the sides of every component can be halved.
    int reductions() const
    {
        opj_codestream_info_v2_t* info = opj_get_cstr_info(mCodec.get());
        if (!info)
            return 0;
        OPJ_UINT32 resolutions = 1;
        if (const opj_tccp_info_t* const all = info->m_default_tile_info.tccp_info) {
            resolutions = OPJ_J2K_MAXRLVLS;
            for (OPJ_UINT32 i = 0; i < info->nbcomps; ++i)
                resolutions = std::min(resolutions, all[i].numresolutions);
        }
        opj_destroy_cstr_info(&info);
        return std::max(0, static_cast<int>(resolutions) - 1);
    }

private:
    struct StreamCloser {
        void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
    };
    struct CodecCloser {
        void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
    };
    struct ImageCloser {
        void operator()(opj_image_t* image) const { opj_image_destroy(image); }
    };

    Source mSource;
    std::unique_ptr<opj_stream_t, StreamCloser> mStream;
    std::unique_ptr<opj_codec_t, CodecCloser> mCodec;
    std::unique_ptr<opj_image_t, ImageCloser> mImage;
    bool mIsReady = false;
};

template <typename Number> std::optional<Number> numberAt(const QByteArray& bytes, qint64 position)
{
    if (position < 0 || position > bytes.size() - qint64(sizeof(Number)))
        return std::nullopt;
    return qFromBigEndian<Number>(bytes.constData() + position);
}

/// Where the codestream begins; nothing if the file has none (yet).
std::optional<qint64> startOfCodestream(const QByteArray& bytes)
{
    if (isCodestream(bytes))
        return 0;
    constexpr quint32 kCodestreamBox = 0x6A703263; // "jp2c"
    qint64 position = 0;
    while (const auto type = numberAt<quint32>(bytes, position + 4)) {
        const qint64 length = *numberAt<quint32>(bytes, position);
        const qint64 headSize = length == 1 ? 16 : 8;
        if (*type == kCodestreamBox)
            return position + headSize;
        const qint64 whole
            = length == 1 ? numberAt<qint64>(bytes, position + 8).value_or(0) : length;
        if (whole < headSize || whole > bytes.size())
            return std::nullopt;
        position += whole;
    }
    return std::nullopt;
}

/// Whether the file holds all that its parts of tiles say they hold. The library decodes what
/// there is: a file cut between two of them would have gaps.
bool isWhole(const QByteArray& bytes)
{
    constexpr quint16 kStartOfTilePart = 0xFF90;
    constexpr quint16 kEndOfCodestream = 0xFFD9;
    const auto start = startOfCodestream(bytes);
    if (!start)
        return false;
    qint64 position = *start + 2;
    while (const auto marker = numberAt<quint16>(bytes, position)) {
        if (*marker == kEndOfCodestream)
            return true;
        qint64 length = 2 + qint64(numberAt<quint16>(bytes, position + 2).value_or(0));
        if (*marker == kStartOfTilePart) {
            length = numberAt<quint32>(bytes, position + 6).value_or(0);
            if (length == 0) // Until the end of the codestream.
                return bytes.lastIndexOf("\xFF\xD9") > position;
        }
        if (length < 2)
            return false;
        position += length;
    }
    return false;
}

/// The components that are shown, and how.
struct Channels {
    std::vector<const opj_image_comp_t*> colors; ///< 1 grey, 3, or 4 inks.
    const opj_image_comp_t* alpha = nullptr;
    bool isPremultiplied = false;
    bool isLumaChroma = false;
    QSize size; ///< Of the largest.
    int precision = 1; ///< Bits of the most precise.

    std::vector<const opj_image_comp_t*> all() const
    {
        auto channels = colors;
        if (alpha)
            channels.push_back(alpha);
        return channels;
    }
};

bool looksLikeLumaChroma(const opj_image_t& image)
{
    return image.numcomps == 3 && image.comps[0].dx == image.comps[0].dy && image.comps[1].dx != 1;
}

size_t colorCount(const opj_image_t& image, size_t available, const ColorProfile& profile)
{
    if (image.color_space == OPJ_CLRSPC_GRAY || available < 3)
        return 1;
    const bool isInk = image.color_space == OPJ_CLRSPC_CMYK
        || (image.color_space <= OPJ_CLRSPC_UNSPECIFIED
            && profile.model() == ColorProfile::Model::Cmyk);
    return isInk && available >= 4 ? 4 : 3;
}

/// \param isBare  a codestream without a file around it, which says nothing about transparency:
///                the usual order counts.
std::optional<Channels> channelsOf(
    const opj_image_t& image, bool isBare, const ColorProfile& profile)
{
    Channels channels;
    for (OPJ_UINT32 i = 0; i < image.numcomps; ++i) {
        const opj_image_comp_t& component = image.comps[i];
        const bool isLast = i + 1 == image.numcomps && (i == 1 || i == 3);
        if (component.alpha == 0 && !(isBare && isLast)) {
            channels.colors.push_back(&component);
        } else if (!channels.alpha) {
            channels.alpha = &component;
            channels.isPremultiplied = component.alpha == 2;
        }
    }
    if (channels.colors.empty())
        return std::nullopt;
    channels.colors.resize(colorCount(image, channels.colors.size(), profile));
    channels.isLumaChroma = channels.colors.size() == 3
        && (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC
            || (image.color_space != OPJ_CLRSPC_SRGB && looksLikeLumaChroma(image)));
    if (channels.colors.size() == 4)
        channels.alpha = nullptr;
    for (const opj_image_comp_t* const component : channels.all()) {
        if (!component->data || component->w == 0 || component->h == 0 || component->prec == 0
            || component->prec > 31)
            return std::nullopt;
        const QSize size(static_cast<int>(component->w), static_cast<int>(component->h));
        channels.size = channels.size.expandedTo(size);
        channels.precision = std::max(channels.precision, static_cast<int>(component->prec));
    }
    return channels;
}

/// Writes row `y` of `component`, widened to `width`, to every `step`th number from `to` on, as
/// 0 to 65535.
void takeRow(const opj_image_comp_t& component, QSize size, int y, quint16* to, int step)
{
    const qint64 most = (qint64(1) << component.prec) - 1;
    const qint64 shift = component.sgnd ? (most + 1) / 2 : 0;
    const qint64 row = qint64(y) * component.h / size.height();
    const OPJ_INT32* const data = component.data + row * component.w;
    const bool isWide = component.w == static_cast<OPJ_UINT32>(size.width());
    for (int x = 0; x < size.width(); ++x, to += step) {
        const qint64 column = isWide ? x : qint64(x) * component.w / size.width();
        *to = static_cast<quint16>(
            std::clamp(data[column] + shift, qint64(0), most) * 65535 / most);
    }
}

quint16 toWord(double value) { return static_cast<quint16>(std::clamp(value, 0.0, 65535.0) + 0.5); }

/// The matrix of BT.601, full range, in place.
void lumaChromaToRgb(quint16* pixel)
{
    const double luma = pixel[0];
    const double blue = pixel[1] - 32768.0;
    const double red = pixel[2] - 32768.0;
    pixel[0] = toWord(luma + 1.402 * red);
    pixel[1] = toWord(luma - 0.344136 * blue - 0.714136 * red);
    pixel[2] = toWord(luma + 1.772 * blue);
}

void divideByAlpha(quint16* pixel, size_t colors)
{
    const quint32 alpha = pixel[colors];
    for (size_t i = 0; i < colors && alpha > 0; ++i)
        pixel[i] = static_cast<quint16>(std::min<quint32>(pixel[i], alpha) * 65535 / alpha);
}

/// Some rows at a time, 16 bits a sample, on their way into the picture.
class RowConverter {
public:
    RowConverter(const Channels& channels, const ColorProfile& profile)
        : mChannels(channels)
        , mProfile(profile)
        , mAll(channels.all())
    {
        // Setting up a conversion of colours is worth some hundred rows.
        constexpr qint64 kPixels = qint64(1) << 20;
        mRows = static_cast<int>(
            std::clamp<qint64>(kPixels / channels.size.width(), 1, channels.size.height()));
        mWords.reset(new (std::nothrow)
                quint16[size_t(mRows) * size_t(channels.size.width()) * mAll.size()]);
    }

    bool isValid() const { return mWords != nullptr; }

    /// Whether the colours come out as sRGB.
    bool converts() const { return mChannels.precision > 8 || mChannels.colors.size() == 4; }

    bool convert(QImage& image)
    {
        for (int top = 0; top < image.height(); top += mRows) {
            const int rows = std::min(mRows, image.height() - top);
            for (int row = 0; row < rows; ++row)
                readRow(top + row, wordsOf(row));
            QImage part(
                image.scanLine(top), image.width(), rows, image.bytesPerLine(), image.format());
            if (!converts())
                writeBytes(part);
            else if (!writeConverted(part))
                return false;
        }
        return true;
    }

private:
    quint16* wordsOf(int row) const
    {
        return mWords.get() + size_t(row) * size_t(mChannels.size.width()) * mAll.size();
    }

    void readRow(int y, quint16* words) const
    {
        const auto step = static_cast<int>(mAll.size());
        for (int i = 0; i < step; ++i)
            takeRow(*mAll[size_t(i)], mChannels.size, y, words + i, step);
        quint16* const end = words + qsizetype(mChannels.size.width()) * step;
        for (quint16* pixel = words; mChannels.isPremultiplied && pixel < end; pixel += step)
            divideByAlpha(pixel, mChannels.colors.size());
        for (quint16* pixel = words; mChannels.isLumaChroma && pixel < end; pixel += step)
            lumaChromaToRgb(pixel);
    }

    void writeBytes(QImage& part) const
    {
        const size_t colors = mChannels.colors.size();
        for (int y = 0; y < part.height(); ++y) {
            const quint16* words = wordsOf(y);
            auto* const pixels = reinterpret_cast<QRgb*>(part.scanLine(y));
            for (int x = 0; x < part.width(); ++x, words += mAll.size()) {
                const int red = words[0] >> 8;
                const int green = colors == 1 ? red : words[1] >> 8;
                const int blue = colors == 1 ? red : words[2] >> 8;
                const int alpha = mChannels.alpha ? words[colors] >> 8 : 255;
                pixels[x] = qPremultiply(qRgba(red, green, blue, alpha));
            }
        }
    }

    bool writeConverted(QImage& part) const
    {
        auto layout = Samples::Layout::Cmyk;
        if (mChannels.colors.size() == 1)
            layout = mChannels.alpha ? Samples::Layout::GrayAlpha : Samples::Layout::Gray;
        else if (mChannels.colors.size() == 3)
            layout = mChannels.alpha ? Samples::Layout::Rgba : Samples::Layout::Rgb;
        const auto stride
            = static_cast<qsizetype>(size_t(part.width()) * mAll.size() * sizeof(quint16));
        const Samples samples { mWords.get(), stride, part.size(), layout, Samples::Depth::Bits16 };
        return convertToSrgb(samples, mProfile, part);
    }

    const Channels& mChannels;
    const ColorProfile& mProfile;
    std::vector<const opj_image_comp_t*> mAll;
    int mRows = 1;
    std::unique_ptr<quint16[]> mWords;
};

qint64 ceilDivided(qint64 number, qint64 by) { return (number + by - 1) / by; }

/// Of the largest component; as it is written down, so no number is trusted.
QSize sizeOf(const opj_image_t& image)
{
    qint64 width = 0;
    qint64 height = 0;
    for (OPJ_UINT32 i = 0; i < image.numcomps; ++i) {
        const qint64 dx = image.comps[i].dx;
        const qint64 dy = image.comps[i].dy;
        if (dx < 1 || dy < 1)
            return {};
        width = std::max(width, ceilDivided(image.x1, dx) - ceilDivided(image.x0, dx));
        height = std::max(height, ceilDivided(image.y1, dy) - ceilDivided(image.y0, dy));
    }
    if (width > INT_MAX || height > INT_MAX)
        return { INT_MAX, INT_MAX };
    return { static_cast<int>(width), static_cast<int>(height) };
}

tl::unexpected<Error> broken()
{
    return fail(ErrorKind::Damaged, QStringLiteral("the JPEG 2000 ends too soon or is broken"));
}

tl::unexpected<Error> noMemory()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
}

class Jpeg2000Reader : public PictureReader {
public:
    static OpenedPicture open(const QByteArray& bytes)
    {
        Decoding decoding(bytes, 0);
        if (!decoding.readHeader())
            return broken();
        auto reader = std::make_unique<Jpeg2000Reader>();
        reader->mBytes = bytes;
        reader->mSize = sizeOf(decoding.image());
        reader->mReductions = decoding.reductions();
        reader->mComponents = decoding.image().numcomps;
        if (reader->mSize.isEmpty())
            return broken();
        if (!isReasonable(reader->mSize))
            return fail(ErrorKind::TooLarge, QStringLiteral("the JPEG 2000 has too many pixels"));
        return reader;
    }

    PictureHeader header() const override { return { mSize, 1 }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        if (!isWhole(mBytes))
            return broken();
        const int reduce = reductionFor(wanted);
        const qint64 samples
            = (qint64(mSize.width()) * mSize.height() >> (2 * reduce)) * mComponents;
        if (samples > kSampleLimit)
            return fail(ErrorKind::TooLarge, QStringLiteral("too many samples"));
        Decoding decoding(mBytes, reduce);
        if (decoding.readHeader() && decoding.decode())
            return convert(decoding.image(), makeImage);
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

    Result<DecodedPicture> convert(const opj_image_t& image, const ImageMaker& makeImage) const
    {
        if (image.icc_profile_buf && image.icc_profile_len == 0)
            return fail(ErrorKind::Unsupported, QStringLiteral("JPEG 2000 in CIELab"));
        DecodedPicture picture;
        if (image.icc_profile_buf)
            picture.profile = ColorProfile::fromIcc(
                QByteArray(reinterpret_cast<const char*>(image.icc_profile_buf),
                    static_cast<qsizetype>(image.icc_profile_len)));
        const auto channels = channelsOf(image, isCodestream(mBytes), picture.profile);
        if (!channels)
            return broken();
        RowConverter rows(*channels, picture.profile);
        picture.image = makeImage(channels->size,
            channels->alpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        if (!rows.isValid() || picture.image.isNull())
            return noMemory();
        if (!rows.convert(picture.image))
            return fail(ErrorKind::Unsupported, QStringLiteral("colours beyond conversion"));
        if (rows.converts())
            picture.profile = {};
        return picture;
    }

    QByteArray mBytes;
    QSize mSize;
    int mReductions = 0;
    qint64 mComponents = 1;
};

} // namespace

bool isJpeg2000(const QByteArray& head)
{
    return head.startsWith(signatureBox()) || isCodestream(head);
}

OpenedPicture openJpeg2000(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    return Jpeg2000Reader::open(*bytes);
}

} // namespace quorvane
