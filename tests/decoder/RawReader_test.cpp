// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/RawReader.h"
#include "decoder/Readers.h"
#include "decoder/TiffReader.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quorvane {

namespace {

using tests::ByteOrder;
using tests::numberBytes;

constexpr quint16 kByte = 1;
constexpr quint16 kText = 2;
constexpr quint16 kShort = 3;
constexpr quint16 kLong = 4;
constexpr quint16 kRational = 5;
constexpr quint16 kSignedRational = 10;

/// One entry of a directory, its numbers written out.
struct Entry {
    quint16 tag;
    quint16 type;
    QByteArray values;

    quint32 count() const
    {
        const int size = type == kShort                    ? 2
            : type == kLong                                ? 4
            : type == kRational || type == kSignedRational ? 8
                                                           : 1;
        return static_cast<quint32>(values.size() / size);
    }
};

QByteArray shorts(const std::vector<quint16>& numbers)
{
    QByteArray bytes;
    for (const quint16 number : numbers)
        bytes += numberBytes(number, ByteOrder::Little);
    return bytes;
}

QByteArray longs(const std::vector<quint32>& numbers)
{
    QByteArray bytes;
    for (const quint32 number : numbers)
        bytes += numberBytes(number, ByteOrder::Little);
    return bytes;
}

/// A directory that is to stand at `start`, with what does not fit into it behind it.
QByteArray directoryAt(quint32 start, std::vector<Entry> entries)
{
    std::sort(entries.begin(), entries.end(),
        [](const Entry& one, const Entry& other) { return one.tag < other.tag; });
    QByteArray bytes = numberBytes(static_cast<quint16>(entries.size()), ByteOrder::Little);
    QByteArray behind;
    const auto end = start + 2 + static_cast<quint32>(entries.size()) * 12 + 4;
    for (const Entry& entry : entries) {
        bytes += shorts({ entry.tag, entry.type }) + longs({ entry.count() });
        if (entry.values.size() <= 4) {
            bytes += entry.values.leftJustified(4, '\0');
        } else {
            bytes += longs({ end + static_cast<quint32>(behind.size()) });
            behind += entry.values;
            if (behind.size() % 2)
                behind += '\0';
        }
    }
    return bytes + longs({ 0 }) + behind;
}

struct Fixture {
    QSize size { 64, 48 };
    int orientation = 1;
    QByteArray preview = {}; ///< A JPEG file.
    QSize previewSize = {};
};

/// What a sensor with red, green and blue before its pixels sees of a scene of four quarters:
/// red, green, blue and white.
QByteArray sensorOf(const Fixture& fixture)
{
    constexpr quint16 kWhite = 16000;
    QByteArray bytes;
    for (int y = 0; y < fixture.size.height(); ++y) {
        for (int x = 0; x < fixture.size.width(); ++x) {
            const int filter = (y & 1) + (x & 1); // 0 red, 1 green, 2 blue
            const bool isLeft = 2 * x < fixture.size.width();
            const bool isTop = 2 * y < fixture.size.height();
            const int scene = isTop ? (isLeft ? 0 : 1) : (isLeft ? 2 : 3);
            bytes += shorts({ scene == 3 || scene == filter ? kWhite : quint16(0) });
        }
    }
    return bytes;
}

QByteArray rationals(const std::vector<int>& tenths)
{
    QByteArray bytes;
    for (const int number : tenths)
        bytes += longs({ static_cast<quint32>(number), 10 });
    return bytes;
}

std::vector<Entry> sensorEntries(const Fixture& fixture, quint32 data)
{
    const auto width = static_cast<quint32>(fixture.size.width());
    const auto height = static_cast<quint32>(fixture.size.height());
    return {
        { 0x00FE, kLong, longs({ 0 }) },
        { 0x0100, kLong, longs({ width }) },
        { 0x0101, kLong, longs({ height }) },
        { 0x0102, kShort, shorts({ 16 }) },
        { 0x0103, kShort, shorts({ 1 }) },
        { 0x0106, kShort, shorts({ 32803 }) },
        { 0x0111, kLong, longs({ data }) },
        { 0x0115, kShort, shorts({ 1 }) },
        { 0x0116, kLong, longs({ height }) },
        { 0x0117, kLong, longs({ width * height * 2 }) },
        { 0x828D, kShort, shorts({ 2, 2 }) },
        { 0x828E, kByte, QByteArray("\0\1\1\2", 4) },
        { 0xC61D, kLong, longs({ 16000 }) },
    };
}

std::vector<Entry> cameraEntries(const Fixture& fixture)
{
    return {
        { 0x010F, kText, QByteArray("Quorvane\0", 9) },
        { 0x0110, kText, QByteArray("Test\0", 5) },
        { 0x0112, kShort, shorts({ static_cast<quint16>(fixture.orientation) }) },
        { 0xC612, kByte, QByteArray("\1\4\0\0", 4) },
        { 0xC614, kText, QByteArray("Quorvane Test\0", 14) },
        { 0xC621, kSignedRational, rationals({ 10, 0, 0, 0, 10, 0, 0, 0, 10 }) },
        { 0xC628, kRational, rationals({ 10, 10, 10 }) },
    };
}

std::vector<Entry> joined(std::vector<Entry> some, const std::vector<Entry>& more)
{
    some.insert(some.end(), more.begin(), more.end());
    return some;
}

/// A DNG: the sensor's picture, or a preview first and the sensor's picture below it.
QByteArray dngOf(const Fixture& fixture)
{
    const QByteArray sensor = sensorOf(fixture);
    const auto first = static_cast<quint32>(8);
    const auto afterSensor = first + static_cast<quint32>(sensor.size());
    const auto start
        = [](quint32 directory) { return QByteArray("II*\0", 4) + longs({ directory }); };
    if (fixture.preview.isEmpty())
        return start(afterSensor) + sensor
            + directoryAt(
                afterSensor, joined(sensorEntries(fixture, first), cameraEntries(fixture)));
    const QByteArray preview = fixture.preview + QByteArray(fixture.preview.size() % 2, '\0');
    const auto below = afterSensor + static_cast<quint32>(preview.size());
    const QByteArray belowBytes = directoryAt(below, sensorEntries(fixture, first));
    const auto top = below + static_cast<quint32>(belowBytes.size());
    const std::vector<Entry> previewEntries = {
        { 0x00FE, kLong, longs({ 1 }) },
        { 0x0100, kLong, longs({ static_cast<quint32>(fixture.previewSize.width()) }) },
        { 0x0101, kLong, longs({ static_cast<quint32>(fixture.previewSize.height()) }) },
        { 0x0102, kShort, shorts({ 8, 8, 8 }) },
        { 0x0103, kShort, shorts({ 7 }) },
        { 0x0106, kShort, shorts({ 6 }) },
        { 0x0111, kLong, longs({ afterSensor }) },
        { 0x0115, kShort, shorts({ 3 }) },
        { 0x0116, kLong, longs({ static_cast<quint32>(fixture.previewSize.height()) }) },
        { 0x0117, kLong, longs({ static_cast<quint32>(fixture.preview.size()) }) },
        { 0x014A, kLong, longs({ below }) },
    };
    return start(top) + sensor + preview + belowBytes
        + directoryAt(top, joined(previewEntries, cameraEntries(fixture)));
}

/// Grey, so that nobody takes it for the developed picture.
Fixture withPreview(QSize previewSize, int orientation = 1)
{
    Fixture fixture { .orientation = orientation };
    fixture.preview = tests::encodedPicture(tests::solidPicture(previewSize, Qt::gray), "jpg");
    fixture.previewSize = previewSize;
    return fixture;
}

OpenedPicture opened(const QByteArray& bytes)
{
    FileBytes file(bytes);
    return openRaw(file);
}

Result<QImage> shown(const QByteArray& bytes, QSize size = {})
{
    auto reader = opened(bytes);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader, size);
}

