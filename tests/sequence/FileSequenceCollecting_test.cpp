// SPDX-License-Identifier: GPL-3.0-or-later
// What a sequence collects from files and folders, and when it says so.
#include "platform/TypeIdentifier.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "settings/SettingsCatalogue.h"
#include "support/ByteFolder.h"
#include "support/ManualClock.h"

#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/inotify.h>

#include <filesystem>
#include <string>
#include <thread>

namespace quorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tests::ByteFolder;
using Audiovisual = TypeIdentifier::DecodersForTesting::Audiovisual;

QStringList pictures() { return { QStringLiteral("jpg"), QStringLiteral("png") }; }

/// Counts what it hears and does what a test wants done.
class Listener : public FileSequenceDelegate {
public:
    void firstFileFound() override
    {
        ++firstFiles;
        thread = std::this_thread::get_id();
        if (atFirstFile)
            atFirstFile();
    }
    void newFilesFound() override { ADD_FAILURE(); }
    void currentFileChanged() override { ADD_FAILURE(); }

    int firstFiles = 0;
    std::thread::id thread;
    std::function<void()> atFirstFile;
};

class Collecting : public testing::Test {
protected:
    Collecting()
    {
        sequence.setDelegate(&listener);
        defaults.setValue(kSort, QString(kSortURL));
    }

    void setMaxLevel(int level) { defaults.setValue(kMaxFolderLevel, level); }

    /// The slides in show order, relative to the folder.
    std::vector<std::string> slides() const
    {
        std::vector<std::string> names;
        for (size_t i = 0; i < sequence.count(); ++i) {
            const QByteArray path = sequence.URLAtIndex(i)->path();
            EXPECT_TRUE(path.startsWith(folder.path() + '/'));
            names.push_back(path.mid(folder.path().size() + 1).toStdString());
        }
        return names;
    }

    std::vector<std::string> slidesOf(const QByteArray& path)
    {
        sequence.clear();
        sequence.addURLs({ FileURL(path) });
        return slides();
    }

    const TypeIdentifier::DecodersForTesting decoders { pictures() };
    ByteFolder folder;
    UserDefaults defaults;
    ManualClock clock;
    Listener listener;
    FileSequence sequence { defaults, clock };
};

TEST_F(Collecting, ListsTheDisplayableFilesOfAFolder)
{
    for (const char* name :
        { "a.jpg", "b.PNG", "c.JPEG", "notes.txt", "d.jpg.bak", "jpg", "Makefile" })
        folder.file(name, "text");

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("a.jpg", "b.PNG", "c.JPEG"));
}

TEST_F(Collecting, ListsAFileAlone)
{
    folder.file("a.jpg");
    folder.file("b.jpg");
    folder.file("c.txt");

    EXPECT_THAT(slidesOf(folder.path("b.jpg")), ElementsAre("b.jpg"));
    EXPECT_THAT(slidesOf(folder.path("c.txt")), IsEmpty());
}

TEST_F(Collecting, KnowsAFileWithoutAnExtensionByItsContents)
{
    folder.file("picture", QByteArray("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01", 16));
    folder.file("page", "%PDF-1.4\n");
    folder.file("empty");

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("picture"));
}

TEST_F(Collecting, SkipsWhatDoesNotExist)
{
    folder.file("a.jpg");

    sequence.addFiles({ folder.path("none.jpg"), folder.path("a.jpg"), folder.path("none/"), {} });
    sequence.addDirectory(folder.path("none"));
    sequence.addURL(FileURL());

    EXPECT_THAT(slides(), ElementsAre("a.jpg"));
}

TEST_F(Collecting, NeverListsPagesWhateverOpensThem)
{
    const TypeIdentifier::DecodersForTesting all({ QStringLiteral("jpg"), QStringLiteral("pdf"),
                                                     QStringLiteral("eps"), QStringLiteral("ps") },
        Audiovisual::All);
    for (const char* name : { "a.pdf", "b.eps", "c.ps", "d.epsf", "e.jpg" })
        folder.file(name);

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("e.jpg"));
    for (const char* name : { "a.pdf", "b.eps", "c.ps", "none.jpg" }) {
        EXPECT_FALSE(FileSequence::displayableURL(folder.url(name))) << name;
        EXPECT_THAT(slidesOf(folder.path(name)), IsEmpty()) << name;
    }
    EXPECT_TRUE(FileSequence::displayableURL(folder.url("e.jpg")));
    EXPECT_FALSE(FileSequence::displayableURL(FileURL(folder.path())));
}

