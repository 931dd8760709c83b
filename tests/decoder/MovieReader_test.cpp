// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MovieReader.h"
#include "decoder/Readers.h"
#include "support/MovieBytes.h"
#include "support/PictureBytes.h"

#include <QTemporaryFile>

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace quorvane {

namespace {

using tests::movieBytes;
using tests::MovieFixture;
using tests::Yuv;

OpenedPicture opened(const QByteArray& bytes)
{
    FileBytes file(bytes);
    return openMovieFrame(file);
}

Result<QImage> shown(const QByteArray& bytes, QSize size = {})
{
    auto reader = opened(bytes);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader, size);
}

QSize sizeOf(const MovieFixture& fixture)
{
    const auto reader = opened(movieBytes(fixture));
    EXPECT_TRUE(reader);
    return reader ? uprightSize((*reader)->header()) : QSize();
}

/// Which frame of the usual fixture it is that `image` shows, by its brightness.
int numberOf(const QImage& image)
{
    const double luma
        = 16 + qGreen(image.pixel(image.width() / 2, image.height() / 2)) * 219 / 255.0;
    return qRound((luma - 30) / 10);
}

int shownNumber(const QByteArray& bytes)
{
    const auto image = shown(bytes);
    return image ? numberOf(*image) : -1;
}

/// Four quarters as quarteredPicture() has them, in luma and chroma of BT.601.
Yuv quarterAt(int, double x, double y)
{
    if (y < 0.5)
        return x < 0.5 ? Yuv { 81, 90, 240 } : Yuv { 145, 54, 34 };
    return x < 0.5 ? Yuv { 41, 240, 110 } : Yuv { 235, 128, 128 };
}

constexpr qint32 kOne = 1 << 16;

std::array<qint32, 9> matrixOf(int a, int b, int c, int d)
{
    return { a * kOne, b * kOne, 0, c * kOne, d * kOne, 0, 0, 0, 1 << 30 };
}

int orientationOf(int a, int b, int c, int d)
{
    const auto matrix = matrixOf(a, b, c, d);
    qint32 numbers[9];
    std::copy(matrix.begin(), matrix.end(), numbers);
    return orientationOfMatrix(numbers);
}

} // namespace

TEST(MovieReader, FindsTheMiddleInSixHundredths)
{
    EXPECT_EQ(middleOf(10), 3000);
    EXPECT_EQ(middleOf(1), 300);
    EXPECT_EQ(middleOf(0.01), 3);
    // Cut off, not rounded.
    EXPECT_EQ(middleOf(0.0066), 1);
    EXPECT_EQ(middleOf(0.003), 0);
    EXPECT_EQ(middleOf(7200), 2160000);
}