bool isPreview(const QImage& image)
{
    const QRgb pixel = image.pixel(image.width() / 4, image.height() / 4);
    return std::abs(qRed(pixel) - qGreen(pixel)) < 20;
}

/// A TIFF of grey eight-bit pixels, as a raw developer writes it, with one entry more.
QByteArray plainTiff(const std::vector<Entry>& more)
{
    const std::vector<Entry> entries = {
        { 0x0100, kLong, longs({ 4 }) },
        { 0x0101, kLong, longs({ 4 }) },
        { 0x0102, kShort, shorts({ 8 }) },
        { 0x0103, kShort, shorts({ 1 }) },
        { 0x0106, kShort, shorts({ 1 }) },
        { 0x010F, kText, QByteArray("NIKON CORPORATION\0", 18) },
        { 0x0111, kLong, longs({ 8 }) },
        { 0x0116, kLong, longs({ 4 }) },
        { 0x0117, kLong, longs({ 16 }) },
    };
    std::vector<Entry> kept;
    for (const Entry& entry : entries) {
        if (std::none_of(more.begin(), more.end(),
                [&](const Entry& other) { return other.tag == entry.tag; }))
            kept.push_back(entry);
    }
    return QByteArray("II*\0", 4) + longs({ 24 }) + QByteArray(16, '\x50')
        + directoryAt(24, joined(kept, more));
}

} // namespace

