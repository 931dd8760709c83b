// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ExifData.h"

#include <libexif/exif-data.h>

#include <algorithm>
#include <memory>

namespace quorvane {

namespace {

/// EXIF data stands in one segment of 64 KiB at most, near the beginning; what cameras put before
/// it is shorter than this.
constexpr qsizetype kSearched = 256 * 1024;

using ExifPointer = std::unique_ptr<ExifData, decltype(&exif_data_unref)>;

ExifPointer exifOf(const QByteArray& jpeg)
{
    const auto length = static_cast<unsigned>(std::min(jpeg.size(), kSearched));
    ExifPointer data(exif_data_new(), &exif_data_unref);
    // As it stands: the corrections that the library makes by itself drop tags that are merely odd.
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_set_option(data.get(), EXIF_DATA_OPTION_DONT_CHANGE_MAKER_NOTE);
    exif_data_load_data(
        data.get(), reinterpret_cast<const unsigned char*>(jpeg.constData()), length);
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
