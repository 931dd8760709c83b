// SPDX-License-Identifier: GPL-3.0-or-later
// A sequence whose folder is watched: what comes joins, what goes leaves, and the place is kept.
#include "images/SVImageCache.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/TypeIdentifier.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "settings/SettingsCatalogue.h"
#include "support/ByteFolder.h"
#include "support/ManualClock.h"

#include <QCoreApplication>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::ByteFolder;

constexpr size_t kBeforeFirst = FileSequence::kBeforeFirst;

/// A date by which files were left alone long ago, in nanoseconds since 1970.
constexpr qint64 kLongAgo = 1'000'000'000'000'000'000;

class Listener : public FileSequenceDelegate {
public:
    void firstFileFound() override
    {
        ++firstFiles;
        if (atFirstFile)
            atFirstFile();
    }
    void newFilesFound() override { ++newFiles; }
    void currentFileChanged() override { ++changes; }

    int firstFiles = 0;
    int newFiles = 0;
    int changes = 0;
    std::function<void()> atFirstFile;
};

class WatchedFolder : public testing::Test {
protected:
    WatchedFolder()
    {
        defaults.setValue(kSort, QString(kSortName));
        defaults.setValue(kEndMode, QString(kEndModeWait));
        defaults.setValue(kShowNewItemsASAP, true);
        sequence.setDelegate(&listener);
    }

    ~WatchedFolder() override { SVImageCache::purge(); }

    /// A file that was written long ago.
    QByteArray put(const QByteArray& name, const QByteArray& contents = "picture") const
    {
        const QByteArray path = folder.file(name, contents);
        folder.setModified(name, kLongAgo);
        return path;
    }

    void put(const std::vector<QByteArray>& names) const
    {
        for (const QByteArray& name : names)
            put(name);
    }

    /// Opens the folder, and goes to a place.
    void open(const std::vector<QByteArray>& names, size_t index = 0)
    {
        put(names);
        sequence.addURLs({ FileURL(folder.path()) });
        settle();
        if (index > 0)
            sequence.gotoIndex(index);
    }

    /// Until nothing is under way on any thread.
    static void settle()
    {
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::processEvents();
            MainQueue::drain();
            DispatchQueue::global().drain();
        }
        MainQueue::drain();
    }

    void pass(Duration span)
    {
        settle();
        clock.advance(span);
        settle();
    }

    /// Looks at the folder, as the timer does.
    void look()
    {
        sequence.updateHotFolder();
        settle();
    }

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

    std::string current() const { return name(sequence.current()); }

    void rename(const QByteArray& from, const QByteArray& to) const
    {
        ASSERT_EQ(std::rename(folder.path(from).constData(), folder.path(to).constData()), 0);
    }

    void removeTree(const QByteArray& name) const
    {
        std::filesystem::remove_all(folder.path(name).toStdString());
    }

    const TypeIdentifier::DecodersForTesting decoders { { QStringLiteral("jpg"),
        QStringLiteral("png"), QStringLiteral("tif") } };
    ByteFolder folder;
    UserDefaults defaults;
    ManualClock clock;
    Listener listener;
    FileSequence sequence { defaults, clock, [](const FileURL&) { return true; },
        [](quint32 bound) { return bound - 1; } };
};

// What is watched.

using Watch = WatchedFolder;

TEST_F(Watch, IsOnTheOneFolderThatWasOpened)
{
    put("a.jpg");

    sequence.addURLs({ FileURL(folder.path()) });
    EXPECT_EQ(sequence.mHotFolder(), folder.path());

    sequence.clear();
    sequence.addFiles({ folder.path() });
    EXPECT_EQ(sequence.mHotFolder(), folder.path());

    sequence.clear();
    sequence.addURL(FileURL(folder.path()));
    EXPECT_EQ(sequence.mHotFolder(), folder.path());
}

TEST_F(Watch, IsOnNothingWhenTwoFoldersWereOpened)
{
    put({ "one/a.jpg", "two/b.jpg" });

    sequence.addURLs({ folder.url("one"), folder.url("two") });

    EXPECT_EQ(sequence.mHotFolder(), "");
    EXPECT_THAT(slides(), ElementsAre("one/a.jpg", "two/b.jpg"));
}