TEST(RawReader, RecognizesTheMakersOwnFormats)
{
    const QByteArray heads[] = {
        QByteArray("\0\0\0\x18"
                   "ftypcrx \0\0\0\1",
            16),
        QByteArray("II*\0\x10\0\0\0CR\2\0", 12),
        "FUJIFILMCCD-RAW 0201",
        QByteArray("IIRO\x08\0\0\0", 8),
        QByteArray("IIRS\x08\0\0\0", 8),
        QByteArray("MMOR\0\0\0\x08", 8),
        QByteArray("IIU\0\x18\0\0\0", 8),
        QByteArray("\0MRM\0\0\0\0", 8),
        QByteArray("II\x1A\0\0\0HEAPCCDR", 14),
        "FOVb",
        QByteArray("II*\0\x08\0\0\0IIII", 12),
    };
    for (const QByteArray& head : heads)
        EXPECT_TRUE(isRaw(head)) << head.toHex().constData();
    EXPECT_FALSE(isRaw({}));
    EXPECT_FALSE(isRaw(QByteArray("\0\0\0\x18"
                                  "ftypheic",
        12)));
}

TEST(RawReader, TellsRawFilesFromTiffFiles)
{
    EXPECT_TRUE(isRaw(dngOf({})));
    EXPECT_TRUE(isRaw(dngOf(withPreview({ 32, 24 }))));
    EXPECT_FALSE(isRaw(plainTiff({})));
    EXPECT_TRUE(isTiff(plainTiff({})));
    EXPECT_TRUE(isRaw(plainTiff({ { 0x0106, kShort, shorts({ 32803 }) } })));
    EXPECT_TRUE(isRaw(plainTiff({ { 0x0106, kShort, shorts({ 34892 }) } })));
    EXPECT_TRUE(isRaw(plainTiff({ { 0x0103, kShort, shorts({ 34713 }) } })));
    EXPECT_TRUE(isRaw(plainTiff({ { 0xC634, kByte, QByteArray(4, '\1') } })));
}

TEST(RawReader, SurvivesDirectoriesThatPointAnywhere)
{
    // To itself, behind the end, and a list of nowhere.
    EXPECT_FALSE(isRaw(plainTiff({ { 0x014A, kLong, longs({ 24 }) } })));
    EXPECT_FALSE(isRaw(plainTiff({ { 0x014A, kLong, longs({ 0xFFFFFFFF }) } })));
    EXPECT_FALSE(isRaw(plainTiff({ { 0x014A, kLong, longs({ 0xFFFFFFFF, 0xFFFFFFF0, 1 }) } })));
    EXPECT_FALSE(isRaw(QByteArray("II*\0\xFF\xFF\xFF\xFF", 8)));
}

TEST(RawReader, DevelopsWhatTheSensorSaw)
{
    const auto image = shown(dngOf({}));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(64, 48));
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(tests::quarters(*image), "rgbw");
}

