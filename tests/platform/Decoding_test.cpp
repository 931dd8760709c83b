// SPDX-License-Identifier: GPL-3.0-or-later
// From an open file to pixels through the real decoder, whatever the file is.
#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"
#include "support/FixtureFolder.h"
#include "support/PictureBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <set>
#include <string>

namespace quorvane {

namespace {

using tests::FixtureFolder;
using What = DecodeRequest::What;

QColor picturesRed() { return { 0xe0, 0, 0 }; }

/// Small red pictures of 6 x 4 pixels in formats that Qt reads but does not write. The second of
/// the two frames of "gif" is blue.
std::map<std::string, QByteArray> foreignPictures()
{
    QByteArray targa(18, '\0');
    targa[2] = 2; // True colour.
    targa[12] = 6;
    targa[14] = 4;
    targa[16] = 24; // Bits.
    return {
        { "gif",
            QByteArray::fromBase64("R0lGODlhBgAEAPAAAOAAAAAAACH5BAAAAAAAIf8LTkVUU0NBUEUyLjADAQAAAC"
                                   "wAAAAABgAEAAACBISPqVcAIfkEAAAAAAAsAAAAAAYABACAAADgAAAAAgSEj6lX"
                                   "ADs=") },
        { "svg",
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"6\" height=\"4\">"
            "<rect width=\"6\" height=\"4\" fill=\"#e00000\"/></svg>" },
        { "svgz",
            QByteArray::fromBase64("H4sIAAAAAAACA22MSQ6AIAwAv9LUOyVqPBjgM4pAgkugsT5fuTvXmYypd4Bnz0"
                                   "e1GJmvmUhElAzqLIF6rTV9BYKklaPFCSH6FCJbHNGZ4hf+VbClnC12XjeQnGkb"
                                   "9wJVUQ9NbgAAAA==") },
        { "tga",
            targa + QByteArray("\0\0\xe0", 3).repeated(24) + QByteArray(8, '\0')
                + QByteArray("TRUEVISION-XFILE.\0", 18) },
    };
}

/// Red is grey, black or white in the others.
bool hasColours(const std::string& format)
{
    return !std::set<std::string> { "wbmp", "xbm", "pbm", "pgm" }.contains(format);
}

struct DecodingTest : testing::Test {
    FixtureFolder folder;

    Result<DecodeAnswer> decoded(const QByteArray& bytes, What what = What::Picture,
        std::function<QSize(QSize)> sizeFor = {}, const QByteArray& name = "name.txt")
    {
        const auto file = openForReading(FileURL(folder.write(name, bytes)));
        if (!file)
            return tl::unexpected(file.error());
        return decode(*file, { .what = what, .sizeFor = std::move(sizeFor) });
    }