TEST_F(Watch, IsOnNothingWhenAFileWasOpened)
{
    sequence.addURLs({ FileURL(put("a.jpg")) });

    EXPECT_EQ(sequence.mHotFolder(), "");
    put("b.jpg");
    pass(10s);
    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
}

TEST_F(Watch, EndsWithASecondFolder)
{
    put({ "one/a.jpg", "two/b.jpg" });
    sequence.addURLs({ folder.url("one") });

    sequence.addURLs({ folder.url("two") });

    EXPECT_EQ(sequence.mHotFolder(), "");
    put("one/c.jpg");
    pass(10s);
    EXPECT_THAT(slides(), ElementsAre("one/a.jpg", "two/b.jpg"));
}

TEST_F(Watch, EndsWhenTheListIsCleared)
{
    open({ "a.jpg" });

    sequence.clear();

    EXPECT_EQ(sequence.mHotFolder(), "");
    put("b.jpg");
    pass(10s);
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Watch, EndsWhenItIsStopped)
{
    open({ "a.jpg" });

    sequence.stopHotfolder();

    put("b.jpg");
    pass(10s);
    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Watch, BeginsAnewWithTheNextFolder)
{
    put({ "one/a.jpg", "two/b.jpg" });
    sequence.addURLs({ folder.url("one") });
    settle();

    sequence.clear();
    sequence.addURLs({ folder.url("two") });
    settle();

    put({ "one/c.jpg", "two/d.jpg" });
    pass(5s);
    EXPECT_THAT(slides(), ElementsAre("two/b.jpg", "two/d.jpg"));
}

TEST_F(Watch, GoesAwayWithTheSequence)
{
    auto shortLived = std::make_unique<FileSequence>(defaults, clock);
    shortLived->addURLs({ FileURL(folder.path()) });
    settle();
    shortLived->updateHotFolder();

    shortLived.reset();

    settle();
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Watch, TellsWhenTheFolderWasLookedAt)
{
    open({ "a.jpg" });
    EXPECT_EQ(sequence.mLastHotfolderScan(), clock.now() - 5s);

    clock.advance(2s);
    look();
    EXPECT_EQ(sequence.mLastHotfolderScan(), clock.now());

    sequence.resetHotFolderScanTime();
    EXPECT_EQ(sequence.mLastHotfolderScan(), clock.now() - 5s);

    sequence.setMLastHotfolderScan(clock.now() - 1h);
    EXPECT_EQ(sequence.mLastHotfolderScan(), clock.now() - 1h);
}

TEST_F(Watch, LooksEveryFiveSeconds)
{
    open({ "a.jpg" });
    const TimePoint begin = clock.now();

    clock.advance(4999ms);
    EXPECT_EQ(sequence.mLastHotfolderScan(), begin - 5s);
    clock.advance(1ms);
    EXPECT_EQ(sequence.mLastHotfolderScan(), begin + 5s);
    clock.advance(5s);
    EXPECT_EQ(sequence.mLastHotfolderScan(), begin + 10s);
}

// A look at the folder.

using Look = WatchedFolder;

TEST_F(Look, AtNoFolderChangesNothing)
{
    sequence.addURLs({ FileURL(put("a.jpg")) });
    folder.remove("a.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
}

TEST_F(Look, ThatFindsNothingNewTellsNobody)
{
    open({ "a.jpg", "b.jpg" }, 1);

    look();

    EXPECT_EQ(listener.newFiles, 0);
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 1U);
}

TEST_F(Look, PutsNewFilesNext)
{
    open({ "b.jpg", "d.jpg", "f.jpg" }, 1);
    put({ "z.jpg", "a.jpg", "c10.jpg", "c9.jpg" });

    look();

    EXPECT_THAT(
        slides(), ElementsAre("b.jpg", "d.jpg", "a.jpg", "c9.jpg", "c10.jpg", "z.jpg", "f.jpg"));
    EXPECT_EQ(current(), "d.jpg");
    EXPECT_EQ(listener.newFiles, 1);
    EXPECT_EQ(name(sequence.next()), "a.jpg");
}

TEST_F(Look, PutsNewFilesInTheirPlaceWhereTheyNeedNotComeNext)
{
    defaults.setValue(kShowNewItemsASAP, false);
    open({ "b.jpg", "d.jpg" }, 1);
    put({ "a.jpg", "c.jpg" });

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg", "c.jpg", "d.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 1U); // The number stays, whatever stands there.
    EXPECT_EQ(listener.newFiles, 1);
}

