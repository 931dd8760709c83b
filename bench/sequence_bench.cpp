// SPDX-License-Identifier: GPL-3.0-or-later
// How long it takes to list, order and step through 100,000 slides; with "looks", to look at them
// again.
//
// Everything is compared with a limit that is measured in the same run: listing and sorting with a
// bare walk of the same folder, what should grow with the number of slides with a tenth of them.
// The files lie in a temporary folder that is removed again; they are in the page cache. Times are
// those of the processor, medians of several runs in turn.
#include "images/CGRectUtils.h"
#include "platform/FolderWatches.h"
#include "platform/SystemClock.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "sequence/FolderLook.h"
#include "settings/SettingsCatalogue.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <string_view>
#include <vector>

namespace quorvane {
namespace {

constexpr int kRuns = 9;
constexpr int kFilesOfAFolder = 200;
constexpr int kManyFolders = 500;
constexpr int kSomeFolders = 100;
constexpr int kFewFolders = 50;
constexpr size_t kMany = size_t(kManyFolders) * kFilesOfAFolder;
constexpr size_t kSome = size_t(kSomeFolders) * kFilesOfAFolder;
constexpr size_t kFew = size_t(kFewFolders) * kFilesOfAFolder;

constexpr double kListingLimit = 2.5; ///< Times the bare walk.
constexpr double kSortingLimit = 1.0; ///< Times the bare walk.
constexpr double kLookLimit = 1.5; ///< Times the bare walk.
constexpr double kLinearLimit = 15.0; ///< Times a tenth of the files.
constexpr double kLookShare = 0.01 * 5e9; ///< Nanoseconds: of one processor, every five seconds.
constexpr double kCompanionsLimit = 15.0; ///< Times a tenth of the items.
constexpr double kCallLimit = 1000.0; ///< Nanoseconds.
constexpr size_t kCalls = 200'000;

/// Something in this run cannot be measured.
[[noreturn]] void giveUp(const char* what)
{
    std::fprintf(stderr, "sequence_bench: %s\n", what);
    std::exit(1);
}

/// Of the processor, for this thread: nothing here waits for anything, and what else the machine
/// does counts less.
double nanosecondsNow()
{
    timespec time = {};
    if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time) != 0)
        giveUp("there is no clock");
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double nanosecondsOf(const std::function<void()>& work)
{
    const double begin = nanosecondsNow();
    work();
    return nanosecondsNow() - begin;
}

/// What one kind of work took in each run, in nanoseconds.
class Times {
public:
    void measure(const std::function<void()>& work) { mTimes.push_back(nanosecondsOf(work)); }

    double median() const { return sorted()[mTimes.size() / 2]; }
    double least() const { return sorted().front(); }
    double most() const { return sorted().back(); }

    /// Every time multiplied.
    Times times(double factor) const
    {
        Times result = *this;
        for (double& time : result.mTimes)
            time *= factor;
        return result;
    }

private:
    std::vector<double> sorted() const
    {
        std::vector<double> times = mTimes;
        std::sort(times.begin(), times.end());
        return times;
    }

