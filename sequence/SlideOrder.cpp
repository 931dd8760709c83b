// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/SlideOrder.h"

#include "platform/PathRules.h"
#include "platform/TextRules.h"
#include "settings/SettingsCatalogue.h"

#include <QRandomGenerator>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

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

/// Two items have equal base keys exactly when baseCompare() finds them the same.
QByteArray baseKey(const SlideItem& item)
{
    return plainKey(deletingPathExtension(item.mFileName()));
}

struct ByteArrayHash {
    size_t operator()(const QByteArray& bytes) const { return qHash(bytes); }
};

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
    // The first of each base name; those that are not JPEG, in their order.
    std::unordered_map<QByteArray, const SlideItem*, ByteArrayHash> others;
    for (const auto& item : items) {
        if (!item->isJPG())
            others.try_emplace(baseKey(*item), item.get());
    }
    if (others.empty())
        return {};

    std::vector<FileURL> removed;
    for (const auto& item : items) {
        const auto companion = item->isJPG() ? others.find(baseKey(*item)) : others.end();
        if (companion != others.end())
            removed.push_back(companion->second->mURL());
    }
    const std::unordered_set<FileURL> gone(removed.begin(), removed.end());
    std::erase_if(items, [&](const auto& item) { return gone.contains(item->mURL()); });
    return removed;
}

} // namespace quorvane