TEST_F(Look, DealsARandomOrderAnewWithNewFiles)
{
    defaults.setValue(kShowNewItemsASAP, false);
    open({ "a.jpg", "b.jpg", "c.jpg" });
    defaults.setValue(kSort, QString(kSortRandom));
    put("d.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("d.jpg", "a.jpg", "b.jpg", "c.jpg"));
}

TEST_F(Look, DropsWhatIsGoneAndKeepsThePlace)
{
    open({ "a.jpg", "b.jpg", "c.jpg", "d.jpg" }, 2);
    folder.remove("a.jpg");
    folder.remove("d.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "c.jpg"));
    EXPECT_EQ(current(), "c.jpg");
    EXPECT_EQ(listener.newFiles, 0);
}

TEST_F(Look, KeepsTheOrderOfWhatStays)
{
    open({ "a.jpg", "b.jpg", "c.jpg", "d.jpg" });
    defaults.setValue(kSort, QString(kSortRandom));
    sequence.sort();
    ASSERT_THAT(slides(), ElementsAre("d.jpg", "a.jpg", "b.jpg", "c.jpg"));
    folder.remove("a.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("d.jpg", "b.jpg", "c.jpg"));
}

TEST_F(Look, GoesToTheLastSlideWhenTheCurrentOneIsGone)
{
    open({ "a.jpg", "b.jpg", "c.jpg" }, 0);
    folder.remove("a.jpg");

    look();

    EXPECT_EQ(current(), "c.jpg");
    EXPECT_EQ(listener.newFiles, 0);
    EXPECT_EQ(listener.changes, 0);
}

TEST_F(Look, PutsNewFilesAtTheEndWhenTheCurrentSlideIsGone)
{
    open({ "b.jpg", "c.jpg", "d.jpg" }, 1);
    folder.remove("c.jpg");
    put("a.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "d.jpg", "a.jpg"));
    EXPECT_EQ(current(), "d.jpg");
    EXPECT_EQ(name(sequence.next()), "a.jpg");
}

TEST_F(Look, FillsAnEmptyListSoThatTheNextSlideIsTheFirst)
{
    open({});
    put({ "b.jpg", "a.jpg" });

    look();

    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
    EXPECT_EQ(listener.newFiles, 1);
    EXPECT_EQ(listener.firstFiles, 0);
    EXPECT_EQ(name(sequence.next()), "a.jpg");
}

TEST_F(Look, FindsNothingInAFolderThatIsGone)
{
    open({ "sub/a.jpg", "sub/b.jpg" });
    sequence.clear();
    sequence.addURLs({ folder.url("sub") });
    settle();
    removeTree("sub");

    look();

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(sequence.currentIndex(), kBeforeFirst);
    EXPECT_EQ(listener.newFiles, 0);
}

TEST_F(Look, FindsTheFolderAgainWhenItComesBack)
{
    put({ "sub/a.jpg", "sub/b.jpg" });
    sequence.addURLs({ folder.url("sub") });
    settle();
    rename("sub", "elsewhere");
    look();
    ASSERT_EQ(sequence.count(), 0U);

    rename("elsewhere", "sub");
    look();

    EXPECT_THAT(slides(), ElementsAre("sub/a.jpg", "sub/b.jpg"));
    EXPECT_EQ(listener.newFiles, 1);
}

TEST_F(Look, FindsNothingWhereAFileHasTakenTheFoldersPlace)
{
    put("sub/a.jpg");
    sequence.addURLs({ folder.url("sub") });
    settle();
    removeTree("sub");
    put("sub");

    look();

    EXPECT_EQ(sequence.count(), 0U);
}

TEST_F(Look, GoesAsDeepAsTheSettingSays)
{
    open({ "a.jpg" });
    put({ "one/b.jpg", "one/two/c.jpg" });

    defaults.setValue(kMaxFolderLevel, 2);
    look();
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "one/b.jpg"));

    defaults.setValue(kMaxFolderLevel, 0);
    look();
    EXPECT_EQ(sequence.count(), 3U);

    defaults.setValue(kMaxFolderLevel, 1);
    look();
    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
}

TEST_F(Look, PassesOverWhatIsHiddenAtTheTop)
{
    open({ "a.jpg" });
    put({ ".b.jpg", ".cache/c.jpg", "sub/.d.jpg" });

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "sub/.d.jpg"));
}

