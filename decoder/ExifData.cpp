// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ExifData.h"

#include <libexif/exif-data.h>

namespace quorvane {

namespace {

constexpr QByteArrayView kLetters("Exif\0\0", 6);

/// Of the colour space tag. The second is not in the standard, but some cameras write it.
constexpr int kUncalibrated = 0xFFFF;
constexpr int kAdobeRgb = 2;

/// What an entry of one whole number holds.
std::optional<int> numberOf(const ExifEntry* entry, ExifByteOrder order)
{
    if (!entry || entry->components < 1)
        return {};
    if (entry->format == EXIF_FORMAT_SHORT && entry->size >= 2)
        return exif_get_short(entry->data, order);
    if (entry->format == EXIF_FORMAT_LONG && entry->size >= 4)
        return static_cast<int>(exif_get_long(entry->data, order));
    return {};
}

} // namespace

struct PictureExif::Data {
    std::unique_ptr<::ExifData, decltype(&exif_data_unref)> exif { exif_data_new(),
        &exif_data_unref };

    std::optional<int> number(ExifIfd directory, ExifTag tag) const
    {
        return numberOf(exif_content_get_entry(exif->ifd[directory], tag),
            exif_data_get_byte_order(exif.get()));
    }
};

PictureExif::PictureExif(const QByteArray& data)
    : mData(std::make_unique<Data>())
{
    ::ExifData* const exif = mData->exif.get();
    // As it stands: the corrections that the library makes by itself drop tags that are merely odd.
    exif_data_unset_option(exif, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_unset_option(exif, EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_set_option(exif, EXIF_DATA_OPTION_DONT_CHANGE_MAKER_NOTE);
    if (data.isEmpty())
        return;
    const QByteArray whole = data.startsWith("Exif") ? data : kLetters.toByteArray() + data;
    exif_data_load_data(exif, reinterpret_cast<const unsigned char*>(whole.constData()),
        static_cast<unsigned>(whole.size()));
}

PictureExif::~PictureExif() = default;

std::optional<int> PictureExif::orientationTag() const
{
    return mData->number(EXIF_IFD_0, EXIF_TAG_ORIENTATION);
}

int PictureExif::orientation() const
{
    const int tag = orientationTag().value_or(1);
    return tag >= 1 && tag <= 8 ? tag : 1;
}

bool PictureExif::isAdobeRgb() const
{
    const int space = mData->number(EXIF_IFD_EXIF, EXIF_TAG_COLOR_SPACE).value_or(kUncalibrated);
    if (space != kUncalibrated)
        return space == kAdobeRgb;
    const ExifEntry* const index = exif_content_get_entry(
        mData->exif->ifd[EXIF_IFD_INTEROPERABILITY], EXIF_TAG_INTEROPERABILITY_INDEX);
    return index && index->size >= 3
        && QByteArrayView(index->data, static_cast<qsizetype>(index->size)).startsWith("R03");
}

QByteArray PictureExif::thumbnail() const
{
    const ::ExifData* const exif = mData->exif.get();
    if (!exif->data || exif->size == 0)
        return {};
    return { reinterpret_cast<const char*>(exif->data), static_cast<qsizetype>(exif->size) };
}

} // namespace quorvane
