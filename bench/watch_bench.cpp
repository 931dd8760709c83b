// SPDX-License-Identifier: GPL-3.0-or-later
// What a watched folder costs, and how soon it tells: a file that was closed has to be listed
// within 1.5 seconds in a folder of 20,000; a look that finds nothing may take 1 % of one
// processor, events and timer and all; a folder of a million files may take 400 bytes for each.
//
// The sequence runs in this process, with the event loop and the clock of the program. The files
// are empty: their names are all that counts. They lie in a temporary folder that is removed again.
#include "Median.h"
#include "platform/SystemClock.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "settings/SettingsCatalogue.h"

#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace quorvane::bench {
namespace {

constexpr int kFilesOfAFolder = 200;
constexpr int kSomeFolders = 100;
constexpr int kManyFolders = 5000;
constexpr int kNewFiles = 15;
constexpr double kListedLimit = 1.5; ///< Seconds.
constexpr double kShareLimit = 0.01; ///< Of one processor.
constexpr double kMemoryLimit = 400; ///< Bytes for each file.
constexpr std::chrono::seconds kQuietSpan { 30 };

[[noreturn]] void giveUp(const char* what)
{
    std::fprintf(stderr, "watch_bench: %s\n", what);
    std::exit(1);
}

void makeFile(const QByteArray& path)
{
    const int file = open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0)
        giveUp("cannot make a file");
    close(file);
}

void makeFiles(const QByteArray& root, int folders)
{
    if (mkdir(root.constData(), 0755) != 0)
        giveUp("cannot make a folder");
    for (int folder = 0; folder < folders; ++folder) {
        const QByteArray path = root + "/folder" + QByteArray::number(folder);
        if (mkdir(path.constData(), 0755) != 0)
            giveUp("cannot make a folder");
        for (int i = 0; i < kFilesOfAFolder; ++i)
            makeFile(path + "/IMG_" + QByteArray::number(folder * 1000 + i) + ".jpg");
    }
}

/// Ends a wait when new files are listed.
class Listener : public FileSequenceDelegate {
public:
    void firstFileFound() override { }
    void newFilesFound() override { wait.quit(); }
    void currentFileChanged() override { }

    QEventLoop wait;
};

/// Seconds of a processor that this process has used.
double processorSeconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double bytesInUse()
{
    malloc_trim(0);
    std::ifstream statistics("/proc/self/statm");
    double pages = 0;
    statistics >> pages >> pages;
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void runLoopFor(std::chrono::milliseconds span)
{
    QEventLoop loop;
    QTimer::singleShot(span, &loop, &QEventLoop::quit);
    loop.exec();
}

void print(const char* work, double value, const char* unit, double limit)
{
    std::printf("| %-52s | %8.3f %-8s | %8.3f | %s |\n", work, value, unit, limit,
        value <= limit ? "holds" : "MISSED");
    std::fflush(stdout);
}

class Bench {
public:
    explicit Bench(const QByteArray& root)
        : mRoot(root)
    {
        registerDefaultSettings(mDefaults);
        mDefaults.setValue(kShowNewItemsASAP, true);
    }

    void run()
    {
        const QByteArray some = mRoot + "/some";
        makeFiles(some, kSomeFolders);
        FileSequence sequence(mDefaults, mClock);
        Listener listener;
        sequence.setDelegate(&listener);
        sequence.addURLs({ FileURL(some) });
        runLoopFor(std::chrono::seconds(1));
        measureListing(sequence, listener, some);
        measureShare();
        sequence.clear();
        runLoopFor(std::chrono::seconds(1));
        measureMemory();
    }

private:
    void measureListing(const FileSequence& sequence, Listener& listener, const QByteArray& folder)
    {
        std::vector<double> seconds;
        for (int i = 0; i < kNewFiles; ++i) {
            const size_t before = sequence.count();
            makeFile(folder + "/folder7/new" + QByteArray::number(i) + ".jpg");
            const auto closed = std::chrono::steady_clock::now();
            listener.wait.exec();
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - closed;
            if (sequence.count() != before + 1)
                giveUp("the new file is not listed");
            seconds.push_back(taken.count());
            runLoopFor(std::chrono::milliseconds(137)); // At another moment of the timer.
        }
        print("a closed file is listed, median", median(seconds), "s", kListedLimit);
        print("the same, longest", *std::max_element(seconds.begin(), seconds.end()), "s",
            kListedLimit);
    }

    static void measureShare()
    {
        const double before = processorSeconds();
        runLoopFor(kQuietSpan);
        const double share
            = (processorSeconds() - before) / std::chrono::duration<double>(kQuietSpan).count();
        print("20,000 files in which nothing happens, 30 s", share, "of one", kShareLimit);
    }

    void measureMemory()
    {
        const QByteArray many = mRoot + "/many";
        makeFiles(many, kManyFolders);
        constexpr double kFiles = static_cast<double>(kManyFolders) * kFilesOfAFolder;
        const double before = bytesInUse();
        FileSequence sequence(mDefaults, mClock);
        sequence.addURLs({ FileURL(many) });
        if (sequence.count() != static_cast<size_t>(kFiles))
            giveUp("files are missing");
        print("a million files listed and sorted, each", (bytesInUse() - before) / kFiles, "bytes",
            kMemoryLimit);
        runLoopFor(std::chrono::seconds(12)); // Two looks.
        print("the same after looking at them again", (bytesInUse() - before) / kFiles, "bytes",
            kMemoryLimit);
    }

    const QByteArray mRoot;
    UserDefaults mDefaults;
    SystemClock mClock;
};

} // namespace
} // namespace quorvane::bench

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QTemporaryDir folder;
    quorvane::bench::Bench(QFile::encodeName(folder.path())).run();
    return 0;
}