TEST_F(Collecting, ListsMoviesAndSoundOnlyWhereTheyCanBePlayed)
{
    for (const char* name : { "a.mov", "b.mp4", "c.mp3", "d.png" })
        folder.file(name);

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("d.png"));
    const TypeIdentifier::DecodersForTesting all(pictures(), Audiovisual::All);
    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("a.mov", "b.mp4", "c.mp3", "d.png"));
}

TEST_F(Collecting, KnowsWhichSlidesAreMovies)
{
    const TypeIdentifier::DecodersForTesting all(pictures(), Audiovisual::All);
    folder.file("clip",
        QByteArray("\0\0\0\x18"
                   "ftypmp42",
            12));
    folder.file("sound.mp3");
    folder.file("a.jpg");
    folder.file("b.gif");
    folder.file("film.mov");
    folder.link("film.mov", "link.jpg");

    sequence.addFiles({ folder.path() });

    for (const char* const name : { "clip", "film.mov", "link.jpg", "sound.mp3" })
        EXPECT_TRUE(sequence.isMovie(folder.url(name))) << name;
    for (const char* const name : { "a.jpg", "b.gif", "none.mov" })
        EXPECT_FALSE(sequence.isMovie(folder.url(name))) << name;
}

TEST_F(Collecting, ListsOnlyPicturesThatCanBeOpened)
{
    folder.file("a.jpg");
    folder.file("b.png");
    const TypeIdentifier::DecodersForTesting png({ QStringLiteral("png") });

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("b.png"));
}

class FolderLevel : public Collecting {
protected:
    FolderLevel()
    {
        for (const char* name : { "1.jpg", "b/2.jpg", "b/c/3.jpg", "b/c/d/4.jpg" })
            folder.file(name);
    }
};

TEST_F(FolderLevel, OneTakesTheFoldersOwnFiles)
{
    setMaxLevel(1);

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("1.jpg"));
    EXPECT_THAT(slidesOf(folder.path("b/c")), ElementsAre("b/c/3.jpg"));
}

TEST_F(FolderLevel, TwoTakesThoseOfItsSubFoldersToo)
{
    setMaxLevel(2);

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("1.jpg", "b/2.jpg"));
}

TEST_F(FolderLevel, ZeroAndLessTakeAll)
{
    for (const int level : { 0, -1, -100 }) {
        setMaxLevel(level);
        EXPECT_THAT(
            slidesOf(folder.path()), ElementsAre("1.jpg", "b/2.jpg", "b/c/3.jpg", "b/c/d/4.jpg"));
    }
}

TEST_F(FolderLevel, IsUnlimitedWhileItIsNotSet) { EXPECT_EQ(slidesOf(folder.path()).size(), 4U); }

TEST_F(FolderLevel, SkipsOnlyWhatLiesTooDeep)
{
    // Whatever the order of the walk: a shallow file beside each deep folder.
    for (const char* name : { "a/x.jpg", "a/deep/y.jpg", "z/x.jpg", "z/deep/y.jpg", "z/w.jpg" })
        folder.file(name);
    setMaxLevel(2);

    EXPECT_THAT(
        slidesOf(folder.path()), ElementsAre("1.jpg", "a/x.jpg", "b/2.jpg", "z/w.jpg", "z/x.jpg"));
}

TEST_F(FolderLevel, IsReadWhenAFolderIsCollected)
{
    setMaxLevel(1);
    sequence.addURL(FileURL(folder.path()));
    EXPECT_EQ(sequence.count(), 1U);
    setMaxLevel(3);

    sequence.addURL(FileURL(folder.path()));

    EXPECT_EQ(sequence.count(), 4U);
}

TEST_F(Collecting, SkipsTheHiddenAtTheTopOnly)
{
    for (const char* name : { ".x.jpg", ".cache/x.jpg", ".cache/deep/x.jpg", "sub/.x.jpg",
             "sub/.cache/x.jpg", "x.jpg" })
        folder.file(name);

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("sub/.cache/x.jpg", "sub/.x.jpg", "x.jpg"));
}