    /// Nothing if it was decoded.
    std::optional<ErrorKind> refusal(const QByteArray& bytes, What what = What::Picture)
    {
        const auto answer = decoded(bytes, what);
        return answer ? std::nullopt : std::optional(answer.error().kind);
    }
};

QByteArray red(const QByteArray& format, QSize size = { 6, 4 })
{
    return tests::encodedPicture(tests::solidPicture(size, picturesRed()), format);
}

/// A picture that no format compresses much.
QImage busyPicture() { return tests::numberedPicture({ 64, 48 }); }

QByteArray gif() { return foreignPictures().at("gif"); }

bool isReddish(QColor colour)
{
    return colour.red() > 200 && colour.green() < 60 && colour.blue() < 60;
}

TEST_F(DecodingTest, DecodesByContentsWhateverTheName)
{
    auto pictures = foreignPictures();
    for (const char* const format :
        { "jpg", "png", "bmp", "ppm", "pgm", "pbm", "xbm", "xpm", "tiff", "webp", "ico", "icns" })
        pictures[format] = red(format);

    for (const auto& [format, bytes] : pictures) {
        for (const char* name : { "name.txt", "name", "name.png", "name.jpg", "name.tga" }) {
            const auto answer = decoded(bytes, What::Picture, {}, name);

            ASSERT_TRUE(answer) << format << " called " << name;
            const QImage image = answer->pixels.image();
            if (format != "icns") { // It knows a few sizes of squares only.
                EXPECT_EQ(image.size(), QSize(6, 4)) << format << " called " << name;
            }
            if (hasColours(format)) {
                EXPECT_TRUE(isReddish(image.pixelColor(2, 2))) << format << " called " << name;
            }
        }
    }
}

TEST_F(DecodingTest, DecodesTheFirstFrameOnly)
{
    const auto answer = decoded(gif());

    ASSERT_TRUE(answer);
    EXPECT_TRUE(isReddish(answer->pixels.image().pixelColor(0, 0)));
}

TEST_F(DecodingTest, KeepsTransparency)
{
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(qRgba(255, 0, 0, 128));

    const auto answer = decoded(tests::encodedPicture(image, "png"));

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.image().pixelColor(0, 0), QColor(255, 0, 0, 128));
}

TEST_F(DecodingTest, DoesNotKnowWhatIsNoPicture)
{
    for (const QByteArray& bytes : { QByteArray(), QByteArray("text, plain"), QByteArray("\0", 1),
             QByteArray(1000, '\0'), QByteArray("<html></html>"), QByteArray("PK\x03\x04") })
        EXPECT_EQ(refusal(bytes), ErrorKind::Unsupported) << bytes.left(8).toHex().constData();
}

TEST_F(DecodingTest, TakesPageDescriptionsForNoPictures)
{
    for (const QByteArray& bytes : { QByteArray("%PDF-1.4\n%%EOF"), QByteArray("%!PS-Adobe-3.0"),
             QByteArray("\xC5\xD0\xD3\xC6") + QByteArray(26, '\0') })
        EXPECT_EQ(refusal(bytes), ErrorKind::Unsupported) << bytes.left(8).toHex().constData();
}

TEST_F(DecodingTest, RefusesWhatEndsTooSoon)
{
    for (const char* format : { "jpg", "png", "webp", "tiff", "ppm", "ico", "xpm" }) {
        const QByteArray whole = tests::encodedPicture(busyPicture(), format);
        ASSERT_FALSE(whole.isEmpty()) << format;
        ASSERT_EQ(refusal(whole), std::nullopt) << format;

        EXPECT_EQ(refusal(whole.left(whole.size() / 2)), ErrorKind::Damaged) << format;
    }
}

TEST_F(DecodingTest, RefusesFilesThatEndBeforeTheirPixels)
{
    EXPECT_EQ(refusal(gif().left(46)), ErrorKind::Damaged);
    EXPECT_EQ(refusal(red("bmp").left(40)), ErrorKind::Damaged);
    EXPECT_TRUE(refusal("\xFF\xD8\xFF"));
}

TEST_F(DecodingTest, ShowsASecondFrameThatEndsTooSoonAllTheSame)
{
    EXPECT_EQ(refusal(gif().chopped(8)), std::nullopt);
}

TEST_F(DecodingTest, SurvivesBeingCutAnywhere)
{
    auto pictures = foreignPictures();
    for (const char* format : { "jpg", "png", "bmp", "webp", "tiff", "ico", "ppm", "xpm" })
        pictures[format] = red(format);

    for (const auto& [format, bytes] : pictures) {
        for (qsizetype length = 0; length < bytes.size(); length += 1 + bytes.size() / 16) {
            const auto answer = decoded(bytes.left(length));
            EXPECT_TRUE(!answer || !answer->pixels.isNull()) << format << ", " << length;
        }
    }
}

TEST_F(DecodingTest, DecodesFourInks)
{
    const auto answer = decoded(tests::cmykJpeg());

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.size(), QSize(8, 8));
    EXPECT_TRUE(isReddish(answer->pixels.image().pixelColor(4, 4)));
}

TEST_F(DecodingTest, TurnsFourInks)
{
    const auto answer = decoded(tests::withOrientation(tests::cmykJpeg(), 6), What::StoredPicture);

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->orientation, 6);
}

TEST_F(DecodingTest, RefusesTwelveBits)
{
    QByteArray bytes = red("jpg");
    bytes[tests::frameHeader(bytes) + 4] = 12;

    EXPECT_TRUE(refusal(bytes));
}

/// How the four quarters of a stored picture look once it is upright, by its orientation; 0 and 9
/// are no orientations.
constexpr const char* kUprightQuarters[]
    = { "rgbw", "rgbw", "grwb", "wbgr", "bwrg", "rbgw", "brwg", "wgbr", "gwrb", "rgbw" };

