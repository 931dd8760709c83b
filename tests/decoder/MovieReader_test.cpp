// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MovieReader.h"
#include "decoder/Readers.h"
#include "support/MovieBytes.h"
#include "support/PictureBytes.h"
#include "support/TrackBytes.h"

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

QByteArray quarteredJpeg()
{
    return tests::encodedPicture(tests::quarteredPicture({ 16, 16 }), "jpg");
}

MovieInformation informationOf(const QByteArray& bytes)
{
    FileBytes file(bytes);
    auto information = readMovieInformation(file);
    EXPECT_TRUE(information);
    return information.value_or(MovieInformation {});
}

std::optional<ErrorKind> refusalOf(const QByteArray& bytes)
{
    FileBytes file(bytes);
    const auto information = readMovieInformation(file);
    return information ? std::nullopt : std::optional(information.error().kind);
}

Result<QByteArray> coverOf(const QByteArray& bytes)
{
    FileBytes file(bytes);
    return readMovieCover(file);
}

/// Which frame of the usual fixture is seen at a moment.
int numberAt(const QByteArray& bytes, double seconds)
{
    FileBytes file(bytes);
    const auto reader = openMovieFrame(file, seconds);
    const auto image = reader ? renderedImage(**reader) : tl::unexpected(reader.error());
    return image ? numberOf(*image) : -1;
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
    const auto reader = opened(tests::musicBytes(tests::coverFrame(3, quarteredJpeg())));

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

TEST(MovieReader, ShowsTheFrameOfAnyMoment)
{
    const QByteArray movie = movieBytes({ .keyEvery = 7 });
    for (int frame = 0; frame < 20; ++frame) {
        EXPECT_EQ(numberAt(movie, frame / 10.), frame);
        EXPECT_EQ(numberAt(movie, frame / 10. + 0.09), frame);
    }
}

TEST(MovieReader, MeetsFramesWhoseMomentsHaveNoEndOfDigits)
{
    for (const int rate : { 7, 24, 30, 60 }) {
        const QByteArray movie = movieBytes({ .framesPerSecond = rate });
        for (int frame = 0; frame < 20; ++frame)
            EXPECT_EQ(numberAt(movie, double(frame) / rate), frame) << rate;
    }
}

TEST(MovieReader, ShowsTheNearestFrameBeyondTheEnds)
{
    for (const char* container : { "mov", "matroska", "mpegts" }) {
        const QByteArray movie = movieBytes({ .container = container });
        for (const double before : { -1., -1e300, std::numeric_limits<double>::quiet_NaN() })
            EXPECT_EQ(numberAt(movie, before), 0) << container;
        for (const double behind : { 2., 3., 1e6, 1e300, std::numeric_limits<double>::infinity() })
            EXPECT_EQ(numberAt(movie, behind), 19) << container;
    }
}

TEST(MovieReader, CountsTracks)
{
    const MovieInformation one = informationOf(tests::trackBytes({ .tracks = "p" }));
    const MovieInformation several = informationOf(tests::trackBytes({ .tracks = "pspss" }));
    const MovieInformation sound = informationOf(tests::trackBytes({ .tracks = "s" }));

    EXPECT_EQ(one.pictureTracks, 1);
    EXPECT_EQ(one.soundTracks, 0);
    EXPECT_EQ(several.pictureTracks, 2);
    EXPECT_EQ(several.soundTracks, 3);
    EXPECT_EQ(sound.pictureTracks, 0);
    EXPECT_EQ(sound.soundTracks, 1);
    EXPECT_TRUE(sound.naturalSize.isEmpty());
}

TEST(MovieReader, CountsNoCoverAsATrack)
{
    const MovieInformation information
        = informationOf(tests::musicBytes(tests::coverFrame(3, quarteredJpeg())));

    EXPECT_EQ(information.pictureTracks, 0);
    EXPECT_EQ(information.soundTracks, 1);
    EXPECT_TRUE(information.naturalSize.isEmpty());
}

TEST(MovieReader, TellsTheSizeInWhichAMovieIsSeen)
{
    const auto turned = matrixOf(0, 1, -1, 0);
    const auto sizeTold = [](const MovieFixture& fixture) {
        return informationOf(movieBytes(fixture)).naturalSize;
    };

    EXPECT_EQ(sizeTold({}), QSize(64, 48));
    EXPECT_EQ(sizeTold({ .pixelAspect = { 3, 2 } }), QSize(96, 48));
    EXPECT_EQ(sizeTold({ .matrix = turned }), QSize(48, 64));
    EXPECT_EQ(sizeTold({ .pixelAspect = { 1, 2 }, .matrix = turned }), QSize(48, 32));
    EXPECT_EQ(sizeTold({ .matrix = matrixOf(-1, 0, 0, -1) }), QSize(64, 48));
}

TEST(MovieReader, TellsHowLongAMovieIs)
{
    for (const char* container : { "mov", "mp4", "matroska", "avi" }) {
        const auto seconds = informationOf(movieBytes({ .container = container })).seconds;
        ASSERT_TRUE(seconds) << container;
        EXPECT_NEAR(*seconds, 2, 0.01) << container;
    }
    EXPECT_EQ(informationOf(tests::trackBytes({ .tracks = "s" })).seconds, 1);
}

TEST(MovieReader, TellsALengthAsItIsClaimed)
{
    constexpr quint32 kHours = 20 * 3600;
    const QByteArray movie = tests::withClaimedDuration(movieBytes({}), kHours * 1000);

    const auto information = informationOf(movie);

    EXPECT_EQ(information.seconds, kHours);
    EXPECT_EQ(shownNumber(movie), 19) << "The nearest to the middle";
    EXPECT_EQ(numberAt(movie, 0.5), 5);
}

TEST(MovieReader, KnowsNoLengthWhereTheTracksSayThatTheyDoNot)
{
    const QByteArray movie
        = tests::trackBytes({ .tracks = "ps", .flags = "frag_keyframe+empty_moov" });
    constexpr quint32 kUnknown = 0xFFFFFFFF;

    EXPECT_EQ(informationOf(tests::withClaimedDuration(movie, kUnknown)).seconds, std::nullopt);
}

TEST(MovieReader, TellsTheTitle)
{
    for (const char* container : { "mov", "mp4", "matroska", "avi" }) {
        const MovieFixture fixture { .container = container,
            .title = "Gr\xC3\xBC\xC3\x9F"
                     "e" };
        EXPECT_EQ(informationOf(movieBytes(fixture)).title, QStringLiteral("Gr\u00FC\u00DFe"))
            << container;
    }
    EXPECT_TRUE(informationOf(movieBytes({})).title.isEmpty());
}

TEST(MovieReader, TellsATitleInOneLine)
{
    EXPECT_EQ(informationOf(movieBytes({ .title = " a\n\tlittle  house " })).title,
        QStringLiteral("a little house"));
}

TEST(MovieReader, TakesATitleThatIsNotUtf8ForLatin1)
{
    const MovieFixture fixture { .container = "avi",
        .title = "Gr\xFC\xDF"
                 "e" };

    EXPECT_EQ(informationOf(movieBytes(fixture)).title, QStringLiteral("Gr\u00FC\u00DFe"));
}

TEST(MovieReader, TakesTheTitleOfATrackForTheFilesWhereTheFileHasNone)
{
    const tests::TrackFixture named {
        .tracks = "s", .container = "matroska", .trackTitle = "Comments"
    };
    const tests::TrackFixture music { .tracks = "o", .container = "ogg", .trackTitle = "Song" };

    EXPECT_TRUE(informationOf(tests::trackBytes(named)).title.isEmpty());
    EXPECT_EQ(informationOf(tests::trackBytes(music)).title, QStringLiteral("Song"));
}

TEST(MovieReader, TellsWhatAFileCutShortStillHas)
{
    QByteArray movie = movieBytes({ .container = "matroska", .title = "Rest" });
    movie.truncate(movie.size() / 2);

    const auto information = informationOf(movie);

    EXPECT_EQ(information.pictureTracks, 1);
    EXPECT_EQ(information.naturalSize, QSize(64, 48));
    EXPECT_EQ(information.title, QStringLiteral("Rest"));
}

TEST(MovieReader, SurvivesAnyCut)
{
    const QByteArray whole[] = { movieBytes({ .frames = 4, .title = "Cut" }),
        movieBytes({ .frames = 4, .container = "avi", .title = "Cut" }),
        tests::musicBytes(tests::coverFrame(3, quarteredJpeg())) };
    for (const QByteArray& bytes : whole) {
        for (qsizetype length = 0; length < bytes.size(); length += 1 + bytes.size() / 60) {
            FileBytes information(bytes.left(length));
            FileBytes cover(bytes.left(length));
            const auto told = readMovieInformation(information);
            readMovieCover(cover);
            EXPECT_TRUE(!told || !told->seconds || *told->seconds >= 0) << length;
        }
    }
}

TEST(MovieReader, KnowsNothingOfWhatIsNoMovie)
{
    EXPECT_EQ(refusalOf({}), ErrorKind::Unsupported);
    EXPECT_EQ(refusalOf("text, plain"), ErrorKind::Unsupported);
    EXPECT_EQ(refusalOf(movieBytes({}).left(64)), ErrorKind::Unsupported) << "header only";
    EXPECT_EQ(refusalOf(quarteredJpeg()), ErrorKind::Unsupported);
    EXPECT_EQ(coverOf({}).error().kind, ErrorKind::Unsupported);
}

TEST(MovieReader, TellsThatAFileHasNoTracks)
{
    // All that a movie needs, but every track under a name that nobody knows.
    QByteArray movie = movieBytes({});
    movie.replace("trak", "free");

    const auto information = informationOf(movie);

    EXPECT_EQ(information.pictureTracks, 0);
    EXPECT_EQ(information.soundTracks, 0);
    EXPECT_EQ(opened(movie).error().kind, ErrorKind::NotFound);
}

TEST(MovieReader, SurvivesNoFramesASecond)
{
    QByteArray movie = movieBytes({});
    const qsizetype times = movie.indexOf("stts");
    ASSERT_GT(times, 0);
    movie.replace(times + 16, 4, QByteArray(4, '\0')); // How long each frame is.

    EXPECT_EQ(informationOf(movie).naturalSize, QSize(64, 48));
    EXPECT_GE(shownNumber(movie), 0);
    EXPECT_GE(numberAt(movie, 1), 0);
}

TEST(MovieReader, HandsOverTheCover)
{
    const QByteArray picture = quarteredJpeg();

    EXPECT_EQ(coverOf(tests::musicBytes(tests::coverFrame(3, picture))), picture);
}

TEST(MovieReader, PrefersTheFrontCover)
{
    const QByteArray front = quarteredJpeg();
    const QByteArray back = tests::encodedPicture(tests::solidPicture({ 9, 9 }, Qt::blue), "jpg");
    const QByteArray other = tests::encodedPicture(tests::solidPicture({ 8, 8 }, Qt::red), "jpg");

    const auto cover = [](const QByteArray& frames) { return coverOf(tests::musicBytes(frames)); };
    using tests::coverFrame;
    EXPECT_EQ(cover(coverFrame(4, back) + coverFrame(3, front) + coverFrame(0, other)), front);
    EXPECT_EQ(cover(coverFrame(4, back) + coverFrame(0, other)), back);
}

TEST(MovieReader, FindsNoCoverWhereThereIsNone)
{
    for (const QByteArray& bytes :
        { movieBytes({}), tests::musicBytes({}), tests::musicBytes(tests::coverFrame(3, {})) }) {
        const auto cover = coverOf(bytes);

        ASSERT_FALSE(cover);
        EXPECT_EQ(cover.error().kind, ErrorKind::NotFound);
    }
}

} // namespace quorvane