TEST_F(Collecting, TakesAHiddenFileOrFolderThatIsNamed)
{
    folder.file(".x.jpg");
    folder.file(".cache/y.jpg");

    EXPECT_THAT(slidesOf(folder.path(".x.jpg")), ElementsAre(".x.jpg"));
    EXPECT_THAT(slidesOf(folder.path(".cache")), ElementsAre(".cache/y.jpg"));
}

TEST_F(Collecting, WalksIntoPackages)
{
    folder.file("Some.app/Contents/icon.png");
    folder.file("pictures.jpg/a.jpg");

    EXPECT_THAT(
        slidesOf(folder.path()), ElementsAre("Some.app/Contents/icon.png", "pictures.jpg/a.jpg"));
}

TEST_F(Collecting, ListsLinksToFilesUnderTheirOwnPaths)
{
    const ByteFolder elsewhere;
    elsewhere.file("far.png");
    elsewhere.file("named-as-text.txt");
    folder.file("a.jpg");
    folder.link("a.jpg", "again.jpg");
    folder.link("a.jpg", "a-link-without-an-extension");
    folder.link(elsewhere.path("far.png"), "far.jpg");
    folder.link(elsewhere.path("named-as-text.txt"), "text.jpg");

    EXPECT_THAT(slidesOf(folder.path()),
        ElementsAre("a-link-without-an-extension", "a.jpg", "again.jpg", "far.jpg"));
}

TEST_F(Collecting, FollowsNoLinksToFolders)
{
    folder.file("a/x.jpg");
    folder.link("a", "b");
    folder.link("..", "a/up");
    folder.link(".", "a/same.jpg");

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("a/x.jpg"));
}

TEST_F(Collecting, SkipsLinksThatLeadNowhere)
{
    folder.file("x.jpg");
    folder.link("none.jpg", "broken.jpg");
    folder.link("one.jpg", "two.jpg");
    folder.link("two.jpg", "one.jpg");
    folder.link("self.jpg", "self.jpg");

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("x.jpg"));
    EXPECT_THAT(slidesOf(folder.path("one.jpg")), IsEmpty());
    EXPECT_THAT(slidesOf(folder.path("broken.jpg")), IsEmpty());
}

TEST_F(Collecting, WalksAFolderThatIsNamedByALink)
{
    folder.file("real/sub/x.jpg");
    folder.link("real", "way");

    EXPECT_THAT(slidesOf(folder.path("way")), ElementsAre("way/sub/x.jpg"));
}

TEST_F(Collecting, JoinsPathsWithOneSlash)
{
    folder.file("sub/x.jpg");

    EXPECT_THAT(slidesOf(folder.path() + '/'), ElementsAre("sub/x.jpg"));
}

TEST_F(Collecting, ListsAgainWhatIsOpenedAgain)
{
    folder.file("a.jpg");
    folder.file("b.jpg");

    sequence.addFiles({ folder.path("a.jpg"), folder.path("a.jpg") });
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "a.jpg"));
    sequence.addURLs({ FileURL(folder.path()) });

    EXPECT_THAT(slides(), ElementsAre("a.jpg", "a.jpg", "a.jpg", "b.jpg"));
}

TEST_F(Collecting, ListsSeveralFolders)
{
    folder.file("a/1.jpg");
    folder.file("b/2.jpg");
    folder.file("c/3.jpg");

    sequence.addURLs({ folder.url("c"), folder.url("a") });
    sequence.addFiles({ folder.path("b"), folder.path("a/1.jpg") });

    EXPECT_THAT(slides(), ElementsAre("a/1.jpg", "a/1.jpg", "b/2.jpg", "c/3.jpg"));
}

TEST_F(Collecting, SortsAtTheEnd)
{
    folder.file("b.jpg");
    folder.file("a.jpg");

    sequence.addURLs({ folder.url("b.jpg"), folder.url("a.jpg") });
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
    sequence.clear();
    sequence.addFiles({ folder.path("b.jpg"), folder.path("a.jpg") });
    EXPECT_THAT(slides(), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(Collecting, OfOneEntryDoesNotSort)
{
    folder.file("b.jpg");
    folder.file("a.jpg");

    sequence.addURL(folder.url("b.jpg"));
    sequence.addFile(folder.path("a.jpg"));

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "a.jpg"));
}

