// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/SlideOrder.h"

#include "platform/PathRules.h"
#include "platform/TextRules.h"
#include "sequence/HashIndex.h"
#include "settings/SettingsCatalogue.h"

#include <QRandomGenerator>

#include <algorithm>
#include <optional>
#include <utility>

namespace quorvane {

namespace {

/// Below this number of items a shuffle does nothing.
constexpr size_t kFewestShuffled = 3;

/// Sorts by keys that are made once for each item: making one in every comparison would cost more
/// than the comparing.
template <typename Key, typename MakeKey, typename Less>
void sortByKey(SlideItems& items, MakeKey makeKey, Less less)
{
    struct Keyed {
        Key key;
        std::shared_ptr<SlideItem> item;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(items.size());
    for (auto& item : items)
        keyed.push_back({ makeKey(*item), std::move(item) });
    const auto keyLess = [&](const Keyed& a, const Keyed& b) { return less(a.key, b.key); };
    // A show that begins again sorts what is sorted already, while somebody waits for the first
    // slide.
    if (!std::is_sorted(keyed.begin(), keyed.end(), keyLess))
        std::stable_sort(keyed.begin(), keyed.end(), keyLess);
    std::transform(keyed.begin(), keyed.end(), items.begin(),
        [](Keyed& entry) { return std::move(entry.item); });
}

void sortByName(SlideItems& items)
{
    sortByKey<QByteArray>(
        items, [](const SlideItem& item) { return numericCaselessKey(item.mFileName()); },
        [](const QByteArray& a, const QByteArray& b) {
            return compareNumericCaselessKeys(a, b) < 0;
        });
}

void sortByURL(SlideItems& items)
{
    const auto less = [](const auto& a, const auto& b) { return a->urlCompare(*b) < 0; };
    const bool isPlain = std::none_of(items.begin(), items.end(),
        [](const auto& item) { return !item->mURL().parameterString().isNull(); });
    if (!isPlain) {
        std::stable_sort(items.begin(), items.end(), less);
        return;
    }
    sortByKey<QByteArray>(
        items, [](const SlideItem& item) { return plainKey(item.mURL().path()); },
        [](const QByteArray& a, const QByteArray& b) { return a < b; });
}

void sortByDate(SlideItems& items)
{
    std::stable_sort(items.begin(), items.end(),
        [](const auto& a, const auto& b) { return a->dateCompare(*b) < 0; });
}

/// What is asked of an item more than once. In a long list the items lie all over the memory, and
/// to visit them costs more than anything that is done there.
struct Traits {
    bool isJPG;
    size_t urlHash;
    QByteArray baseKey; ///< The same for two items exactly when baseCompare() finds them the same.
};

std::vector<Traits> traitsOf(const SlideItems& items)
{
    std::vector<Traits> traits;
    traits.reserve(items.size());
    for (const auto& item : items)
        traits.push_back({ item->isJPG(), std::hash<FileURL>()(item->mURL()),
            plainKey(deletingPathExtension(item->mFileName())) });
    return traits;
}

/// For each JPEG in turn, the number of its companion if it has one.
std::vector<size_t> companionsOf(const std::vector<Traits>& traits)
{
    HashIndex others(traits.size());
    for (size_t i = traits.size(); i-- > 0;) { // Backwards: the first one is to be found first.
        if (!traits[i].isJPG)
            others.add(qHash(traits[i].baseKey), i);
    }

    std::vector<size_t> companions;
    for (const Traits& jpeg : traits) {
        if (!jpeg.isJPG)
            continue;
        const auto companion = others.find(qHash(jpeg.baseKey),
            [&](size_t other) { return traits[other].baseKey == jpeg.baseKey; });
        if (companion)
            companions.push_back(*companion);
    }
    return companions;
}

} // namespace

quint32 systemRandomBelow(quint32 bound)
{
    return bound < 2 ? 0 : QRandomGenerator::global()->bounded(bound);
}

void shuffleItems(SlideItems& items, const RandomBelow& random)
{
    if (items.size() < kFewestShuffled)
        return;
    for (size_t i = 0; i + 1 < items.size(); ++i)
        std::swap(items[i], items[i + random(static_cast<quint32>(items.size() - i))]);
}

void sortItems(SlideItems& items, const QString& order, const RandomBelow& random)
{
    if (order == kSortDate)
        sortByDate(items);
    else if (order == kSortName)
        sortByName(items);
    else if (order == kSortURL)
        sortByURL(items);
    else
        shuffleItems(items, random);
}

std::vector<FileURL> removeCompanions(SlideItems& items)
{
    const auto isJPG = [](const auto& item) { return item->isJPG(); };
    if (std::all_of(items.begin(), items.end(), isJPG)
        || std::none_of(items.begin(), items.end(), isJPG))
        return {};
    const std::vector<Traits> traits = traitsOf(items);
    const std::vector<size_t> companions = companionsOf(traits);
    if (companions.empty())
        return {};

    std::vector<FileURL> removed;
    removed.reserve(companions.size());
    HashIndex gone(items.size());
    std::vector<bool> isGone(items.size(), false);
    for (const size_t companion : companions) {
        removed.push_back(items[companion]->mURL());
        if (!isGone[companion])
            gone.add(traits[companion].urlHash, companion);
        isGone[companion] = true;
    }
    // As often as the file is listed. What goes stays in its place to be compared with.
    SlideItems rest;
    rest.reserve(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        const bool goes = gone.find(traits[i].urlHash,
                                  [&](size_t other) {
                                      return traits[other].urlHash == traits[i].urlHash
                                          && *items[other] == *items[i];
                                  })
                              .has_value();
        if (!goes)
            rest.push_back(std::move(items[i]));
    }
    items.swap(rest);
    return removed;
}

} // namespace quorvane