    std::vector<double> mTimes;
};

void makeFiles(const QByteArray& root, int folders)
{
    for (int folder = 0; folder < folders; ++folder) {
        const QByteArray path = root + "/folder" + QByteArray::number(folder);
        if (mkdir(path.constData(), 0755) != 0)
            giveUp("cannot make a folder");
        for (int i = 0; i < kFilesOfAFolder; ++i) {
            const QByteArray name = path + "/IMG_" + QByteArray::number(folder * 1000 + i) + ".jpg";
            const int file = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
            if (file < 0)
                giveUp("cannot make a file");
            close(file);
        }
    }
}

/// The least that a list of files with their dates costs: the names and attributes of all entries.
/// \return how many regular files there are.
size_t bareWalk(int parent, const char* name)
{
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const folder = descriptor < 0 ? nullptr : fdopendir(descriptor);
    if (!folder)
        giveUp("cannot read a folder");
    size_t files = 0;
    while (const dirent* entry = readdir(folder)) {
        const std::string_view entryName(entry->d_name);
        struct stat status = {};
        if (entryName == "." || entryName == ".."
            || fstatat(dirfd(folder), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        if (S_ISDIR(status.st_mode))
            files += bareWalk(dirfd(folder), entry->d_name);
        else if (S_ISREG(status.st_mode))
            ++files;
    }
    closedir(folder);
    return files;
}

/// The items that a folder gives, in random order.
SlideItems shuffledItems(size_t count)
{
    SlideItems items;
    items.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const auto number = static_cast<qint64>(i * 7919 % count);
        const QByteArray folder = QByteArray::number(number / kFilesOfAFolder);
        const QByteArray path = "/photos/folder" + folder + "/IMG_"
            + QByteArray::number(number / kFilesOfAFolder * 1000 + number % kFilesOfAFolder);
        items.push_back(SlideItem::itemWithURL(FileURL(path + ".jpg"),
            { FileKind::Regular, FileTime(std::chrono::seconds(number)), 0 }));
    }
    std::mt19937 random(1); // The same order in each run of the program.
    std::shuffle(items.begin(), items.end(), random);
    return items;
}

/// Half of them JPEG, half of them their companions, in random order.
SlideItems mixedItems(size_t count)
{
    SlideItems items;
    items.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const QByteArray path = "/photos/IMG_" + QByteArray::number(qulonglong(i / 2));
        items.push_back(SlideItem::itemWithURL(
            FileURL(path + (i % 2 ? ".jpg" : ".cr2")), { FileKind::Regular, FileTime(), 0 }));
    }
    std::mt19937 random(2);
    std::shuffle(items.begin(), items.end(), random);
    return items;
}

/// A watched folder, all of whose files are listed.
class ListedFolder {
public:
    ListedFolder(const QByteArray& path, size_t files)
    {
        mWatch.folder = path;
        mWatch.watches = FolderWatches::create();
        // So far ahead that no file counts as new.
        mOrder.wallNow = SystemClock().fileTime() + std::chrono::hours(1);
        SlideList::Snapshot listed;
        listed.items = lookAt(mWatch, mOrder, listed, {}, mUnfinished).fresh;
        if (listed.items.size() != files)
            giveUp("the look missed files");
        for (const auto& item : listed.items)
            mList.append(item, [] { return false; });
    }

    /// That finds nothing new.
    void look()
    {
        const SlideList::Snapshot listed = mList.snapshot();
        const FolderLook found = lookAt(mWatch, mOrder, listed, {}, mUnfinished);
        if (!found.fresh.empty() || !found.gone.empty())
            giveUp("the look found what is not there");
    }

private:
    FolderWatch mWatch;
    LookOrder mOrder;
    UnfinishedFiles mUnfinished;
    SlideList mList;
};

void printHeading()
{
    std::printf("| %-44s | %10s | %23s | %10s | %6s | %5s | %s\n", "work", "median", "min - max",
        "limit of", "ratio", "limit", "");
    std::printf("|:---|---:|---:|---:|---:|---:|:---|\n");
}

/// \param unit  nanoseconds that the printed number counts.
void printRow(const char* work, const Times& times, double unit, double measure, double limit)
{
    const double ratio = times.median() / measure;
    std::printf("| %-44s | %10.2f | %10.2f - %10.2f | %10.2f | %6.3f | %5.1f | %s |\n", work,
        times.median() / unit, times.least() / unit, times.most() / unit, measure / unit, ratio,
        limit, ratio <= limit ? "holds" : "MISSED");
}

void printUnlimited(const char* work, const Times& times, double unit)
{
    std::printf("| %-44s | %10.2f | %10.2f - %10.2f | %10s | %6s | %5s | |\n", work,
        times.median() / unit, times.least() / unit, times.most() / unit, "", "", "");
}

constexpr double kMillisecond = 1e6;

class Bench {
public:
    explicit Bench(const QByteArray& root)
        : mMany(root + "/many")
        , mSome(root + "/some")
        , mFew(root + "/few")
    {
        registerDefaultSettings(mDefaults);
        // A step behind the last slide is not to sort: that has a row of its own.
        mDefaults.setValue(kEndMode, QString(kEndModeWait));
        for (const QByteArray& path : { mMany, mSome, mFew }) {
            if (mkdir(path.constData(), 0755) != 0)
                giveUp("cannot make a folder");
        }
        makeFiles(mMany, kManyFolders);
        makeFiles(mSome, kSomeFolders);
        makeFiles(mFew, kFewFolders);
    }