TEST_F(Collecting, OfOneFolderKeepsTheOrderOfTheFileSystem)
{
    for (int i = 0; i < 20; ++i)
        folder.file(QByteArray::number(i * 7919 % 1000) + ".jpg");
    std::vector<std::string> expected;
    DIR* const stream = opendir(folder.path().constData());
    ASSERT_NE(stream, nullptr);
    while (const dirent* entry = readdir(stream)) {
        if (entry->d_name[0] != '.')
            expected.emplace_back(entry->d_name);
    }
    closedir(stream);

    sequence.addURL(FileURL(folder.path()));

    EXPECT_EQ(slides(), expected);
}

TEST_F(Collecting, AddsBehindWhatIsThere)
{
    for (const char* name : { "a.jpg", "b.jpg", "c.jpg" })
        folder.file(name);
    sequence.addFiles({ folder.path("b.jpg"), folder.path("c.jpg") });
    sequence.gotoIndex(1);

    sequence.addFile(folder.path("a.jpg"));

    EXPECT_THAT(slides(), ElementsAre("b.jpg", "c.jpg", "a.jpg"));
    EXPECT_EQ(sequence.currentIndex(), 1U);
}

/// Notices when a file is opened.
class OpenWatch {
public:
    explicit OpenWatch(const std::vector<QByteArray>& paths)
    {
        for (const QByteArray& path : paths)
            EXPECT_GE(inotify_add_watch(mDescriptor, path.constData(), IN_OPEN), 0) << path.data();
    }
    ~OpenWatch() { close(mDescriptor); }
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;

