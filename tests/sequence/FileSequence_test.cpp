// SPDX-License-Identifier: GPL-3.0-or-later
// The position in a sequence, and what changes its list.
#include "platform/TypeIdentifier.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "settings/SettingsCatalogue.h"
#include "support/ByteFolder.h"
#include "support/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>

namespace quorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::ByteFolder;

constexpr size_t kBeforeFirst = FileSequence::kBeforeFirst;

class SequenceTest : public testing::Test {
protected:
    SequenceTest()
    {
        defaults.setValue(kSort, QString(kSortName));
        defaults.setValue(kEndMode, QString(kEndModeWait));
    }

    /// Lists the files "1.jpg" to "<count>.jpg" and goes to `index`.
    void fill(int count, size_t index = 0)
    {
        std::vector<QByteArray> paths;
        for (int i = 1; i <= count; ++i)
            paths.push_back(folder.file(QByteArray::number(i) + ".jpg"));
        sequence.addFiles(paths);
        if (count > 0)
            sequence.gotoIndex(index);
    }

    void list(const std::vector<QByteArray>& names)
    {
        for (const QByteArray& name : names)
            sequence.addFile(folder.file(name));
    }

    void setEndMode(const QString& mode) { defaults.setValue(kEndMode, mode); }

    std::string name(const std::optional<FileURL>& url) const
    {
        return url ? url->path().mid(folder.path().size() + 1).toStdString() : "nothing";
    }

    std::vector<std::string> slides() const
    {
        std::vector<std::string> names;
        for (size_t i = 0; i < sequence.count(); ++i)
            names.push_back(name(sequence.URLAtIndex(i)));
        return names;
    }

    std::vector<std::string> removed() const
    {
        std::vector<std::string> names;
        for (const FileURL& url : sequence.mRemovedURLs())
            names.push_back(name(url));
        return names;
    }

    bool trashFile(const FileURL& url)
    {
        trashed.push_back(name(url));
        if (atTrash)
            atTrash();
        return canTrash;
    }

    quint32 random(quint32 bound)
    {
        bounds.push_back(bound);
        if (atRandom)
            atRandom();
        return bound - 1;
    }

    const TypeIdentifier::DecodersForTesting decoders { { QStringLiteral("jpg"),
        QStringLiteral("png"), QStringLiteral("tif") } };
    ByteFolder folder;
    UserDefaults defaults;
    ManualClock clock;
    bool canTrash = true;
    std::vector<std::string> trashed;
    std::function<void()> atTrash;
    std::vector<quint32> bounds; ///< That the random source was asked for.
    std::function<void()> atRandom;
    FileSequence sequence { defaults, clock, [this](const FileURL& url) { return trashFile(url); },
        [this](quint32 bound) { return random(bound); } };
};

using EmptySequence = SequenceTest;

TEST_F(EmptySequence, HasNoSlide)
{
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_FALSE(sequence.current());
    EXPECT_FALSE(sequence.first());
    EXPECT_FALSE(sequence.URLAtIndex(0));
    EXPECT_FALSE(sequence.gotoIndex(0));
    EXPECT_FALSE(sequence.trash());
    EXPECT_THAT(trashed, IsEmpty());
    EXPECT_THAT(removed(), IsEmpty());
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(EmptySequence, HasNoSlideAtAnyOffset)
{
    for (const qint64 offset : { qint64(0), qint64(1), qint64(-1), qint64(5),
             std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min() })
        EXPECT_FALSE(sequence.atOffset(offset));
}

TEST_F(EmptySequence, DoesNotMoveWhenSteppedOnUnderAnyEndMode)
{
    for (const QLatin1String mode : { kEndModeRewind, kEndModeWait, kEndModeClose }) {
        setEndMode(mode);
        EXPECT_FALSE(sequence.next());
        EXPECT_EQ(sequence.currentIndex(), 0U);
    }
    sequence.previous();
    EXPECT_FALSE(sequence.next());
    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
}

TEST_F(EmptySequence, StandsBeforeTheFirstAfterSteppingBack)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(sequence.previous());
        EXPECT_EQ(sequence.currentIndex(), std::numeric_limits<size_t>::max());
    }

    EXPECT_FALSE(sequence.current());
    EXPECT_FALSE(sequence.first());
    EXPECT_FALSE(sequence.gotoIndex(0));
    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
}

