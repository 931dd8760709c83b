// SPDX-License-Identifier: GPL-3.0-or-later
// The orders of slides: sorted, dealt anew, and without what accompanies a JPEG.
#include "sequence/SlideOrder.h"
#include "support/ByteFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <ostream>
#include <random>
#include <set>
#include <string>

namespace quorvane {
namespace {

using Names = std::vector<std::string>;

std::shared_ptr<SlideItem> itemOf(const std::string& name, qint64 date = 0)
{
    return SlideItem::itemWithURL(FileURL("/x/" + QByteArray::fromStdString(name)),
        { FileKind::Regular, FileTime(Duration(date)), 0 });
}

SlideItems itemsOf(const Names& names)
{
    SlideItems items;
    for (const std::string& name : names)
        items.push_back(itemOf(name));
    return items;
}

/// Behind "/x/".
std::string nameOf(const FileURL& url) { return url.path().mid(3).toStdString(); }

Names namesOf(const SlideItems& items)
{
    Names names;
    for (const auto& item : items)
        names.push_back(nameOf(item->mURL()));
    return names;
}

Names namesOf(const std::vector<FileURL>& urls)
{
    Names names;
    for (const FileURL& url : urls)
        names.push_back(nameOf(url));
    return names;
}

/// Gives the answers of a list, then zeros, and remembers what it was asked.
struct Answers {
    std::vector<quint32> answers;
    std::vector<quint32> bounds = {};