    /// Since it was asked last.
    bool isOpened() const
    {
        char events[4096];
        return read(mDescriptor, events, sizeof(events)) > 0;
    }

private:
    const int mDescriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

TEST_F(Collecting, NeitherListsNorOpensPipesSocketsAndDevices)
{
    const std::vector<QByteArray> pipes { folder.pipe("pipe.jpg"), folder.pipe("pipe") };
    folder.socket("socket.jpg");
    folder.socket("socket");
    folder.folder("folder.jpg");
    folder.link("/dev/zero", "device.jpg");
    folder.link("/dev/zero", "device");
    folder.link("pipe.jpg", "link.jpg");
    folder.link("pipe", "link");
    const OpenWatch watch(pipes);

    EXPECT_THAT(slidesOf(folder.path()), IsEmpty());
    for (const char* name : { "pipe.jpg", "pipe", "socket.jpg", "socket", "folder.jpg",
             "device.jpg", "device", "link.jpg", "link" }) {
        EXPECT_THAT(slidesOf(folder.path(name)), IsEmpty()) << name;
        EXPECT_FALSE(FileSequence::displayableURL(folder.url(name))) << name;
    }

    EXPECT_FALSE(watch.isOpened());
    // The watch would have noticed.
    close(open(pipes.front().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_TRUE(watch.isOpened());
}

TEST_F(Collecting, OpensNoFileWhoseNameSaysEnough)
{
    folder.file("a.jpg");
    const OpenWatch watch({ folder.path("a.jpg") });

    EXPECT_EQ(slidesOf(folder.path()).size(), 1U);

    EXPECT_FALSE(watch.isOpened());
}

/// The file system of this thread as somebody without rights sees it.
class WithoutRights {
public:
    WithoutRights()
    {
        if (geteuid() == 0)
            setfsuid(kNobody);
    }
    ~WithoutRights() { setfsuid(geteuid()); }
    WithoutRights(const WithoutRights&) = delete;
    WithoutRights& operator=(const WithoutRights&) = delete;

private:
    static constexpr uid_t kNobody = 65534;
};

TEST_F(Collecting, PassesOverAFolderThatCannotBeRead)
{
    folder.file("a/x.jpg");
    folder.file("locked/x.jpg");
    folder.file("z/x.jpg");
    chmod(folder.path().constData(), 0755);
    chmod(folder.path("locked").constData(), 0);
    bool isLocked = false;
    {
        const WithoutRights nobody;
        isLocked = access(folder.path("a").constData(), F_OK) == 0
            && open(folder.path("locked").constData(), O_RDONLY | O_CLOEXEC) < 0;

        sequence.addURLs({ FileURL(folder.path()), folder.url("locked") });
    }
    chmod(folder.path("locked").constData(), 0755);

    if (!isLocked)
        GTEST_SKIP() << "every folder can be read here";
    EXPECT_THAT(slides(), ElementsAre("a/x.jpg", "z/x.jpg"));
}

TEST_F(Collecting, OutlivesAFolderThatVanishesMeanwhile)
{
    for (int i = 0; i < 10; ++i)
        folder.file("top/" + QByteArray::number(i) + "/a.jpg");
    listener.atFirstFile = [&] { std::filesystem::remove_all(folder.path("top").toStdString()); };

    sequence.addURLs({ folder.url("top") });

    EXPECT_EQ(sequence.count(), 1U);
}

TEST_F(Collecting, SkipsFilesThatVanishMeanwhile)
{
    for (int i = 0; i < 10; ++i)
        folder.file("top/" + QByteArray::number(i) + ".jpg");
    listener.atFirstFile = [&] { std::filesystem::remove_all(folder.path("top").toStdString()); };

    sequence.addURLs({ folder.url("top") });

    EXPECT_EQ(sequence.count(), 1U);
}

TEST_F(Collecting, TakesNamesThatAreNoTextOrOdd)
{
    const std::vector<std::string> names { "\x80\xFF.jpg", "a\nb.jpg", "a b;c?d#e%20.jpg",
        std::string(251, 'n') + ".jpg", "\xC3\xA9.jpg" };
    for (const std::string& name : names)
        folder.file(QByteArray::fromStdString(name));

    EXPECT_THAT(slidesOf(folder.path()), testing::UnorderedElementsAreArray(names));
    for (const std::string& name : names)
        EXPECT_THAT(slidesOf(folder.path(QByteArray::fromStdString(name))), ElementsAre(name));
}

TEST_F(Collecting, TakesASubFolderWhoseNameIsNoText)
{
    folder.file("\xFE\n/x.jpg");

    EXPECT_THAT(slidesOf(folder.path()), ElementsAre("\xFE\n/x.jpg"));
}

TEST_F(Collecting, KnowsTheDatesOfWhatItListsForSorting)
{
    folder.file("new.jpg");
    folder.file("old.jpg");
    folder.file("a/oldest.jpg");
    folder.setModified("new.jpg", 3'000);
    folder.setModified("old.jpg", 2'000);
    folder.setModified("a/oldest.jpg", 1'000);
    folder.link("a/oldest.jpg", "link.jpg");
    defaults.setValue(kSort, QString(kSortDate));

    EXPECT_THAT(slidesOf(folder.path("new.jpg")), ElementsAre("new.jpg"));
    sequence.addURLs({ FileURL(folder.path()) });

    const auto all = slides();
    ASSERT_EQ(all.size(), 5U);
    EXPECT_THAT(std::vector<std::string>(all.begin(), all.begin() + 2),
        UnorderedElementsAre("a/oldest.jpg", "link.jpg"));
    EXPECT_THAT(std::vector<std::string>(all.begin() + 2, all.end()),
        ElementsAre("old.jpg", "new.jpg", "new.jpg"));
}

TEST_F(Collecting, SortsALinkByTheNameOfItsTarget)
{
    folder.file("a.jpg");
    folder.file("m.jpg");
    folder.link("a.jpg", "z.jpg");
    defaults.setValue(kSort, QString(kSortName));

    sequence.addFiles({ folder.path("m.jpg"), folder.path("z.jpg") });

    EXPECT_THAT(slides(), ElementsAre("z.jpg", "m.jpg"));
}

class FirstFile : public Collecting {
protected:
    FirstFile()
    {
        folder.file("a.jpg");
        folder.file("b.jpg");
        folder.file("none/c.txt");
    }
};

TEST_F(FirstFile, IsToldOnceForAFolder)
{
    sequence.addURLs({ FileURL(folder.path()) });

    EXPECT_EQ(listener.firstFiles, 1);
}

TEST_F(FirstFile, IsToldWhileTheListHoldsOne)
{
    size_t count = 0;
    std::optional<FileURL> current;
    listener.atFirstFile = [&] {
        count = sequence.count();
        current = sequence.current();
    };

    sequence.addURLs({ FileURL(folder.path()) });

    EXPECT_EQ(count, 1U);
    EXPECT_TRUE(current);
    EXPECT_EQ(sequence.count(), 2U);
}

TEST_F(FirstFile, IsNotToldWhenNothingIsFound)
{
    sequence.addURLs({ folder.url("none"), folder.url("missing.jpg") });

    EXPECT_EQ(listener.firstFiles, 0);
}

TEST_F(FirstFile, IsNotToldWhenMoreIsAdded)
{
    sequence.addFile(folder.path("a.jpg"));
    sequence.addFile(folder.path("b.jpg"));

    EXPECT_EQ(listener.firstFiles, 1);
}

TEST_F(FirstFile, IsToldAgainAfterTheListWasEmptied)
{
    sequence.addFiles({ folder.path("a.jpg") });
    sequence.clear();
    sequence.addFiles({ folder.path("a.jpg") });
    EXPECT_EQ(listener.firstFiles, 2);
    sequence.remove(folder.url("a.jpg"));

    sequence.addURL(folder.url("b.jpg"));

    EXPECT_EQ(listener.firstFiles, 3);
}

TEST_F(FirstFile, IsNotToldWhenTheListShrinksToOne)
{
    sequence.addFiles({ folder.path("a.jpg"), folder.path("b.jpg") });

    sequence.remove(folder.url("a.jpg"));

    EXPECT_EQ(listener.firstFiles, 1);
}

TEST_F(FirstFile, IsToldOnTheThreadThatCollects)
{
    std::thread collector([&] { sequence.addURLs({ FileURL(folder.path()) }); });
    const auto id = collector.get_id();
    collector.join();
    EXPECT_EQ(listener.thread, id);

    sequence.clear();
    sequence.addURL(folder.url("a.jpg"));

    EXPECT_EQ(listener.thread, std::this_thread::get_id());
}

TEST_F(FirstFile, NeedsNobodyToHearOfIt)
{
    sequence.setDelegate(nullptr);

    sequence.addURLs({ FileURL(folder.path()) });

    EXPECT_EQ(sequence.count(), 2U);
    EXPECT_EQ(listener.firstFiles, 0);
}

class Stopping : public Collecting {
protected:
    Stopping()
    {
        for (const char* name : { "a/1.jpg", "a/2.jpg", "a/3.jpg", "b/4.jpg", "b/c/5.jpg" })
            folder.file(name);
    }
};

TEST_F(Stopping, EndsAWalkAndAllThatIsToFollow)
{
    listener.atFirstFile = [&] { sequence.stopCollecting(); };

    sequence.addURLs({ folder.url("a"), folder.url("b"), folder.url("b/4.jpg") });

    EXPECT_EQ(sequence.count(), 1U);
}

TEST_F(Stopping, LetsNoneBeginUntilTheListIsCleared)
{
    sequence.stopCollecting();

    sequence.addURLs({ folder.url("a") });
    sequence.addFiles({ folder.path("a/1.jpg") });
    sequence.addURL(folder.url("a/1.jpg"));
    sequence.addFile(folder.path("a/1.jpg"));
    sequence.addDirectory(folder.path("a"));
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(listener.firstFiles, 0);
    sequence.clear();
    sequence.addURLs({ folder.url("a") });

    EXPECT_EQ(sequence.count(), 3U);
}

TEST_F(Stopping, KeepsTheListAndThePosition)
{
    sequence.addURLs({ folder.url("a") });
    sequence.gotoIndex(2);

    sequence.stopCollecting();

    EXPECT_EQ(sequence.count(), 3U);
    EXPECT_EQ(sequence.currentIndex(), 2U);
}

TEST_F(Stopping, ComesWithClearing)
{
    listener.atFirstFile = [&] { sequence.clear(); };

    sequence.addURLs({ folder.url("a"), folder.url("b"), folder.url("b/4.jpg") });
    EXPECT_EQ(sequence.count(), 0U);
    EXPECT_EQ(listener.firstFiles, 1);
    listener.atFirstFile = {};
    sequence.addURLs({ folder.url("b") });

    EXPECT_THAT(slides(), ElementsAre("b/4.jpg", "b/c/5.jpg"));
}

TEST_F(Stopping, StillComesWhenTheListIsClearedBeforeItIsNoticed)
{
    listener.atFirstFile = [&] {
        sequence.stopCollecting();
        sequence.clear();
    };

    sequence.addFiles({ folder.path("a"), folder.path("b") });

    EXPECT_EQ(sequence.count(), 0U);
}

TEST_F(Stopping, EntersFoldersAgainAfterAnEndedWalk)
{
    listener.atFirstFile = [&] { sequence.stopCollecting(); };
    sequence.addURL(folder.url("a"));
    listener.atFirstFile = {};
    sequence.clear();

    sequence.addURL(folder.url("b"));

    EXPECT_EQ(sequence.count(), 2U);
}

} // namespace
} // namespace quorvane
