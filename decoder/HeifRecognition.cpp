// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/HeifRecognition.h"

#include "decoder/ByteReader.h"

#include <algorithm>
#include <array>
#include <vector>

namespace quorvane {

namespace {

/// The brands of the file's first box: the major one first.
std::vector<QByteArrayView> brandsOf(const QByteArray& head)
{
    constexpr qsizetype kHeader = 8;
    if (head.size() < kHeader + 8 || head.sliced(4, 4) != "ftyp")
        return {};
    const qsizetype size = std::min<qsizetype>(bigAt<quint32>(head, 0), head.size());
    std::vector<QByteArrayView> brands;
    for (qsizetype at = kHeader; at + 4 <= size; at += 4) {
        if (at != kHeader + 4) // The version of the major brand.
            brands.push_back(QByteArrayView(head).sliced(at, 4));
    }
    return brands;
}

bool isPictureBrand(QByteArrayView brand)
{
    constexpr std::array<const char*, 16> kBrands { "heic", "heix", "heim", "heis", "hevc", "hevx",
        "hevm", "hevs", "mif1", "mif2", "mif3", "msf1", "avif", "avis", "avio", "miaf" };
    return std::any_of(kBrands.begin(), kBrands.end(),
        [&](const char* known) { return brand == QByteArrayView(known, 4); });
}

bool isMovieBrand(QByteArrayView brand)
{
    return brand.startsWith("iso") || brand.startsWith("mp4") || brand.startsWith("qt")
        || brand.startsWith("M4") || brand.startsWith("3g") || brand.startsWith("crx");
}

} // namespace

bool hasHeifBrand(const QByteArray& head)
{
    const auto brands = brandsOf(head);
    if (brands.empty())
        return false;
    return isPictureBrand(brands.front())
        || (!isMovieBrand(brands.front())
            && std::any_of(brands.begin(), brands.end(), isPictureBrand));
}

} // namespace quorvane
