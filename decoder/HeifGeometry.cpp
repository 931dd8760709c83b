// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/HeifGeometry.h"

#include "decoder/ByteReader.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace quorvane {

namespace {

struct Box {
    QByteArrayView type;
    QByteArrayView contents;
};

/// The box that `bytes` begin with, which are then those after it.
std::optional<Box> takeBox(QByteArrayView& bytes)
{
    if (bytes.size() < 8)
        return std::nullopt;
    quint64 size = bigAt<quint32>(bytes, 0);
    qsizetype header = 8;
    if (size == 1 && bytes.size() >= 16) {
        size = bigAt<quint64>(bytes, 8);
        header = 16;
    } else if (size == 0) {
        size = static_cast<quint64>(bytes.size());
    }
    if (size < static_cast<quint64>(header) || size > static_cast<quint64>(bytes.size()))
        return std::nullopt;
    const auto end = static_cast<qsizetype>(size);
    const Box box { bytes.sliced(4, 4), bytes.sliced(header, end - header) };
    bytes = bytes.sliced(end);
    return box;
}

std::vector<Box> boxesIn(QByteArrayView bytes)
{
    std::vector<Box> boxes;
    while (const auto box = takeBox(bytes))
        boxes.push_back(*box);
    return boxes;
}

/// The contents of the first box of that type; empty if there is none.
QByteArrayView boxIn(QByteArrayView bytes, const char* type)
{
    for (const Box& box : boxesIn(bytes)) {
        if (box.type == QByteArrayView(type))
            return box.contents;
    }
    return {};
}

/// Which properties belong to `item`, by number, in the order in which they apply.
std::vector<size_t> propertiesOf(QByteArrayView associations, std::uint32_t item)
{
    ByteReader reader(associations);
    const auto versionAndFlags = reader.take<quint32>();
    const bool hasLongItems = versionAndFlags >> 24 > 0;
    const bool hasLongNumbers = (versionAndFlags & 1) != 0;
    const auto items = reader.take<quint32>();
    std::vector<size_t> properties;
    for (quint32 i = 0; i < items && reader.isSound(); ++i) {
        const std::uint32_t id = hasLongItems ? reader.take<quint32>() : reader.take<quint16>();
        const auto count = reader.take<quint8>();
        for (int j = 0; j < count; ++j) {
            // The highest bit says whether a reader may ignore the property.
            const size_t number
                = hasLongNumbers ? reader.take<quint16>() & 0x7fffU : reader.take<quint8>() & 0x7fU;
            if (id == item)
                properties.push_back(number);
        }
    }
    return properties;
}

QSize storedSize(QByteArrayView contents)
{
    ByteReader reader(contents);
    reader.skip(4); // Version and flags.
    constexpr quint32 kLongest = 1U << 30;
    const quint32 width = std::min(reader.take<quint32>(), kLongest);
    const quint32 height = std::min(reader.take<quint32>(), kLongest);
    return { static_cast<int>(width), static_cast<int>(height) };
}

/// Two numbers, as their quotient.
double takeFraction(ByteReader& reader)
{
    const double numerator = reader.take<qint32>();
    const double denominator = reader.take<qint32>();
    return denominator == 0 ? 0 : numerator / denominator;
}

/// What is left of a side of `length` when only `kept` of it counts, whose middle lies `offset`
/// from the middle of the side. Rounded as the library that crops it does.
int keptLength(int length, double kept, double offset)
{
    const double left = std::floor(offset + (length - 1) / 2.0 - (kept - 1) / 2);
    const double right = std::floor(kept - 1 + left + 0.5);
    const double inside = std::min(right, length - 1.0) - std::max(left, 0.0) + 1;
    return static_cast<int>(std::clamp(inside, 0.0, double(length)));
}

QSize croppedSize(QSize size, QByteArrayView contents)
{
    ByteReader reader(contents);
    const double width = takeFraction(reader);
    const double height = takeFraction(reader);
    const double x = takeFraction(reader);
    const double y = takeFraction(reader);
    return { keptLength(size.width(), width, x), keptLength(size.height(), height, y) };
}

QSize turnedSize(QSize size, QByteArrayView contents)
{
    const bool isQuarter = !contents.isEmpty() && (contents.front() & 1) != 0;
    return isQuarter ? size.transposed() : size;
}

QSize transformed(QSize size, const std::vector<Box>& properties)
{
    for (const Box& property : properties) {
        if (property.type == QByteArrayView("clap"))
            size = croppedSize(size, property.contents);
        else if (property.type == QByteArrayView("irot"))
            size = turnedSize(size, property.contents);
    }
    return size;
}

} // namespace

std::optional<QSize> uprightHeifSize(const QByteArray& file, std::uint32_t item)
{
    const QByteArrayView meta = boxIn(file, "meta");
    const QByteArrayView container = meta.size() > 4 ? boxIn(meta.sliced(4), "iprp") : meta;
    const std::vector<Box> known = boxesIn(boxIn(container, "ipco"));
    std::vector<Box> properties;
    QSize size;
    for (const size_t number : propertiesOf(boxIn(container, "ipma"), item)) {
        if (number == 0 || number > known.size())
            continue;
        properties.push_back(known[number - 1]);
        if (properties.back().type == QByteArrayView("ispe"))
            size = storedSize(properties.back().contents);
    }
    if (size.isEmpty())
        return std::nullopt;
    return transformed(size, properties);
}

} // namespace quorvane
