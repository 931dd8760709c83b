// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/RawRecognition.h"

#include "decoder/ByteReader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace quorvane {

namespace {

constexpr quint16 kCompression = 0x0103;
constexpr quint16 kPhotometric = 0x0106;
constexpr quint16 kSubDirectories = 0x014A;
constexpr quint16 kDngVersion = 0xC612;
constexpr quint16 kMakerData = 0xC634; ///< DNG's and Sony's place for the maker's own data.

constexpr quint32 kColorFilters = 32803;
constexpr quint32 kLinearRaw = 34892;

/// Sony, Kodak (twice), Samsung, Nikon, Kodak again, Pentax.
constexpr std::array<quint32, 7> kCameraCompressions
    = { 32767, 262, 32867, 32770, 34713, 65000, 65535 };

/// More directories than any camera writes.
constexpr size_t kDirectoryLimit = 32;

/// A TIFF directory's entry.
struct Entry {
    quint16 tag;
    quint16 type;
    quint32 count;
    qsizetype value; ///< Where its four bytes stand.
};

class Directories {
public:
    explicit Directories(const QByteArray& head)
        : mHead(head)
        , mIsBig(head.startsWith("MM"))
    {
    }

    bool describeSensor()
    {
        queue(number<quint32>(4));
        // Grows while it is walked through.
        for (size_t i = 0; i < mOffsets.size() && i < kDirectoryLimit; ++i) {
            if (directoryDescribesSensor(mOffsets[i]))
                return true;
        }
        return false;
    }

private:
    template <typename Number> std::optional<Number> number(qsizetype position) const
    {
        if (!hasBytesAt(mHead, position, sizeof(Number)))
            return std::nullopt;
        return mIsBig ? bigAt<Number>(mHead, position) : littleAt<Number>(mHead, position);
    }

    void queue(std::optional<quint32> offset)
    {
        if (offset && *offset != 0
            && std::find(mOffsets.begin(), mOffsets.end(), *offset) == mOffsets.end())
            mOffsets.push_back(*offset);
    }

    bool directoryDescribesSensor(quint32 offset)
    {
        const int count = number<quint16>(offset).value_or(0);
        const qsizetype start = qsizetype(offset) + 2;
        for (int i = 0; i < count; ++i) {
            const auto entry = entryAt(start + qsizetype(i) * 12);
            if (!entry)
                return false;
            if (describesSensor(*entry))
                return true;
            if (entry->tag == kSubDirectories)
                queueAll(*entry);
        }
        queue(number<quint32>(start + qsizetype(count) * 12));
        return false;
    }

    std::optional<Entry> entryAt(qsizetype position) const
    {
        const auto tag = number<quint16>(position);
        const auto type = number<quint16>(position + 2);
        const auto count = number<quint32>(position + 4);
        if (!tag || !type || !count || !number<quint32>(position + 8))
            return std::nullopt;
        return Entry { *tag, *type, *count, position + 8 };
    }

    bool describesSensor(const Entry& entry) const
    {
        if (entry.tag == kDngVersion || entry.tag == kMakerData)
            return true;
        if (entry.tag != kPhotometric && entry.tag != kCompression)
            return false;
        constexpr quint16 kShort = 3;
        const quint32 value = entry.type == kShort ? number<quint16>(entry.value).value_or(0)
                                                   : number<quint32>(entry.value).value_or(0);
        if (entry.tag == kPhotometric)
            return value == kColorFilters || value == kLinearRaw;
        return std::find(kCameraCompressions.begin(), kCameraCompressions.end(), value)
            != kCameraCompressions.end();
    }

    void queueAll(const Entry& entry)
    {
        if (entry.count == 1) {
            queue(number<quint32>(entry.value));
            return;
        }
        const qsizetype list = number<quint32>(entry.value).value_or(0);
        for (quint32 i = 0; i < entry.count && i < kDirectoryLimit; ++i)
            queue(number<quint32>(list + qsizetype(i) * 4));
    }

    const QByteArray& mHead;
    bool mIsBig;
    std::vector<quint32> mOffsets;
};

} // namespace

bool describesSensor(const QByteArray& head) { return Directories(head).describeSensor(); }

} // namespace quorvane
