// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ExifData.h"

#include <QtEndian>

#include <libexif/exif-data.h>

#include <memory>

namespace quorvane {

namespace {

/// Every segment before the pixels: 0xFF, its kind, and its length in two bytes that count
/// themselves.
constexpr qsizetype kSegmentHead = 4;
constexpr char kExifSegment = '\xE1';
constexpr char kStartOfScan = '\xDA';

/// The contents of the EXIF segment, wherever it stands among the others. The library looks for it
/// by itself, but gives up at the first segment that is not a camera's.
QByteArray exifSegment(const QByteArray& jpeg)
{
    qsizetype place = 2; // Behind the marker that every file begins with.
    while (place + kSegmentHead <= jpeg.size() && jpeg[place] == '\xFF') {
        const char kind = jpeg[place + 1];
        if (kind == '\xFF') {
            ++place; // Any number of these may stand before a marker.
            continue;
        }
        const auto length = qFromBigEndian<quint16>(jpeg.constData() + place + 2);
        QByteArray contents = jpeg.mid(place + kSegmentHead, length - 2);
        if (kind == kExifSegment && contents.startsWith("Exif"))
            return contents;
        if (kind == kStartOfScan || length < 2)
            break;
        place += 2 + length;
    }
    return {};
}

using ExifPointer = std::unique_ptr<ExifData, decltype(&exif_data_unref)>;

ExifPointer exifOf(const QByteArray& jpeg)
{
    const QByteArray segment = exifSegment(jpeg);
    ExifPointer data(exif_data_new(), &exif_data_unref);
    // As it stands: the corrections that the library makes by itself drop tags that are merely odd.
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_set_option(data.get(), EXIF_DATA_OPTION_DONT_CHANGE_MAKER_NOTE);
    exif_data_load_data(data.get(), reinterpret_cast<const unsigned char*>(segment.constData()),
        static_cast<unsigned>(segment.size()));
    return data;
}

} // namespace

std::optional<int> exifOrientation(const QByteArray& jpeg)
{
    const ExifPointer data = exifOf(jpeg);
    ExifEntry* const entry = exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
    if (!entry || entry->components < 1)
        return {};
    const ExifByteOrder order = exif_data_get_byte_order(data.get());
    if (entry->format == EXIF_FORMAT_SHORT && entry->size >= 2)
        return exif_get_short(entry->data, order);
    if (entry->format == EXIF_FORMAT_LONG && entry->size >= 4)
        return static_cast<int>(exif_get_long(entry->data, order));
    return {};
}

QByteArray exifThumbnail(const QByteArray& jpeg)
{
    const ExifPointer data = exifOf(jpeg);
    if (!data->data || data->size == 0)
        return {};
    return { reinterpret_cast<const char*>(data->data), static_cast<qsizetype>(data->size) };
}

} // namespace quorvane
