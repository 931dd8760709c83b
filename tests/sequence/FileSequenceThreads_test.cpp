// SPDX-License-Identifier: GPL-3.0-or-later
// A sequence that one thread fills while another walks through it, looks at its folder, and changes
// what is there.
#include "platform/MainQueue.h"
#include "platform/TypeIdentifier.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "settings/SettingsCatalogue.h"
#include "support/ByteFolder.h"
#include "support/ManualClock.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <random>
#include <thread>

namespace quorvane {
namespace {

using tests::ByteFolder;

constexpr int kFiles = 30;
constexpr int kCollections = 150;
constexpr int kOperations = 6000;

/// Counts without hearing anything else.
class Counter : public FileSequenceDelegate {
public:
    void firstFileFound() override { ++firstFiles; }
    void newFilesFound() override { }
    void currentFileChanged() override { }

    std::atomic<int> firstFiles = 0;
};

class SequenceOfTwoThreads : public testing::TestWithParam<const char*> {
protected:
    SequenceOfTwoThreads()
    {
        defaults.setValue(kSort, QString::fromLatin1(GetParam()));
        defaults.setValue(kEndMode, QString(kEndModeRewind));
        for (int i = 0; i < kFiles; ++i)
            folder.file(fileName(i));
        sequence.setDelegate(&counter);
    }

    static QByteArray fileName(int i)
    {
        return "sub" + QByteArray::number(i % 3) + '/' + QByteArray::number(i / 2)
            + (i % 2 ? ".jpg" : ".png");
    }

    /// What the queue does.
    void collect()
    {
        for (int i = 0; i < kCollections; ++i) {
            if (i % 3 == 0)
                sequence.clear();
            if (i % 2 == 0) {
                sequence.addURLs({ FileURL(folder.path()) });
            } else {
                sequence.addFiles({ folder.path(), folder.path(fileName(i % kFiles)) });
                sequence.sort();
                sequence.removeDuplicates();
            }
        }
        isCollected = true;
    }

    /// One of all that the main thread does, chosen by the number.
    void operate(quint32 number)
    {
        const int file = static_cast<int>(number / 100 % kFiles);
        switch (number % 24) {
        case 0:
            check(sequence.current());
            break;
        case 1:
            check(sequence.previous());
            break;
        case 2:
            check(sequence.URLAtIndex(number / 100 % 40));
            break;
        case 3:
            check(sequence.gotoIndex(number / 100 % 40));
            break;
        case 4:
            check(sequence.atOffset(static_cast<qint64>(number / 100 % 9) - 4));
            break;
        case 5:
            check(sequence.first());
            break;
        case 6:
            sequence.sort();
            break;
        case 7:
            sequence.shuffle();
            break;
        case 8:
            sequence.removeDuplicates();
            break;
        case 9:
            sequence.remove(folder.url(fileName(file)));
            break;
        case 10:
            sequence.rewind();
            break;
        case 11:
            check(sequence.trash());
            break;
        case 12:
            EXPECT_LE(sequence.count(), static_cast<size_t>(kFiles + 2) * 3);
            break;
        case 13:
            sequence.updateHotFolder();
            break;
        case 14:
            MainQueue::drain();
            break;
        case 15:
            QCoreApplication::processEvents(); // What the kernel tells of the folder.
            break;
        case 16:
            clock.advance(std::chrono::seconds(1));
            break;
        case 17:
            sequence.putOff(folder.url(fileName(file)));
            break;
        case 18:
            folder.file("sub0/comes and goes.jpg");
            break;
        case 19:
            unlink(folder.path("sub0/comes and goes.jpg").constData());
            break;
        default:
            check(sequence.next());
        }
    }

    /// That a slide is one of those that there are.
    void check(const std::optional<FileURL>& url) const
    {
        EXPECT_TRUE(!url || url->path().startsWith(folder.path() + "/sub")) << url->path().data();
    }

    const TypeIdentifier::DecodersForTesting decoders { { QStringLiteral("jpg"),
        QStringLiteral("png") } };
    ByteFolder folder;
    UserDefaults defaults;
    ManualClock clock;
    Counter counter;
    std::atomic<bool> isCollected = false;
    FileSequence sequence { defaults, clock, [](const FileURL&) { return true; } };
};

TEST_P(SequenceOfTwoThreads, StaysWhole)
{
    std::mt19937 random(20240501); // NOLINT: the same operations every time.
    std::thread collector([this] { collect(); });
    for (int i = 0; i < kOperations || !isCollected; ++i)
        operate(static_cast<quint32>(random()));
    collector.join();

    EXPECT_GE(counter.firstFiles, 1);
    unlink(folder.path("sub0/comes and goes.jpg").constData());
    sequence.clear();
    sequence.addURLs({ FileURL(folder.path()) });
    EXPECT_EQ(sequence.count(), static_cast<size_t>(kFiles));
    EXPECT_EQ(sequence.currentIndex(), 0U);
}

TEST_P(SequenceOfTwoThreads, EndsWhenItIsToldTo)
{
    std::atomic<bool> isStopped = false;
    std::thread collector([&] {
        while (!isStopped)
            sequence.addURLs({ FileURL(folder.path()) });
    });
    while (sequence.count() < 100)
        sequence.next();

    sequence.stopCollecting();
    isStopped = true;
    collector.join();
    const size_t count = sequence.count();
    sequence.addURLs({ FileURL(folder.path()) });

    EXPECT_EQ(sequence.count(), count);
}

INSTANTIATE_TEST_SUITE_P(Orders, SequenceOfTwoThreads,
    testing::Values("name", "url", "date", "random"),
    [](const auto& row) { return std::string(row.param); });

} // namespace
} // namespace quorvane