    void run()
    {
        // Once for the page cache, the type tables and the memory of the process.
        runLists();
        mWalk = mListing = mFewWalk = mFewListing = {};
        for (int i = 0; i < kRuns; ++i) {
            runLists();
            runOrders();
            runCompanions();
            runCalls();
        }
    }

    /// In a process of their own: in memory that the rest has left in pieces a list lies all over.
    void runLooks()
    {
        ListedFolder many(mMany, kMany);
        ListedFolder some(mSome, kSome);
        ListedFolder few(mFew, kFew);
        for (int i = 0; i < kRuns; ++i) {
            mWalk.measure([this] { walk(mMany, kMany); });
            mLook.measure([&] { many.look(); });
            mSomeLook.measure([&] { some.look(); });
            mFewLook.measure([&] { few.look(); });
        }
    }

    void printLooks() const
    {
        printHeading();
        const double walk = mWalk.median();
        printUnlimited("bare walk of 100,000 files, ms", mWalk, kMillisecond);
        printRow("look again at 100,000 files, ms", mLook, kMillisecond, walk, kLookLimit);
        printRow(
            "the same, against 10,000, ms", mLook, kMillisecond, mFewLook.median(), kLinearLimit);
        printRow("look again at 20,000 files, ms", mSomeLook, kMillisecond, kLookShare, 1.0);
    }

    void print() const
    {
        printHeading();
        const double walk = mWalk.median();
        printUnlimited("bare walk of 100,000 files, ms", mWalk, kMillisecond);
        printUnlimited("bare walk of 10,000 files, ms", mFewWalk, kMillisecond);
        printRow("list 100,000 files, ms", mListing, kMillisecond, walk, kListingLimit);
        printRow(
            "list 10,000 files, ms", mFewListing, kMillisecond, mFewWalk.median(), kListingLimit);
        printRow("sort 100,000 by name, ms", mByName, kMillisecond, walk, kSortingLimit);
        printRow("sort 100,000 by url, ms", mByURL, kMillisecond, walk, kSortingLimit);
        printRow("sort 100,000 by date, ms", mByDate, kMillisecond, walk, kSortingLimit);
        printUnlimited("companions of 10,000, ms", mFewCompanions, kMillisecond);
        printRow("companions of 100,000, ms", mCompanions, kMillisecond, mFewCompanions.median(),
            kCompanionsLimit);
        printUnlimited("begin again, 100,000 sorted by name, ms", mRewind, kMillisecond);
        for (const Call& call : mCalls)
            printRow(call.name, call.times.times(1.0 / kCalls), 1, kCallLimit, 1.0);
    }

private:
    struct Call {
        const char* name;
        std::function<void(FileSequence&, size_t)> work;
        Times times = {};
    };

    void runLists()
    {
        mWalk.measure([this] { walk(mMany, kMany); });
        mSequence.clear();
        mListing.measure([this] { list(mMany, kMany); });
        mFewWalk.measure([this] { walk(mFew, kFew); });
        mSequence.clear();
        mFewListing.measure([this] { list(mFew, kFew); });
    }

    static void walk(const QByteArray& path, size_t files)
    {
        if (bareWalk(AT_FDCWD, path.constData()) != files)
            giveUp("the walk missed files");
    }