    RandomBelow source()
    {
        return [this](quint32 bound) {
            bounds.push_back(bound);
            return bounds.size() <= answers.size() ? answers[bounds.size() - 1] : 0U;
        };
    }
};

/// For an order that must not ask for a random number.
quint32 noRandom(quint32)
{
    ADD_FAILURE() << "a random number was asked for";
    return 0;
}

Names sorted(SlideItems items, const char* order)
{
    sortItems(items, QString::fromLatin1(order), noRandom);
    return namesOf(items);
}

TEST(Shuffle, LeavesFewerThanThreeItemsAsTheyAre)
{
    for (const Names& names : { Names {}, Names { "a" }, Names { "a", "b" } }) {
        SlideItems items = itemsOf(names);

        shuffleItems(items, noRandom);

        EXPECT_EQ(namesOf(items), names);
    }
}

TEST(Shuffle, AsksForOneNumberLessEachTime)
{
    Answers random { {} };
    SlideItems items = itemsOf({ "a", "b", "c", "d", "e" });

    shuffleItems(items, random.source());

    EXPECT_EQ(random.bounds, (std::vector<quint32> { 5, 4, 3, 2 }));
    EXPECT_EQ(namesOf(items), (Names { "a", "b", "c", "d", "e" }));
}

TEST(Shuffle, ExchangesFromTheFrontWithWhatIsDrawn)
{
    Answers random { { 4, 0, 2, 1 } };
    SlideItems items = itemsOf({ "a", "b", "c", "d", "e" });

    shuffleItems(items, random.source());

    // ebcda, ebcda, ebadc, ebacd
    EXPECT_EQ(namesOf(items), (Names { "e", "b", "a", "c", "d" }));
}

/// How often each order comes out when every answer of the random source is given once.
std::map<Names, int> allShuffles(const Names& names)
{
    std::map<Names, int> outcomes;
    std::vector<quint32> answers(names.size() - 1, 0);
    while (true) {
        Answers random { answers };
        SlideItems items = itemsOf(names);
        shuffleItems(items, random.source());
        ++outcomes[namesOf(items)];

        size_t place = 0;
        while (place < answers.size() && ++answers[place] == names.size() - place)
            answers[place++] = 0;
        if (place == answers.size())
            return outcomes;
    }
}

TEST(Shuffle, DealsEveryOrderAlikeOften)
{
    const auto threes = allShuffles({ "a", "b", "c" });
    const auto fours = allShuffles({ "a", "b", "c", "d" });

    EXPECT_EQ(threes.size(), 6U);
    EXPECT_EQ(fours.size(), 24U);
    for (const auto& [order, times] : threes)
        EXPECT_EQ(times, 1);
    for (const auto& [order, times] : fours)
        EXPECT_EQ(times, 1);
}

TEST(SystemRandom, GivesNumbersBelowTheBound)
{
    std::set<quint32> seen;

    for (int i = 0; i < 1000; ++i)
        seen.insert(systemRandomBelow(3));

    EXPECT_EQ(seen, (std::set<quint32> { 0, 1, 2 }));
    EXPECT_EQ(systemRandomBelow(1), 0U);
    EXPECT_EQ(systemRandomBelow(0), 0U);
}

TEST(Sorting, ByNameCountsAndIgnoresCase)
{
    EXPECT_EQ(sorted(itemsOf({ "img10.jpg", "c.jpg", "B.jpg", "img2.jpg", "a.jpg" }), "name"),
        (Names { "a.jpg", "B.jpg", "c.jpg", "img2.jpg", "img10.jpg" }));
}

TEST(Sorting, ByNameLooksAtTheNameOnly)
{
    EXPECT_EQ(sorted(itemsOf({ "a/2.jpg", "b/1.jpg", "c/3.jpg" }), "name"),
        (Names { "b/1.jpg", "a/2.jpg", "c/3.jpg" }));
}

TEST(Sorting, ByNameTakesALinkByItsTarget)
{
    const tests::ByteFolder folder;
    folder.file("a.jpg");
    folder.file("m.jpg");
    folder.link("a.jpg", "z.jpg");
    SlideItems items { SlideItem::itemWithURL(folder.url("m.jpg")),
        SlideItem::itemWithURL(folder.url("z.jpg")) };

    sortItems(items, QStringLiteral("name"), noRandom);

    EXPECT_EQ(items.front()->mURL(), folder.url("z.jpg"));
}

TEST(Sorting, ByURLIsLetterForLetter)
{
    EXPECT_EQ(sorted(itemsOf({ "a/1.jpg", "img9.jpg", "B/1.jpg", "img10.jpg" }), "url"),
        (Names { "B/1.jpg", "a/1.jpg", "img10.jpg", "img9.jpg" }));
}

TEST(Sorting, ByURLMindsAParameter)
{
    SlideItems items { SlideItem::itemWithURL(FileURL("/x/ab")),
        SlideItem::itemWithURL(FileURL("/x/a", "2")), SlideItem::itemWithURL(FileURL("/x/a", "1")),
        SlideItem::itemWithURL(FileURL("/x/a")) };

    sortItems(items, QStringLiteral("url"), noRandom);

    EXPECT_TRUE(items[0]->mURL().parameterString().isNull());
    EXPECT_EQ(items[1]->mURL().parameterString(), "1");
    EXPECT_EQ(items[2]->mURL().parameterString(), "2");
    EXPECT_EQ(items[3]->mURL().path(), "/x/ab");
}

TEST(Sorting, ByDateBeginsWithTheUndatedAndTheOldest)
{
    SlideItems items { itemOf("new", 2'000'000'001), itemOf("old", 5),
        itemOf("newer", 2'000'000'002), SlideItem::itemWithURL(FileURL("/x/missing")),
        itemOf("older", -5) };

    EXPECT_EQ(sorted(items, "date"), (Names { "missing", "older", "old", "new", "newer" }));
}

TEST(Sorting, KeepsTheOrderOfEqualItems)
{
    const Names sameName { "c/img1.jpg", "a/IMG1.jpg", "b/img001.jpg", "d/Img01.JPG" };
    const Names sameDate { "c", "a", "d", "b" };
    Names behind = sameName;
    behind.insert(behind.begin(), "z");
    Names expected = sameName;
    expected.emplace_back("z");

    EXPECT_EQ(sorted(itemsOf(sameName), "name"), sameName);
    EXPECT_EQ(sorted(itemsOf(behind), "name"), expected);
    EXPECT_EQ(sorted(itemsOf(sameDate), "date"), sameDate);
}

TEST(Sorting, OfNoItemsAndOfOneDoesNothing)
{
    for (const char* order : { "name", "url", "date" }) {
        EXPECT_EQ(sorted({}, order), Names {});
        EXPECT_EQ(sorted(itemsOf({ "a" }), order), Names { "a" });
    }
}

class OtherOrder : public testing::TestWithParam<const char*> { };

TEST_P(OtherOrder, Shuffles)
{
    Answers random { { 2, 1 } };
    SlideItems items = itemsOf({ "a", "b", "c" });

    sortItems(items, QString::fromLatin1(GetParam()), random.source());

    EXPECT_EQ(random.bounds, (std::vector<quint32> { 3, 2 }));
    EXPECT_EQ(namesOf(items), (Names { "c", "a", "b" }));
}

INSTANTIATE_TEST_SUITE_P(Sorting, OtherOrder,
    testing::Values("random", "Name", "NAME", "name ", "Url", "URL", "Date", "dates", "0", ""));

TEST(Sorting, ShufflesWithoutAnOrder)
{
    Answers random { { 2 } };
    SlideItems items = itemsOf({ "a", "b", "c" });

    sortItems(items, QString(), random.source());

    EXPECT_EQ(namesOf(items), (Names { "c", "b", "a" }));
}

TEST(Sorting, AtRandomLeavesTwoItemsAsTheyAre)
{
    SlideItems items = itemsOf({ "b", "a" });

    sortItems(items, QStringLiteral("random"), noRandom);

    EXPECT_EQ(namesOf(items), (Names { "b", "a" }));
}

/// Names that differ in case, padding, length, accents, and in being text at all.
SlideItems mixedItems(int count)
{
    const std::vector<std::string> beginnings { "img", "IMG", "a", "A_", "\xC3\xA9", "e\xCC\x81",
        "\xFF", "z", "1", "dir/Img" };
    std::mt19937 random(20240501); // NOLINT: the same items every time.
    Names names;
    for (int i = 0; i < count; ++i)
        names.push_back(beginnings[random() % beginnings.size()] + (random() % 3 ? "" : "0")
            + std::to_string(random() % 40) + (random() % 2 ? ".jpg" : ".PNG"));
    SlideItems items = itemsOf(names);
    for (auto& item : items)
        item = itemOf(nameOf(item->mURL()), static_cast<qint64>(random() % 100));
    return items;
}

TEST(Sorting, AgreesWithTheComparisonsOfItems)
{
    using Compare = int (SlideItem::*)(const SlideItem&) const;
    const std::vector<std::pair<const char*, Compare>> orders { { "name", &SlideItem::nameCompare },
        { "url", &SlideItem::urlCompare }, { "date", &SlideItem::dateCompare } };
    const SlideItems items = mixedItems(500);

    for (const auto& [order, compare] : orders) {
        SlideItems expected = items;
        std::stable_sort(expected.begin(), expected.end(),
            [compare = compare](const auto& a, const auto& b) { return ((*a).*compare)(*b) < 0; });
        EXPECT_EQ(sorted(items, order), namesOf(expected)) << order;
        EXPECT_EQ(sorted(expected, order), namesOf(expected)) << order;
    }
}

struct CompanionRow {
    const char* name;
    Names before;
    Names after;
    Names removed;
};

void PrintTo(const CompanionRow& row, std::ostream* out) { *out << row.name; }

class CompanionTest : public testing::TestWithParam<CompanionRow> { };

TEST_P(CompanionTest, TakesOutWhatAccompaniesAJPEG)
{
    SlideItems items = itemsOf(GetParam().before);

    const auto removed = removeCompanions(items);

    EXPECT_EQ(namesOf(items), GetParam().after);
    EXPECT_EQ(namesOf(removed), GetParam().removed);
}

INSTANTIATE_TEST_SUITE_P(Companions, CompanionTest,
    testing::Values(CompanionRow { "None", {}, {}, {} },
        CompanionRow {
            "OnePair", { "a.jpg", "a.png", "b.png" }, { "a.jpg", "b.png" }, { "a.png" } },
        CompanionRow { "Before", { "a.cr2", "a.JPG" }, { "a.JPG" }, { "a.cr2" } },
        CompanionRow { "OnlyPNG", { "a.png", "b.png" }, { "a.png", "b.png" }, {} },
        CompanionRow { "OnlyJPEG", { "a.jpg", "a.JPG" }, { "a.jpg", "a.JPG" }, {} },
        CompanionRow { "FourLetters", { "a.jpeg", "a.png" }, { "a.jpeg", "a.png" }, {} },
        CompanionRow { "FourLettersGo", { "a.jpeg", "a.jpg" }, { "a.jpg" }, { "a.jpeg" } },
        CompanionRow {
            "OneForEachJPEG", { "a.tif", "a.jpg", "a.png" }, { "a.jpg", "a.png" }, { "a.tif" } },
        CompanionRow { "TwoJPEGs", { "a.jpg", "a.png", "a.JPG", "a.tif" },
            { "a.jpg", "a.JPG", "a.tif" }, { "a.png", "a.png" } },
        CompanionRow {
            "MindsCase", { "IMG_1.jpg", "img_1.cr2" }, { "IMG_1.jpg", "img_1.cr2" }, {} },
        CompanionRow { "MindsZeros", { "img1.jpg", "img01.png" }, { "img1.jpg", "img01.png" }, {} },
        CompanionRow { "OtherFolder", { "d/a.png", "e/a.jpg" }, { "e/a.jpg" }, { "d/a.png" } },
        CompanionRow { "InOrderOfTheJPEGs", { "a.png", "b.png", "b.jpg", "a.jpg" },
            { "b.jpg", "a.jpg" }, { "b.png", "a.png" } },
        CompanionRow { "LastExtensionOnly", { "a.b.jpg", "a.b.png", "a.png", "a.jpg.png" },
            { "a.b.jpg", "a.png", "a.jpg.png" }, { "a.b.png" } },
        CompanionRow { "WithoutExtension", { "a", "a.jpg" }, { "a.jpg" }, { "a" } },
        CompanionRow { "ListedTwice", { "a.png", "a.jpg", "a.png" }, { "a.jpg" }, { "a.png" } },
        CompanionRow { "AccentsEitherWay", { "\xC3\xA9.jpg", "e\xCC\x81.png" }, { "\xC3\xA9.jpg" },
            { "e\xCC\x81.png" } },
        CompanionRow { "NoText", { "\xFF.jpg", "\xFF.png", "\xFE.png" }, { "\xFF.jpg", "\xFE.png" },
            { "\xFF.png" } }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Companions, AreFoundByTheTargetsOfLinks)
{
    const tests::ByteFolder folder;
    folder.file("a.png");
    folder.file("b.jpg");
    folder.link("a.png", "b.png");
    SlideItems items { SlideItem::itemWithURL(folder.url("b.jpg")),
        SlideItem::itemWithURL(folder.url("b.png")) };

    EXPECT_TRUE(removeCompanions(items).empty()); // It is named "a".
    EXPECT_EQ(items.size(), 2U);
}

} // namespace
} // namespace quorvane