TEST(MovieReader, FindsNoMiddleWithoutALength)
{
    EXPECT_EQ(middleOf(0), 0);
    EXPECT_EQ(middleOf(-5), 0);
    EXPECT_EQ(middleOf(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(middleOf(std::numeric_limits<double>::infinity()), 0);
}

TEST(MovieReader, KnowsTheEightWaysToTurn)
{
    EXPECT_EQ(orientationOf(1, 0, 0, 1), 1);
    EXPECT_EQ(orientationOf(-1, 0, 0, 1), 2);
    EXPECT_EQ(orientationOf(-1, 0, 0, -1), 3);
    EXPECT_EQ(orientationOf(1, 0, 0, -1), 4);
    EXPECT_EQ(orientationOf(0, 1, 1, 0), 5);
    EXPECT_EQ(orientationOf(0, 1, -1, 0), 6);
    EXPECT_EQ(orientationOf(0, -1, -1, 0), 7);
    EXPECT_EQ(orientationOf(0, -1, 1, 0), 8);
    EXPECT_EQ(orientationOf(0, 0, 0, 0), 1);
}

TEST(MovieReader, ShowsTheFrameAtHalfTheLength)
{
    // Twenty frames, ten a second: the eleventh appears after one second.
    for (const char* container : { "mov", "mp4", "matroska" })
        EXPECT_EQ(shownNumber(movieBytes({ .container = container })), 10) << container;
}

TEST(MovieReader, ShowsTheMiddleOfStreamsThatDoNotKnowHowLongTheirLastFrameIs)
{
    for (const char* container : { "nut", "mpegts" }) {
        const int number = shownNumber(movieBytes({ .container = container }));

        EXPECT_GE(number, 9) << container;
        EXPECT_LE(number, 10) << container;
    }
}

TEST(MovieReader, DecodesOnFromTheKeyFrameBefore)
{
    const MovieFixture fixture { .keyEvery = 100 };

    EXPECT_EQ(shownNumber(movieBytes(fixture)), 10);
}

TEST(MovieReader, ShowsTheOnlyFrame) { EXPECT_EQ(shownNumber(movieBytes({ .frames = 1 })), 0); }

TEST(MovieReader, ShowsTheNearestFrameOfAFileCutShort)
{
    // Without an index at the end; a key frame every five.
    QByteArray bytes = movieBytes({ .frames = 20, .container = "matroska" });
    bytes.truncate(bytes.size() * 4 / 10);

    const int number = shownNumber(bytes);

    EXPECT_GT(number, 1);
    EXPECT_LT(number, 10);
}

TEST(MovieReader, ReadsADescriptorAsItReadsBytes)
{
    const QByteArray bytes = movieBytes({});
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write(bytes);
    file.flush();
    const FileDescriptor descriptor(dup(file.handle()));
    FileBytes source(descriptor);

    const auto reader = openMovieFrame(source);

    ASSERT_TRUE(reader);
    const auto image = renderedImage(**reader);
    ASSERT_TRUE(image);
    EXPECT_EQ(*image, *shown(bytes));
}

TEST(MovieReader, AppliesTheShapeOfPixels)
{
    EXPECT_EQ(sizeOf({}), QSize(64, 48));
    EXPECT_EQ(sizeOf({ .pixelAspect = { 3, 2 } }), QSize(96, 48));
    EXPECT_EQ(sizeOf({ .pixelAspect = { 1, 2 } }), QSize(32, 48));
}

TEST(MovieReader, TurnsTheFrameOnce)
{
    const std::vector<std::pair<std::array<qint32, 9>, QByteArray>> rows = {
        { matrixOf(1, 0, 0, 1), "rgbw" },
        { matrixOf(-1, 0, 0, 1), "grwb" },
        { matrixOf(-1, 0, 0, -1), "wbgr" },
        { matrixOf(1, 0, 0, -1), "bwrg" },
        { matrixOf(0, 1, -1, 0), "brwg" },
        { matrixOf(0, -1, 1, 0), "gwrb" },
        { matrixOf(0, 1, 1, 0), "rbgw" },
    };
    for (const auto& [matrix, expected] : rows) {
        const bool isTurned = matrix[0] == 0;
        const auto reader = opened(movieBytes({ .matrix = matrix, .pixel = quarterAt }));
        ASSERT_TRUE(reader);
        EXPECT_EQ((*reader)->header().orientation, 1);
        EXPECT_EQ((*reader)->header().size, isTurned ? QSize(48, 64) : QSize(64, 48));

        const auto image = renderedImage(**reader);

        ASSERT_TRUE(image);
        EXPECT_EQ(tests::quarters(*image), expected);
    }
}

TEST(MovieReader, ScalesWhileItConverts)
{
    const QByteArray bytes = movieBytes({ .matrix = matrixOf(0, 1, -1, 0), .pixel = quarterAt });
    const auto reader = opened(bytes);
    ASSERT_TRUE(reader);
    const auto make = [](QSize size, QImage::Format format) { return QImage(size, format); };

    const auto small = (*reader)->decode({ 12, 16 }, make);
    const auto large = (*reader)->decode({ 480, 640 }, make);

    ASSERT_TRUE(small);
    EXPECT_EQ(small->image.size(), QSize(12, 16));
    EXPECT_EQ(tests::quarters(small->image), "brwg");
    ASSERT_TRUE(large);
    EXPECT_EQ(large->image.size(), QSize(48, 64));
}

TEST(MovieReader, HonoursTheMatrixOfTheColours)
{
    const auto red = [](int, double, double) { return Yuv { 81, 90, 240 }; };
    const auto old = shown(movieBytes({ .colorSpace = AVCOL_SPC_SMPTE170M, .pixel = red }));
    const auto newer = shown(movieBytes({ .colorSpace = AVCOL_SPC_BT709, .pixel = red }));

    ASSERT_TRUE(old && newer);
    EXPECT_NEAR(qGreen(old->pixel(9, 9)), 0, 6);
    EXPECT_GT(qGreen(newer->pixel(9, 9)), 15);
}

TEST(MovieReader, StretchesTheLimitedRange)
{
    const auto black = [](int, double, double) { return Yuv { 16, 128, 128 }; };
    const auto white = [](int, double, double) { return Yuv { 235, 128, 128 }; };

    EXPECT_LT(qRed(shown(movieBytes({ .pixel = black }))->pixel(5, 5)), 4);
    EXPECT_GT(qRed(shown(movieBytes({ .pixel = white }))->pixel(5, 5)), 251);
}

/// The number in little endian.
template <typename Number> QByteArray little(Number number)
{
    QByteArray bytes(sizeof number, '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

TEST(MovieReader, SurvivesAnIndexThatLeadsFarBehindTheEnd)
{
    QByteArray movie = movieBytes({ .container = "avi" });
    const qsizetype room = movie.indexOf("JUNK");
    ASSERT_GT(room, 0);
    // An index of indexes with one entry, whose distance from the end is positive as an int.
    const QByteArray index = little<quint16>(4) + QByteArray(2, '\0') + little<quint32>(1) + "00dc"
        + QByteArray(12, '\0') + little<quint64>(0x7FFF'FFFF'C000'0000) + little<quint32>(64)
        + little<quint32>(1);
    movie.replace(room, 4, "indx").replace(room + 8, index.size(), index);

    const auto image = shown(movie);
    // Libraries differ in whether they go on without the index; none may read beyond its buffer.
    EXPECT_TRUE(image || image.error().kind == ErrorKind::NotFound);
}

TEST(MovieReader, FindsNoPictureInSound)
{
    const auto reader = opened(movieBytes({ .container = "mov", .isSound = true }));

    ASSERT_FALSE(reader);
    EXPECT_EQ(reader.error().kind, ErrorKind::NotFound);
}

TEST(MovieReader, TakesACoverForNoMovie)
{
    const QByteArray cover = QByteArray("\0image/jpeg\0\3\0", 14)
        + tests::encodedPicture(tests::quarteredPicture({ 16, 16 }), "jpg");
    const auto size = static_cast<quint32>(cover.size());
    const QByteArray tag
        = "APIC" + tests::numberBytes(size, tests::ByteOrder::Big) + QByteArray(2, '\0') + cover;
    // The length has seven bits a byte.
    QByteArray music("ID3\3\0\0\0\0", 8);
    music += static_cast<char>(tag.size() >> 7 & 127);
    music += static_cast<char>(tag.size() & 127);
    music += tag;
    // Frames of silence: 128 kbit a second, 44.1 kHz.
    for (int i = 0; i < 20; ++i)
        music += QByteArray("\xFF\xFB\x90\x00", 4) + QByteArray(413, '\0');

    const auto reader = opened(music);

    ASSERT_FALSE(reader);
    EXPECT_EQ(reader.error().kind, ErrorKind::NotFound);
}

TEST(MovieReader, ReadsNoListOfOtherFiles)
{
    const QByteArray lists[] = {
        "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nfile:///etc/passwd\n#EXT-X-ENDLIST\n",
        "ffconcat version 1.0\nfile '/etc/passwd'\n",
        "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\"></MPD>",
    };
    for (const QByteArray& list : lists) {
        const auto reader = opened(list);

        ASSERT_FALSE(reader);
        EXPECT_EQ(reader.error().kind, ErrorKind::Unsupported);
    }
}

TEST(MovieReader, TakesAPictureForNoMovie)
{
    for (const char* format : { "png", "jpg", "bmp" }) {
        const auto reader
            = opened(tests::encodedPicture(tests::quarteredPicture({ 16, 16 }), format));

        ASSERT_FALSE(reader);
        EXPECT_EQ(reader.error().kind, ErrorKind::Unsupported) << format;
    }
    EXPECT_FALSE(opened({}));
}

} // namespace quorvane