    void list(const QByteArray& path, size_t files)
    {
        mSequence.addURL(FileURL(path));
        if (mSequence.count() != files)
            giveUp("the sequence missed files");
    }

    void runOrders()
    {
        sort(kSortName, mByName);
        sort(kSortURL, mByURL);
        sort(kSortDate, mByDate);
    }

    void sort(QLatin1String order, Times& times)
    {
        SlideItems items = mShuffled;
        times.measure([&] { sortItems(items, order, systemRandomBelow); });
    }

    void runCompanions()
    {
        removeCompanionsOf(mMixed, mCompanions);
        removeCompanionsOf(mFewMixed, mFewCompanions);
    }

    static void removeCompanionsOf(SlideItems items, Times& times)
    {
        const size_t count = items.size();
        times.measure([&] { removeCompanions(items); });
        if (items.size() != count / 2)
            giveUp("companions were missed");
    }

    void runCalls()
    {
        mSequence.clear();
        list(mMany, kMany);
        mSequence.sort();
        mRewind.measure([this] { mSequence.rewind(); });
        for (Call& call : mCalls) {
            call.times.measure([&] {
                for (size_t i = 0; i < kCalls; ++i)
                    call.work(mSequence, i * 7919 % kMany);
            });
        }
    }

    const QByteArray mMany;
    const QByteArray mSome;
    const QByteArray mFew;
    UserDefaults mDefaults;
    SystemClock mClock;
    FileSequence mSequence { mDefaults, mClock };
    const SlideItems mShuffled = shuffledItems(kMany);
    const SlideItems mMixed = mixedItems(kMany);
    const SlideItems mFewMixed = mixedItems(kFew);
    size_t mSum = 0; ///< So that no call is left out.
    Times mWalk;
    Times mListing;
    Times mFewWalk;
    Times mFewListing;
    Times mLook;
    Times mSomeLook;
    Times mFewLook;
    Times mByName;
    Times mByURL;
    Times mByDate;
    Times mCompanions;
    Times mFewCompanions;
    Times mRewind;
    std::vector<Call> mCalls {
        { "fit geometry, ns",
            [this](FileSequence&, size_t i) {
                const QSizeF picture(static_cast<qreal>(i % 6000 + 1), 4000);
                mSum += CGRectUtils::rectToFitSize(picture, QSizeF(1920, 1080), true).isEmpty();
            } },
        { "next, ns",
            [](FileSequence& sequence, size_t i) {
                if (i == 0)
                    sequence.first();
                sequence.next();
            } },
        { "previous, ns", [](FileSequence& sequence, size_t) { sequence.previous(); } },
        { "URLAtIndex, ns", [](FileSequence& sequence, size_t i) { sequence.URLAtIndex(i); } },
        { "gotoIndex, ns", [](FileSequence& sequence, size_t i) { sequence.gotoIndex(i); } },
        { "atOffset, ns",
            [](FileSequence& sequence, size_t i) { sequence.atOffset(static_cast<qint64>(i)); } },
        { "current, ns", [](FileSequence& sequence, size_t) { sequence.current(); } },
        { "currentIndex, ns",
            [this](FileSequence& sequence, size_t) { mSum += sequence.currentIndex(); } },
        { "count, ns", [this](FileSequence& sequence, size_t) { mSum += sequence.count(); } },
    };
};

} // namespace
} // namespace quorvane

int main(int argc, char** argv)
{
    qputenv(
        "QT_QPA_PLATFORM", "offscreen"); // Qt's image plugins need an application, not a screen.
    const QGuiApplication application(argc, argv);
    const QTemporaryDir folder;
    if (!folder.isValid())
        return 1;
    quorvane::Bench bench(QFile::encodeName(folder.path()));
    if (argc > 1 && std::string_view(argv[1]) == "looks") {
        bench.runLooks();
        bench.printLooks();
    } else {
        bench.run();
        bench.print();
    }
    return 0;
}