TEST_F(Look, TakesOnlyWhatCanBeDisplayed)
{
    open({ "a.jpg" });
    put({ "b.txt", "c.pdf", "d.png" });
    folder.pipe("e.jpg");
    folder.link("nowhere.jpg", "f.jpg");
    folder.link("a.jpg", "g.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "g.jpg", "d.png")); // Named by its target.
}

TEST_F(Look, BringsNothingBackThatWasTakenOut)
{
    open({ "a.jpg", "b.jpg" });
    sequence.remove(folder.url("b.jpg"));

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
    EXPECT_EQ(listener.newFiles, 0);
}

TEST_F(Look, BringsNoCompanionBack)
{
    open({ "a.jpg", "a.png", "b.png" });
    sequence.removeDuplicates();
    ASSERT_THAT(slides(), ElementsAre("a.jpg", "b.png"));

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.png"));
    EXPECT_EQ(listener.newFiles, 0);
}

TEST_F(Look, TakesCompanionsOutWhenItFindsNewFiles)
{
    open({ "a.png", "b.png", "c.png" }, 1);
    look();
    ASSERT_EQ(sequence.count(), 3U);
    put("a.jpg");

    look();

    EXPECT_THAT(slides(), ElementsAre("b.png", "a.jpg", "c.png"));
    EXPECT_THAT(sequence.mRemovedURLs(), ElementsAre(folder.url("a.png")));
    EXPECT_EQ(current(), "b.png");
}

TEST_F(Look, LeavesAFileThatIsListedTwice)
{
    put({ "a.jpg", "b.jpg" });
    sequence.addURLs({ FileURL(folder.path()) });
    sequence.addURL(folder.url("a.jpg"));
    settle();
    sequence.gotoIndex(2);

    look();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg", "a.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 2U);
}

TEST_F(Look, WaitsForTheEndOfACollection)
{
    put({ "a.jpg", "b.jpg", "c.jpg" });
    listener.atFirstFile = [this] {
        MainQueue::drain();
        look();
    };

    sequence.addURLs({ FileURL(folder.path()) });
    put("d.jpg");
    settle();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "d.jpg", "b.jpg", "c.jpg"));
}

TEST_F(Look, HoldsWhenTheListChangesMeanwhile)
{
    open({ "a.jpg", "b.jpg", "c.jpg", "d.jpg" }, 1);
    put("e.jpg");
    folder.remove("d.jpg");

    sequence.updateHotFolder();
    DispatchQueue::global().drain(); // It has seen the folder.
    sequence.remove(folder.url("a.jpg"));
    sequence.gotoIndex(1);
    sequence.addURL(FileURL(put("f.jpg")));
    settle();

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "c.jpg", "e.jpg", "f.jpg"));
    EXPECT_EQ(current(), "c.jpg");
}

TEST_F(Look, IsForgottenWhenTheListIsClearedMeanwhile)
{
    open({ "a.jpg" });
    put("b.jpg");

    sequence.updateHotFolder();
    DispatchQueue::global().drain();
    sequence.clear();
    settle();

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(listener.newFiles, 0);
}

TEST_F(Look, IsMadeAgainForWhatHappensMeanwhile)
{
    open({ "a.jpg" });
    sequence.updateHotFolder();
    DispatchQueue::global().drain();
    put("b.jpg");

    sequence.updateHotFolder();
    settle();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
}

// Events of the file system.

using Event = WatchedFolder;

TEST_F(Event, OfANewFileBringsItAfterASecond)
{
    open({ "a.jpg" });
    put("b.jpg");
    settle();

    clock.advance(999ms);
    settle();
    EXPECT_EQ(sequence.count(), 1U);
    clock.advance(1ms);
    settle();

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
    EXPECT_EQ(listener.newFiles, 1);
}

TEST_F(Event, OfManyFilesIsAnsweredByOneLook)
{
    open({ "a.jpg" });
    for (int i = 0; i < 100; ++i)
        put("b" + QByteArray::number(i) + ".jpg");

    pass(1s);

    EXPECT_EQ(sequence.count(), 101U);
    EXPECT_EQ(listener.newFiles, 1);
}