TEST_F(EmptySequence, OutlivesAllThatChangesAList)
{
    sequence.sort();
    sequence.shuffle();
    sequence.removeDuplicates();
    sequence.rewind();
    sequence.clear();
    sequence.addURLs({});
    sequence.addFiles({});

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_THAT(bounds, IsEmpty());
}

class BeforeFirst : public SequenceTest {
protected:
    BeforeFirst()
    {
        sequence.previous();
        fill(0);
        list({ "1.jpg", "2.jpg", "3.jpg" });
    }
};

TEST_F(BeforeFirst, StaysWhileTheListFills)
{
    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
    EXPECT_FALSE(sequence.current());
    EXPECT_FALSE(sequence.trash());
    EXPECT_THAT(trashed, IsEmpty());
}

TEST_F(BeforeFirst, LeadsToTheFirstUnderAnyEndMode)
{
    for (const QLatin1String mode : { kEndModeRewind, kEndModeWait, kEndModeClose }) {
        sequence.clear();
        sequence.previous();
        list({ "1.jpg", "2.jpg" });
        setEndMode(mode);
        EXPECT_EQ(name(sequence.next()), "1.jpg");
        EXPECT_EQ(sequence.currentIndex(), 0U);
    }
}

TEST_F(BeforeFirst, EndsByGoingToTheFirst)
{
    EXPECT_EQ(name(sequence.first()), "1.jpg");
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(BeforeFirst, EndsByGoingToAPlaceThatIsThere)
{
    EXPECT_FALSE(sequence.gotoIndex(3));
    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
    EXPECT_EQ(name(sequence.gotoIndex(2)), "3.jpg");
    EXPECT_EQ(sequence.currentIndex(), 2U);
}

TEST_F(BeforeFirst, EndsByRewinding)
{
    sequence.rewind();

    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(BeforeFirst, EndsByClearing)
{
    sequence.clear();

    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(BeforeFirst, GoesNowhereWhenSteppedBack)
{
    EXPECT_FALSE(sequence.previous());
    EXPECT_EQ(name(sequence.next()), "1.jpg");
}

TEST_F(BeforeFirst, StaysWhenAnotherSlideIsTakenOut)
{
    sequence.remove(folder.url("2.jpg"));

    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
}

TEST_F(BeforeFirst, LooksAheadFromThere)
{
    EXPECT_EQ(name(sequence.atOffset(1)), "1.jpg");
    EXPECT_EQ(name(sequence.atOffset(0)), "3.jpg");
}

TEST_F(SequenceTest, BeginsAtTheFirstSlide)
{
    fill(3);

    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_EQ(name(sequence.current()), "1.jpg");
    EXPECT_EQ(sequence.count(), 3U);
}

TEST_F(SequenceTest, LooksAtAPlaceWithoutMoving)
{
    fill(3, 1);

    EXPECT_EQ(name(sequence.URLAtIndex(2)), "3.jpg");
    EXPECT_FALSE(sequence.URLAtIndex(3));
    EXPECT_FALSE(sequence.URLAtIndex(kBeforeFirst));
    EXPECT_EQ(name(sequence.current()), "2.jpg");
    EXPECT_EQ(sequence.currentIndex(), 1U);
}

TEST_F(SequenceTest, GoesToAPlaceThatIsThere)
{
    fill(3, 1);

    EXPECT_FALSE(sequence.gotoIndex(3));
    EXPECT_FALSE(sequence.gotoIndex(kBeforeFirst));
    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_EQ(name(sequence.gotoIndex(2)), "3.jpg");
    EXPECT_EQ(sequence.currentIndex(), 2U);
    EXPECT_EQ(name(sequence.first()), "1.jpg");
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, StepsOnAndBack)
{
    fill(3);

    EXPECT_EQ(name(sequence.next()), "2.jpg");
    EXPECT_EQ(name(sequence.next()), "3.jpg");
    EXPECT_EQ(name(sequence.previous()), "2.jpg");
    EXPECT_EQ(sequence.currentIndex(), 1U);
}

TEST_F(SequenceTest, BeginsAgainAtTheEndInAFreshOrder)
{
    setEndMode(kEndModeRewind);
    list({ "b.jpg", "c.jpg", "e.jpg", "d.jpg", "a.jpg" });
    sequence.gotoIndex(4);

    EXPECT_EQ(name(sequence.next()), "a.jpg");

    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg", "c.jpg", "d.jpg", "e.jpg"));
}

TEST_F(SequenceTest, DealsARandomOrderAnewAtTheEnd)
{
    setEndMode(kEndModeRewind);
    fill(3, 2);
    defaults.setValue(kSort, QString(kSortRandom));

    EXPECT_EQ(name(sequence.next()), "3.jpg");

    EXPECT_EQ(bounds, (std::vector<quint32> { 3, 2 }));
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, DoesNotSortBeforeTheEnd)
{
    setEndMode(kEndModeRewind);
    list({ "c.jpg", "b.jpg", "a.jpg" });

    EXPECT_EQ(name(sequence.next()), "b.jpg");
    EXPECT_EQ(name(sequence.next()), "a.jpg");
    EXPECT_THAT(slides(), ElementsAre("c.jpg", "b.jpg", "a.jpg"));
}

class OtherEndMode : public SequenceTest, public testing::WithParamInterface<const char*> { };

TEST_P(OtherEndMode, StaysOnTheLastSlideAndGivesNothing)
{
    list({ "e.jpg", "d.jpg", "c.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(4);
    setEndMode(QString::fromLatin1(GetParam()));

    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(sequence.next());
        EXPECT_EQ(sequence.currentIndex(), 4U);
    }

    EXPECT_EQ(name(sequence.current()), "a.jpg");
    EXPECT_EQ(name(sequence.previous()), "b.jpg");
}

INSTANTIATE_TEST_SUITE_P(SequenceTest, OtherEndMode,
    testing::Values("EndModeWait", "EndModeClose", "endmoderewind", "Rewind", ""));

TEST_F(SequenceTest, StaysOnTheLastSlideWithoutAnEndMode)
{
    fill(2, 1);
    defaults.removeValue(kEndMode);

    EXPECT_FALSE(sequence.next());
    EXPECT_EQ(sequence.currentIndex(), 1U);
}

TEST_F(SequenceTest, ReadsTheEndModeWhenTheEndIsReached)
{
    fill(2, 1);
    EXPECT_FALSE(sequence.next());

    setEndMode(kEndModeRewind);

    EXPECT_EQ(name(sequence.next()), "1.jpg");
}

TEST_F(SequenceTest, StepsBackFromTheFirstToTheLastUnderAnyEndMode)
{
    fill(5);
    for (const QLatin1String mode : { kEndModeRewind, kEndModeWait, kEndModeClose }) {
        setEndMode(mode);
        sequence.first();
        EXPECT_EQ(name(sequence.previous()), "5.jpg");
        EXPECT_EQ(sequence.currentIndex(), 4U);
    }
}

TEST_F(SequenceTest, StepsBackWithoutSorting)
{
    setEndMode(kEndModeRewind);
    list({ "c.jpg", "b.jpg", "a.jpg" });

    EXPECT_EQ(name(sequence.previous()), "a.jpg");
}

TEST_F(SequenceTest, OfOneSlideStaysThere)
{
    fill(1);

    EXPECT_EQ(name(sequence.previous()), "1.jpg");
    EXPECT_FALSE(sequence.next());
    setEndMode(kEndModeRewind);
    EXPECT_EQ(name(sequence.next()), "1.jpg");
    EXPECT_EQ(name(sequence.atOffset(1)), "1.jpg");
    EXPECT_EQ(name(sequence.atOffset(-1)), "1.jpg");
    EXPECT_FALSE(sequence.atOffset(2));
}

struct OffsetRow {
    size_t index;
    qint64 offset;
    const char* slide;
};

void PrintTo(const OffsetRow& row, std::ostream* out) { *out << row.index << " " << row.offset; }

class Offset : public SequenceTest, public testing::WithParamInterface<OffsetRow> { };

TEST_P(Offset, WrapsOnceAtEitherEndWithoutMoving)
{
    fill(5, GetParam().index);

    EXPECT_EQ(name(sequence.atOffset(GetParam().offset)), GetParam().slide);
    EXPECT_EQ(sequence.currentIndex(), GetParam().index);
}

INSTANTIATE_TEST_SUITE_P(SequenceTest, Offset,
    testing::Values(OffsetRow { 4, 0, "5.jpg" }, OffsetRow { 4, 1, "1.jpg" },
        OffsetRow { 4, 5, "5.jpg" }, OffsetRow { 4, 6, "nothing" }, OffsetRow { 4, -4, "1.jpg" },
        OffsetRow { 4, -5, "5.jpg" }, OffsetRow { 4, -9, "1.jpg" }, OffsetRow { 4, -10, "nothing" },
        OffsetRow { 0, -1, "5.jpg" }, OffsetRow { 0, -5, "1.jpg" }, OffsetRow { 0, -6, "nothing" },
        OffsetRow { 0, 4, "5.jpg" }, OffsetRow { 0, 9, "5.jpg" }, OffsetRow { 0, 10, "nothing" },
        OffsetRow { 2, 2, "5.jpg" }, OffsetRow { 2, 3, "1.jpg" },
        OffsetRow { 2, std::numeric_limits<qint64>::max(), "nothing" },
        OffsetRow { 2, std::numeric_limits<qint64>::min(), "nothing" },
        OffsetRow { 0, std::numeric_limits<qint64>::max(), "nothing" }));

TEST_F(SequenceTest, RewindsToTheFirstPlaceOfAFreshOrder)
{
    list({ "b.jpg", "a.jpg" });
    sequence.gotoIndex(1);

    sequence.rewind();

    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_EQ(name(sequence.current()), "a.jpg");
}

TEST_F(SequenceTest, KeepsTheNumberOfThePositionWhateverTheOrder)
{
    list({ "c.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(2);

    sequence.sort();
    EXPECT_EQ(sequence.currentIndex(), 2U);
    EXPECT_EQ(name(sequence.current()), "c.jpg");
    sequence.shuffle();
    EXPECT_EQ(sequence.currentIndex(), 2U);
    EXPECT_EQ(name(sequence.current()), "b.jpg");
}

TEST_F(SequenceTest, ShufflesWhateverTheSettingSays)
{
    fill(4);

    sequence.shuffle();

    EXPECT_EQ(bounds, (std::vector<quint32> { 4, 3, 2 }));
    EXPECT_THAT(slides(), ElementsAre("4.jpg", "1.jpg", "2.jpg", "3.jpg"));
}

TEST_F(SequenceTest, LeavesTwoSlidesAsTheyAreWhenItShuffles)
{
    list({ "b.jpg", "a.jpg" });
    defaults.setValue(kSort, QString(kSortRandom));

    sequence.shuffle();
    sequence.sort();

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "a.jpg"));
}

TEST_F(SequenceTest, ReadsTheOrderWhenItSorts)
{
    list({ "b.jpg", "C.jpg", "a.jpg" });
    folder.setModified("C.jpg", 1);
    folder.setModified("a.jpg", 2);
    folder.setModified("b.jpg", 3);
    sequence.clear();
    sequence.addURLs({ folder.url("b.jpg"), folder.url("C.jpg"), folder.url("a.jpg") });
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg", "C.jpg"));

    defaults.setValue(kSort, QString(kSortURL));
    sequence.sort();
    EXPECT_THAT(slides(), ElementsAre("C.jpg", "a.jpg", "b.jpg"));
    defaults.setValue(kSort, QString(kSortDate));
    sequence.sort();
    EXPECT_THAT(slides(), ElementsAre("C.jpg", "a.jpg", "b.jpg"));
    defaults.setValue(kSort, QStringLiteral("Name"));
    sequence.sort();
    EXPECT_THAT(slides(), ElementsAre("b.jpg", "C.jpg", "a.jpg"));
    defaults.removeValue(kSort);
    sequence.sort();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg", "C.jpg"));
    EXPECT_EQ(bounds, (std::vector<quint32> { 3, 2, 3, 2 }));
}

TEST_F(SequenceTest, SortsAListOfItsOwnAsTheSettingSays)
{
    SlideItems items { SlideItem::itemWithURL(FileURL("/x/b")),
        SlideItem::itemWithURL(FileURL("/x/a")) };

    sequence.sortArray(items);

    EXPECT_EQ(items.front()->mURL(), FileURL("/x/a"));
    EXPECT_EQ(sequence.count(), 0U);
}

TEST_F(SequenceTest, TakesOutCompanionsForGood)
{
    list({ "a.jpg", "a.png", "b.png" });
    sequence.gotoIndex(1);

    sequence.removeDuplicates();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.png"));
    EXPECT_THAT(removed(), ElementsAre("a.png"));
    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_EQ(name(sequence.current()), "b.png");
}

TEST_F(SequenceTest, RecordsACompanionOfTwoJPEGsTwice)
{
    list({ "a.jpg", "a.JPG", "a.png", "a.tif" });

    sequence.removeDuplicates();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "a.JPG", "a.tif"));
    EXPECT_THAT(removed(), ElementsAre("a.png", "a.png"));
}

TEST_F(SequenceTest, TakesOutNothingWhereNothingAccompanies)
{
    list({ "a.jpeg", "a.png" });
    sequence.removeDuplicates();
    sequence.clear();
    list({ "a.jpg", "a.JPG" });
    sequence.removeDuplicates();

    EXPECT_EQ(sequence.count(), 2U);
    EXPECT_THAT(removed(), IsEmpty());
}

TEST_F(SequenceTest, TakesCompanionsOutOfAListOfItsOwn)
{
    fill(1);
    SlideItems items { SlideItem::itemWithURL(folder.url("x.jpg")),
        SlideItem::itemWithURL(folder.url("x.png")) };

    sequence.removeDuplicates(items);

    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(name(items.front()->mURL()), "x.jpg");
    EXPECT_THAT(removed(), ElementsAre("x.png"));
    EXPECT_EQ(sequence.count(), 1U);
}

TEST_F(SequenceTest, KeepsThePositionBeyondTheEndThatCompanionsLeft)
{
    list({ "a.jpg", "a.png" });
    sequence.gotoIndex(1);

    sequence.removeDuplicates();

    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_FALSE(sequence.current());
    EXPECT_FALSE(sequence.next());
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, TakesOutASlide)
{
    fill(3);

    sequence.remove(folder.url("2.jpg"));

    EXPECT_THAT(slides(), ElementsAre("1.jpg", "3.jpg"));
    EXPECT_THAT(removed(), ElementsAre("2.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, KeepsTheNumberWhenASlideBeforeIsTakenOut)
{
    fill(4, 1);

    sequence.remove(folder.url("1.jpg"));

    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_EQ(name(sequence.current()), "3.jpg");
}

TEST_F(SequenceTest, BeginsAgainWhenTheLastSlideIsTakenOut)
{
    list({ "c.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(2);

    sequence.remove(folder.url("a.jpg"));

    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_THAT(slides(), ElementsAre("b.jpg", "c.jpg"));
}

TEST_F(SequenceTest, DoesNotSortWhenAnotherSlideIsTakenOut)
{
    list({ "c.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(1);

    sequence.remove(folder.url("b.jpg"));

    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_THAT(slides(), ElementsAre("c.jpg", "a.jpg"));
}

TEST_F(SequenceTest, TakesOutTheOnlySlide)
{
    fill(1);

    sequence.remove(folder.url("1.jpg"));

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_FALSE(sequence.current());
}

TEST_F(SequenceTest, RecordsAlsoWhatIsNotInTheList)
{
    fill(2, 1);

    sequence.remove(folder.url("x.jpg"));
    sequence.remove(folder.url("x.jpg"));

    EXPECT_EQ(sequence.count(), 2U);
    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_THAT(removed(), ElementsAre("x.jpg", "x.jpg"));
}

TEST_F(SequenceTest, TakesOutByURLAndByNothingElse)
{
    list({ "a.jpg", "sub/a.jpg" });
    folder.link("a.jpg", "z.jpg");
    sequence.addFile(folder.path("z.jpg"));
    sequence.addFile(folder.path("./a.jpg"));

    sequence.remove(folder.url("a.jpg"));

    EXPECT_THAT(slides(), ElementsAre("sub/a.jpg", "z.jpg", "./a.jpg"));
}

TEST_F(SequenceTest, TakesOutAFileAsOftenAsItIsListed)
{
    list({ "a.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(2);

    sequence.remove(folder.url("a.jpg"));

    EXPECT_THAT(slides(), ElementsAre("b.jpg"));
    EXPECT_THAT(removed(), ElementsAre("a.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, TrashesTheCurrentSlide)
{
    fill(5, 1);

    EXPECT_EQ(name(sequence.trash()), "3.jpg");

    EXPECT_THAT(trashed, ElementsAre("2.jpg"));
    EXPECT_THAT(slides(), ElementsAre("1.jpg", "3.jpg", "4.jpg", "5.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 1U);
    EXPECT_THAT(removed(), IsEmpty());
}

TEST_F(SequenceTest, BeginsAgainWhenTheLastSlideIsTrashed)
{
    list({ "e.jpg", "d.jpg", "c.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(4);

    EXPECT_EQ(name(sequence.trash()), "b.jpg");

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "c.jpg", "d.jpg", "e.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, GivesNothingWhenTheOnlySlideIsTrashed)
{
    fill(1);

    EXPECT_FALSE(sequence.trash());

    EXPECT_THAT(trashed, ElementsAre("1.jpg"));
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, ChangesNothingWhenTrashingFails)
{
    list({ "c.jpg", "b.jpg", "a.jpg" });
    sequence.gotoIndex(2);
    canTrash = false;

    EXPECT_FALSE(sequence.trash());

    EXPECT_THAT(trashed, ElementsAre("a.jpg"));
    EXPECT_THAT(slides(), ElementsAre("c.jpg", "b.jpg", "a.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 2U);
    EXPECT_THAT(removed(), IsEmpty());
}

TEST_F(SequenceTest, TrashesThePlaceWhereAFileListedTwiceIsCurrent)
{
    list({ "a.jpg", "b.jpg", "a.jpg", "c.jpg" });
    sequence.gotoIndex(2);

    EXPECT_EQ(name(sequence.trash()), "c.jpg");

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg", "c.jpg"));
}

TEST_F(SequenceTest, FindsTheTrashedSlideWhenTheListIsSortedMeanwhile)
{
    list({ "c.jpg", "b.jpg", "a.jpg", "d.jpg" });
    sequence.gotoIndex(2);
    atTrash = [this] { sequence.sort(); };

    EXPECT_EQ(name(sequence.trash()), "c.jpg") << "which is the current one by then";

    EXPECT_THAT(trashed, ElementsAre("a.jpg"));
    EXPECT_THAT(slides(), ElementsAre("b.jpg", "c.jpg", "d.jpg"));
}

TEST_F(SequenceTest, StaysOnTheSlideThatThePersonWentOnToMeanwhile)
{
    list({ "a.jpg", "b.jpg", "c.jpg" });
    const auto first = sequence.first();
    sequence.next();

    sequence.takeOutTrashed(*first);

    EXPECT_EQ(name(sequence.current()), "b.jpg");
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, OutlivesBeingClearedWhileItTrashes)
{
    fill(3, 2);
    atTrash = [this] { sequence.clear(); };

    EXPECT_FALSE(sequence.trash());

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, ForgetsItsSlidesButNotWhatWasTakenOut)
{
    fill(3, 2);
    sequence.remove(folder.url("1.jpg"));

    sequence.clear();
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), 0U);
    EXPECT_FALSE(sequence.current());
    EXPECT_THAT(removed(), ElementsAre("1.jpg"));
    fill(1);

    EXPECT_THAT(slides(), ElementsAre("1.jpg"));
}

TEST_F(SequenceTest, StandsAtTheFirstPlaceWhenItIsClearedWhileItBeginsAgain)
{
    setEndMode(kEndModeRewind);
    defaults.setValue(kSort, QString(kSortRandom));
    list({ "1.jpg", "2.jpg", "3.jpg" });
    sequence.gotoIndex(2);
    atRandom = [this] { sequence.clear(); };

    EXPECT_FALSE(sequence.next());

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_F(SequenceTest, KeepsBehindWhatIsAddedWhileItSorts)
{
    list({ "1.jpg", "2.jpg", "3.jpg" });
    const QByteArray late = folder.file("0.jpg");
    atRandom = [&] { sequence.addFile(late); };

    sequence.shuffle();

    EXPECT_EQ(bounds, (std::vector<quint32> { 3, 2 }));
    EXPECT_THAT(slides(), ElementsAre("3.jpg", "1.jpg", "2.jpg", "0.jpg", "0.jpg"));
}

TEST_F(SequenceTest, SortsAgainWhatWasChangedWhileItSorted)
{
    list({ "1.jpg", "2.jpg", "3.jpg", "4.jpg" });
    atRandom = [&] {
        atRandom = {};
        sequence.remove(folder.url("2.jpg"));
    };

    sequence.shuffle();

    EXPECT_EQ(bounds, (std::vector<quint32> { 4, 3, 2, 3, 2 }));
    EXPECT_THAT(slides(), ElementsAre("4.jpg", "1.jpg", "3.jpg"));
}

class SystemTrash : public testing::Test {
protected:
    const TypeIdentifier::DecodersForTesting decoders { { QStringLiteral("jpg") } };
    ByteFolder folder;
    UserDefaults defaults;
    ManualClock clock;
    FileSequence sequence { defaults, clock };
};

TEST_F(SystemTrash, TakesTheFileAway)
{
    const QByteArray path = folder.file("a.jpg");
    sequence.addFiles({ path });

    EXPECT_FALSE(sequence.trash());

    EXPECT_NE(access(path.constData(), F_OK), 0);
    EXPECT_EQ(sequence.count(), 0U);
}

TEST_F(SystemTrash, TakesALinkAndLeavesItsTarget)
{
    const QByteArray path = folder.file("a.jpg");
    const QByteArray link = folder.link("a.jpg", "z.jpg");
    sequence.addFiles({ link });

    sequence.trash();

    EXPECT_EQ(access(path.constData(), F_OK), 0);
    EXPECT_FALSE(linkStatus(link));
    EXPECT_EQ(sequence.count(), 0U);
}

TEST_F(SystemTrash, FailsForANameThatIsNoText)
{
    const QByteArray path = folder.file("\xFF.jpg");
    const QByteArray asText = folder.file("\xEF\xBF\xBD.jpg"); // What the name is read as.
    sequence.addFiles({ path });

    EXPECT_FALSE(sequence.trash());

    EXPECT_EQ(access(path.constData(), F_OK), 0);
    EXPECT_EQ(access(asText.constData(), F_OK), 0);
    EXPECT_EQ(sequence.count(), 1U);
}

TEST_F(SystemTrash, FailsForAFileThatIsGone)
{
    sequence.addFiles({ folder.file("a.jpg") });
    folder.remove("a.jpg");

    EXPECT_FALSE(sequence.trash());

    EXPECT_EQ(sequence.count(), 1U);
}

} // namespace
} // namespace quorvane