TEST(RawReader, DevelopsAtHalfTheSizeWhereThatIsEnough)
{
    const auto reader = opened(dngOf({}));
    ASSERT_TRUE(reader);
    const auto make = [](QSize size, QImage::Format format) { return QImage(size, format); };

    const auto small = (*reader)->decode({ 32, 24 }, make);
    const auto large = (*reader)->decode({ 33, 24 }, make);

    ASSERT_TRUE(small && large);
    EXPECT_EQ(small->image.size(), QSize(32, 24));
    EXPECT_EQ(tests::quarters(small->image), "rgbw");
    EXPECT_EQ(large->image.size(), QSize(64, 48));
}

TEST(RawReader, TurnsThePictureOnce)
{
    const char* const expected[]
        = { "rgbw", "grwb", "wbgr", "bwrg", "rbgw", "brwg", "wgbr", "gwrb" };
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto reader = opened(dngOf({ .orientation = orientation }));
        ASSERT_TRUE(reader);
        EXPECT_EQ((*reader)->header().size, QSize(64, 48));
        EXPECT_EQ((*reader)->header().orientation, orientation);

        const auto image = renderedImage(**reader);

        ASSERT_TRUE(image);
        EXPECT_EQ(tests::quarters(*image), expected[orientation - 1]) << orientation;
    }
}

TEST(RawReader, ShowsThePreviewWhereItIsLargeEnough)
{
    const QByteArray small = dngOf(withPreview({ 32, 24 }));

    EXPECT_TRUE(isPreview(*shown(small, { 32, 24 })));
    EXPECT_TRUE(isPreview(*shown(small, { 20, 15 })));
    EXPECT_FALSE(isPreview(*shown(small, { 33, 24 })));
    EXPECT_FALSE(isPreview(*shown(small)));
    // A few rows less than the sensor has.
    EXPECT_TRUE(isPreview(*shown(dngOf(withPreview({ 62, 47 })))));
    EXPECT_EQ(shown(dngOf(withPreview({ 62, 47 })))->size(), QSize(64, 48));
}

TEST(RawReader, ShowsNoPreviewOfAnotherShape)
{
    // With black edges, as some cameras make them.
    EXPECT_FALSE(isPreview(*shown(dngOf(withPreview({ 32, 32 })), { 20, 15 })));
}

TEST(RawReader, TurnsThePreviewLikeThePictureAndIgnoresItsOwnTag)
{
    Fixture fixture = withPreview({ 32, 24 }, 6);
    fixture.preview = tests::withOrientation(
        tests::encodedPicture(tests::quarteredPicture({ 32, 24 }), "jpg"), 3);
    FileBytes file(dngOf(fixture));

    const auto thumbnail = openRawThumbnail(file);
    const auto image = shown(dngOf(fixture), { 18, 24 });

    ASSERT_TRUE(thumbnail);
    EXPECT_EQ((*thumbnail)->header().size, QSize(32, 24));
    EXPECT_EQ((*thumbnail)->header().orientation, 6);
    EXPECT_EQ(tests::quarters(*renderedImage(**thumbnail)), "brwg");
    ASSERT_TRUE(image);
    EXPECT_EQ(tests::quarters(*image), "brwg");
}

TEST(RawReader, FindsNoThumbnailWhereThereIsNone)
{
    FileBytes file(dngOf({}));

    const auto thumbnail = openRawThumbnail(file);

    ASSERT_FALSE(thumbnail);
    EXPECT_EQ(thumbnail.error().kind, ErrorKind::NotFound);
}

TEST(RawReader, NeverShowsAPartOfASensor)
{
    // The directory first, so that a cut takes of the sensor's numbers only.
    const Fixture fixture;
    const auto size = static_cast<quint32>(
        directoryAt(8, joined(sensorEntries(fixture, 0), cameraEntries(fixture))).size());
    const QByteArray bytes = QByteArray("II*\0", 4) + longs({ 8 })
        + directoryAt(8, joined(sensorEntries(fixture, 8 + size), cameraEntries(fixture)))
        + sensorOf(fixture);
    ASSERT_TRUE(shown(bytes));
    for (int tenth = 0; tenth < 10; ++tenth)
        EXPECT_FALSE(shown(bytes.left(bytes.size() * tenth / 10))) << tenth;
}

} // namespace quorvane