TEST_F(Event, OfARemovedFileDropsIt)
{
    open({ "a.jpg", "b.jpg" });
    folder.remove("b.jpg");

    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
}

TEST_F(Event, OfARenamedFileGivesItItsNewName)
{
    open({ "a.jpg", "b.jpg" });
    rename("b.jpg", "c.jpg");

    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "c.jpg"));
}

TEST_F(Event, OfTheCurrentFileTellsThatItChanged)
{
    open({ "a.jpg", "b.jpg" });
    const TimePoint before = sequence.mLastHotfolderScan();
    put("a.jpg", "another picture");

    pass(1s);

    EXPECT_EQ(listener.changes, 1);
    EXPECT_EQ(sequence.mLastHotfolderScan(), before); // For this alone nobody looks.
}

TEST_F(Event, OfAFileThatReplacesTheCurrentOneTellsThatItChanged)
{
    open({ "a.jpg", "b.jpg" });
    put("new");
    rename("new", "a.jpg"); // As editors save.

    pass(1s);

    EXPECT_EQ(listener.changes, 1);
    EXPECT_EQ(current(), "a.jpg");
}

TEST_F(Event, OfAnotherFileTellsNothing)
{
    open({ "a.jpg", "b.jpg" });
    put("b.jpg", "another picture");

    pass(1s);

    EXPECT_EQ(listener.changes, 0);
}

TEST_F(Event, OfAChangedFileDropsItsDecodedPicture)
{
    open({ "a.jpg", "b.jpg" });
    const auto image = SVImage::imageWithImage(QImage(1, 1, QImage::Format_RGB32));
    image->setMURL(folder.url("b.jpg"));
    SVImageCache::instance().addImage(image);
    put("b.jpg", "another picture");

    pass(1s);

    EXPECT_THAT(SVImageCache::instance().images(), IsEmpty());
}

TEST_F(Event, ComesFromNewFoldersToo)
{
    open({ "a.jpg" });
    put("sub/deeper/b.jpg");
    pass(1s);
    ASSERT_THAT(slides(), ElementsAre("a.jpg", "sub/deeper/b.jpg"));

    put("sub/deeper/c.jpg");
    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "sub/deeper/c.jpg", "sub/deeper/b.jpg"));
}

TEST_F(Event, ComesFromAFolderThatMoved)
{
    open({ "a.jpg", "sub/x/b.jpg" });
    rename("sub", "moved");
    pass(1s);
    ASSERT_THAT(slides(), ElementsAre("a.jpg", "moved/x/b.jpg"));

    put("moved/x/c.jpg");
    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "moved/x/c.jpg", "moved/x/b.jpg"));
}

TEST_F(Event, OfAFolderThatVanishesDropsWhatWasInIt)
{
    open({ "a.jpg", "sub/b.jpg", "sub/x/c.jpg" });
    removeTree("sub");

    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
}

TEST_F(Event, OfTheFolderItselfEmptiesTheList)
{
    put("sub/a.jpg");
    sequence.addURLs({ folder.url("sub") });
    settle();
    rename("sub", "elsewhere");

    pass(1s);

    EXPECT_EQ(sequence.count(), 0U);
}

TEST_F(Event, ThatTheKernelCouldNotKeepIsMadeUpForByALook)
{
    open({ "a.jpg", "b.jpg" });
    for (int i = 0; i < 20'000; ++i) { // More than the kernel keeps.
        folder.setModified("a.jpg", kLongAgo);
        ::close(::open(folder.path(i % 2 ? "a.jpg" : "b.jpg").constData(), O_WRONLY | O_CLOEXEC));
    }
    put("c.jpg");

    for (int i = 0; i < 20; ++i)
        settle();
    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "c.jpg", "b.jpg"));
    EXPECT_GE(listener.changes, 1);
}

// Files that are being written.

class UnfinishedFile : public WatchedFolder {
protected:
    ~UnfinishedFile() override { finish(); }