TEST_F(DecodingTest, TurnsAPictureUpright)
{
    const QByteArray plain = tests::encodedPicture(tests::quarteredPicture({ 60, 40 }), "jpg");
    for (quint16 orientation = 0; orientation <= 9; ++orientation) {
        const auto answer = decoded(tests::withOrientation(plain, orientation));

        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->orientation, 1);
        EXPECT_EQ(tests::quarters(answer->pixels.image()), kUprightQuarters[orientation])
            << orientation;
        const bool isTurned = orientation >= 5 && orientation <= 8;
        EXPECT_EQ(answer->pixels.size(), isTurned ? QSize(40, 60) : QSize(60, 40));
        EXPECT_EQ(answer->pictureSize, answer->pixels.size());
    }
}

TEST_F(DecodingTest, LeavesAPictureThatIsWantedAsStoredAsItIs)
{
    const QByteArray plain = tests::encodedPicture(tests::quarteredPicture({ 60, 40 }), "jpg");
    for (quint16 orientation = 0; orientation <= 9; ++orientation) {
        const auto answer
            = decoded(tests::withOrientation(plain, orientation), What::StoredPicture);

        ASSERT_TRUE(answer);
        const bool isKnown = orientation >= 1 && orientation <= 8;
        EXPECT_EQ(answer->orientation, isKnown ? orientation : 1);
        EXPECT_EQ(tests::quarters(answer->pixels.image()), QByteArray("rgbw"));
        EXPECT_EQ(answer->pixels.size(), QSize(60, 40));
    }
}

TEST_F(DecodingTest, TurnsAPictureOfAnotherFormatUpright)
{
    using Handler = QImageIOHandler;
    const std::pair<int, Handler::Transformation> orientations[]
        = { { 1, Handler::TransformationNone }, { 2, Handler::TransformationMirror },
              { 3, Handler::TransformationRotate180 }, { 4, Handler::TransformationFlip },
              { 5, Handler::TransformationFlipAndRotate90 }, { 6, Handler::TransformationRotate90 },
              { 7, Handler::TransformationMirrorAndRotate90 },
              { 8, Handler::TransformationRotate270 } };

    for (const auto& [orientation, transformation] : orientations) {
        const auto answer = decoded(
            tests::encodedPicture(tests::quarteredPicture({ 60, 40 }), "tiff", transformation));

        ASSERT_TRUE(answer);
        EXPECT_EQ(tests::quarters(answer->pixels.image()), kUprightQuarters[orientation])
            << orientation;
    }
}

TEST_F(DecodingTest, LosesTheTransparencyOfATurnedPictureToBlack)
{
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(Qt::transparent);

    const auto answer
        = decoded(tests::encodedPicture(image, "tiff", QImageIOHandler::TransformationRotate90));

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.image().pixelColor(0, 0), QColor(Qt::black));
}

/// Kilobytes of address space that this program has ever had at a time.
qint64 mostMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmPeak:") + 7).trimmed().split(' ').first().toLongLong();
}

QByteArray pngHeader(quint32 width, quint32 height)
{
    const auto number
        = [](quint32 value) { return tests::numberBytes(value, tests::ByteOrder::Big); };
    const QByteArray contents
        = "IHDR" + number(width) + number(height) + QByteArray("\x08\x02\0\0\0", 5);
    quint32 crc = 0xFFFFFFFF;
    for (const char byte : contents) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return QByteArray("\x89PNG\r\n\x1a\n") + number(13) + contents + number(~crc);
}

