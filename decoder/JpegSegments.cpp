// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/JpegSegments.h"

#include "decoder/ByteReader.h"

#include <algorithm>

namespace quorvane {

namespace {

/// Every segment before the pixels: 0xFF, its kind, and its length in two bytes that count
/// themselves.
constexpr qsizetype kSegmentHead = 4;

constexpr int kStartOfScan = 0xDA;
constexpr int kExif = 0xE1;
constexpr int kProfile = 0xE2;
constexpr int kAdobe = 0xEE;

/// The frame headers of arithmetic coding: in sequence, and progressive.
constexpr int kArithmetic = 0xC9;
constexpr int kProgressiveArithmetic = 0xCA;

/// Before each part of a profile: these letters, which part it is (counted from 1), and of how
/// many.
constexpr QByteArrayView kProfileLetters("ICC_PROFILE\0", 12);
constexpr qsizetype kProfileHead = 14;

int byteAt(const QByteArray& bytes, qsizetype place)
{
    return static_cast<unsigned char>(bytes[place]);
}

} // namespace

std::vector<JpegSegment> jpegSegments(const QByteArray& jpeg)
{
    std::vector<JpegSegment> segments;
    qsizetype place = 2; // Behind the marker that every file begins with.
    while (place + kSegmentHead <= jpeg.size() && jpeg[place] == '\xFF') {
        const int kind = byteAt(jpeg, place + 1);
        if (kind == 0xFF) {
            ++place; // Any number of these may stand before a marker.
            continue;
        }
        const auto length = bigAt<quint16>(jpeg, place + 2);
        if (kind == kStartOfScan || length < 2)
            break;
        segments.push_back({ kind, jpeg.mid(place + kSegmentHead, length - 2) });
        place += 2 + length;
    }
    return segments;
}

QByteArray iccProfileOf(const std::vector<JpegSegment>& segments)
{
    std::vector<QByteArray> parts;
    size_t found = 0;
    for (const JpegSegment& segment : segments) {
        const QByteArray& contents = segment.contents;
        if (segment.kind != kProfile || contents.size() <= kProfileHead
            || !contents.startsWith(kProfileLetters))
            continue;
        const auto number = static_cast<size_t>(byteAt(contents, 12));
        const auto count = static_cast<size_t>(byteAt(contents, 13));
        if (number < 1 || number > count)
            return {};
        parts.resize(std::max(parts.size(), count));
        QByteArray& part = parts[number - 1];
        found += part.isEmpty() ? 1 : 0;
        part = contents.mid(kProfileHead);
    }
    if (found != parts.size())
        return {};
    QByteArray profile;
    for (const QByteArray& part : parts)
        profile += part;
    return profile;
}

QByteArray exifDataOf(const std::vector<JpegSegment>& segments)
{
    // Other data that is not EXIF's comes in segments of the same kind.
    const auto found = std::find_if(segments.begin(), segments.end(), [](const JpegSegment& one) {
        return one.kind == kExif && one.contents.startsWith("Exif");
    });
    return found == segments.end() ? QByteArray() : found->contents;
}

bool hasAdobeSegment(const std::vector<JpegSegment>& segments)
{
    return std::any_of(segments.begin(), segments.end(), [](const JpegSegment& one) {
        return one.kind == kAdobe && one.contents.startsWith("Adobe");
    });
}

bool isArithmetic(const std::vector<JpegSegment>& segments)
{
    return std::any_of(segments.begin(), segments.end(), [](const JpegSegment& one) {
        return one.kind == kArithmetic || one.kind == kProgressiveArithmetic;
    });
}

} // namespace quorvane