    /// Begins to write.
    void begin(const QByteArray& name)
    {
        mFile = ::open(
            folder.path(name).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        write();
    }

    void write() const { ASSERT_EQ(::write(mFile, "piece", 5), 5); }

    void finish()
    {
        if (mFile >= 0)
            ::close(mFile);
        mFile = -1;
    }

    int mFile = -1;
};

TEST_F(UnfinishedFile, IsNotListed)
{
    open({ "a.jpg" });
    begin("b.jpg");
    folder.setModified("b.jpg", kLongAgo);

    for (int i = 0; i < 5; ++i)
        pass(5s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
    EXPECT_TRUE(sequence.awaitsFiles());
}

TEST_F(UnfinishedFile, IsListedASecondAfterItsWriterIsDone)
{
    open({ "a.jpg" });
    begin("b.jpg");
    pass(3s);
    folder.setModified("b.jpg", kLongAgo);
    finish();

    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
    EXPECT_EQ(listener.newFiles, 1);
    EXPECT_FALSE(sequence.awaitsFiles());
}

TEST_F(UnfinishedFile, IsNotListedWhileItIsWrittenBitByBit)
{
    open({ "a.jpg" });
    for (int i = 0; i < 20; ++i) {
        begin("b.jpg");
        finish();
        pass(200ms);
        EXPECT_EQ(sequence.count(), 1U) << i;
    }

    pass(2s); // Its date is no help: the clock that wrote it is ahead.

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(UnfinishedFile, IsListedWhenItsDateIsAnHourAhead)
{
    open({ "a.jpg" });
    put("b.jpg");
    folder.setModified(
        "b.jpg", std::chrono::nanoseconds(clock.fileTime().time_since_epoch() + 1h).count());

    pass(1s);
    EXPECT_EQ(sequence.count(), 1U);
    pass(1s);

    EXPECT_EQ(sequence.count(), 2U);
}

TEST_F(UnfinishedFile, IsNotWaitedForOnceItIsGone)
{
    open({ "a.jpg" });
    begin("b.jpg");
    pass(1s);
    ASSERT_TRUE(sequence.awaitsFiles());
    folder.remove("b.jpg");
    finish();

    pass(1s);

    EXPECT_FALSE(sequence.awaitsFiles());
    EXPECT_EQ(sequence.count(), 1U);
}

TEST_F(UnfinishedFile, ThatIsPutOffComesBackWhenItIsFinished)
{
    put({ "a.jpg", "c.jpg" });
    begin("b.jpg");
    open({}, 1);
    ASSERT_EQ(current(), "b.jpg");

    sequence.putOff(folder.url("b.jpg"));
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "c.jpg"));
    pass(5s);
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "c.jpg"));
    folder.setModified("b.jpg", kLongAgo);
    finish();
    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "c.jpg", "b.jpg"));
    EXPECT_THAT(sequence.mRemovedURLs(), IsEmpty());
}

TEST_F(UnfinishedFile, ThatIsPutOffComesBackWithoutAWatch)
{
    put("a.jpg");
    begin("b.jpg");
    sequence.addURLs({ folder.url("a.jpg"), folder.url("b.jpg") });

    sequence.putOff(folder.url("b.jpg"));
    pass(3s);
    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
    folder.setModified("b.jpg", kLongAgo);
    finish();
    pass(1s);

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
    EXPECT_EQ(listener.newFiles, 1);
    EXPECT_FALSE(sequence.awaitsFiles());
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(UnfinishedFile, ThatIsPutOffAndVanishesIsForgotten)
{
    begin("b.jpg");
    sequence.addURLs({ folder.url("b.jpg") });
    sequence.putOff(folder.url("b.jpg"));
    folder.remove("b.jpg");

    pass(1s);

    EXPECT_FALSE(sequence.awaitsFiles());
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(UnfinishedFile, ThatIsPutOffIsForgottenWithTheList)
{
    sequence.addURLs({ FileURL(put("b.jpg")) });
    sequence.putOff(folder.url("b.jpg"));

    sequence.clear();
    pass(2s);

    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_FALSE(sequence.awaitsFiles());
}

TEST_F(WatchedFolder, KnowsWhichOfTheNewFilesAreMovies)
{
    const TypeIdentifier::DecodersForTesting all(
        { QStringLiteral("jpg") }, TypeIdentifier::DecodersForTesting::Audiovisual::All);
    open({ "a.jpg" });

    put("b.mov");
    put("c.jpg");
    look();

    EXPECT_TRUE(sequence.isMovie(folder.url("b.mov")));
    EXPECT_FALSE(sequence.isMovie(folder.url("c.jpg")));
}

} // namespace
} // namespace quorvane