TEST_F(DecodingTest, RefusesAHugeSizeBeforeItTakesMemory)
{
    QByteArray bitmap = red("bmp");
    bitmap.replace(
        18, 8, tests::numberBytes(quint32(60'000), tests::ByteOrder::Little).repeated(2));
    QByteArray frames = gif();
    frames.replace(6, 4, tests::numberBytes(quint16(60'000), tests::ByteOrder::Little).repeated(2));
    const std::pair<const char*, QByteArray> told[] = {
        { "jpg", tests::withClaimedSize(red("jpg"), 60'000, 60'000) },
        { "png", pngHeader(60'000, 60'000) + red("png").mid(33) },
    };
    // Whose readers take such a size for a broken header.
    const std::pair<const char*, QByteArray> untold[]
        = { { "bmp", bitmap }, { "gif", frames }, { "ppm", "P6 60000 60000 255\n" } };
    const qint64 before = mostMemory();

    for (const auto& [format, bytes] : told)
        EXPECT_EQ(refusal(bytes), ErrorKind::TooLarge) << format;
    for (const auto& [format, bytes] : untold)
        EXPECT_TRUE(refusal(bytes)) << format;

    EXPECT_LT(mostMemory() - before, 256 * 1024);
}

TEST_F(DecodingTest, RefusesAHugeFileBeforeItIsRead)
{
    const QByteArray path = folder.write("name", red("jpg"));
    ASSERT_EQ(truncate(path.constData(), (off_t(1) << 30) + 1), 0);
    const auto file = openForReading(FileURL(path));
    ASSERT_TRUE(file);

    const auto answer = decode(*file, {});

    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().kind, ErrorKind::TooLarge);
}

TEST_F(DecodingTest, SaysThatItCannotRead)
{
    const auto answer = decode(FileDescriptor(), {});

    ASSERT_FALSE(answer);
}

TEST_F(DecodingTest, GivesExactlyTheSizeAskedFor)
{
    for (const char* format : { "jpg", "png", "webp", "bmp", "tiff" }) {
        const QByteArray bytes
            = tests::encodedPicture(tests::quarteredPicture({ 400, 200 }), format);
        for (const QSize size :
            { QSize(50, 25), QSize(399, 199), QSize(800, 400), QSize(10, 60) }) {
            const auto answer = decoded(bytes, What::Picture, [&](QSize) { return size; });

            ASSERT_TRUE(answer) << format;
            EXPECT_EQ(answer->pixels.size(), size) << format;
            EXPECT_EQ(answer->pictureSize, QSize(400, 200)) << format;
            EXPECT_EQ(tests::quarters(answer->pixels.image()), QByteArray("rgbw")) << format;
        }
    }
}

TEST_F(DecodingTest, TellsTheSizeOfTheUprightPictureBeforeItAsksForTheSizeWanted)
{
    const QByteArray bytes = tests::withOrientation(
        tests::encodedPicture(tests::quarteredPicture({ 400, 200 }), "jpg"), 6);

    const auto answer = decoded(bytes, What::Picture, [](QSize size) { return size / 10; });

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.size(), QSize(20, 40));
    EXPECT_EQ(tests::quarters(answer->pixels.image()), kUprightQuarters[6]);
}

TEST_F(DecodingTest, DecodesTheEmbeddedThumbnail)
{
    const QByteArray bytes = tests::withExif(red("jpg", { 80, 60 }),
        { .main = { { .value = 6 } },
            .thumbnail = tests::encodedPicture(tests::quarteredPicture({ 40, 30 }), "jpg") });

    const auto answer = decoded(bytes, What::SmallPicture);

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.size(), QSize(30, 40));
    EXPECT_EQ(tests::quarters(answer->pixels.image()), kUprightQuarters[6]);
}

TEST_F(DecodingTest, DecodesThePictureWhereThereIsNoThumbnail)
{
    for (const QByteArray& bytes : { QByteArray(), QByteArray("no picture") }) {
        const auto answer = decoded(
            tests::withExif(red("jpg"), { .main = {}, .thumbnail = bytes }), What::SmallPicture);

        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->pictureSize, QSize(6, 4));
    }
    EXPECT_EQ(refusal(red("png"), What::SmallPicture), std::nullopt);
    EXPECT_EQ(refusal({}, What::SmallPicture), ErrorKind::Unsupported);
}

TEST_F(DecodingTest, RefusesADamagedThumbnail)
{
    const QByteArray thumbnail = tests::encodedPicture(busyPicture(), "jpg");
    const auto holding = [](const QByteArray& bytes) {
        return tests::withExif(red("jpg"), { .main = {}, .thumbnail = bytes });
    };

    EXPECT_EQ(refusal(holding(thumbnail.left(thumbnail.size() / 2)), What::SmallPicture),
        ErrorKind::Damaged);
    EXPECT_EQ(
        refusal(holding(tests::withClaimedSize(thumbnail, 60'000, 60'000)), What::SmallPicture),
        ErrorKind::TooLarge);
}

TEST_F(DecodingTest, DecodesTheThumbnailOfADamagedPicture)
{
    const QByteArray picture = tests::encodedPicture(busyPicture(), "jpg");
    const QByteArray bytes = tests::withExif(
        picture.left(picture.size() / 2), { .main = {}, .thumbnail = red("jpg", { 40, 30 }) });

    EXPECT_EQ(refusal(bytes), ErrorKind::Damaged);
    EXPECT_EQ(refusal(bytes, What::SmallPicture), std::nullopt);
}

} // namespace

} // namespace quorvane
