// SPDX-License-Identifier: GPL-3.0-or-later
// A watched folder in which everything happens at once.
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
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using tests::ByteFolder;

constexpr int kChanges = 10'000;
constexpr int kChangesBetweenLooks = 50;
constexpr qint64 kLongAgo = 1'000'000'000'000'000'000;

class Torture : public testing::Test {
protected:
    Torture()
    {
        defaults.setValue(kSort, QString(kSortName));
        defaults.setValue(kEndMode, QString(kEndModeRewind));
        defaults.setValue(kShowNewItemsASAP, true);
        for (const char* const name : { "one", "one/two", "one/two/three", "four" })
            folder.folder(name);
    }

    ~Torture() override
    {
        for (const int file : mOpen)
            close(file);
    }

    quint32 below(quint32 bound) { return static_cast<quint32>(mRandom() % bound); }

    QByteArray anyName()
    {
        static const std::vector<QByteArray> folders { "", "one/", "one/two/", "one/two/three/",
            "four/", "new/" };
        return folders[below(6)] + QByteArray::number(below(60)) + (below(4) ? ".png" : ".txt");
    }

    /// A change that may fail: there may be no such file.
    void changeSomething()
    {
        const QByteArray name = anyName();
        switch (below(7)) {
        case 0:
        case 1:
            put(name);
            break;
        case 2:
            unlink(folder.path(name).constData());
            break;
        case 3:
            rename(name, anyName());
            break;
        case 4:
            beginToWrite(name);
            break;
        case 5:
            finishWriting();
            break;
        default:
            changeAFolder();
        }
    }

    void put(const QByteArray& name)
    {
        const int file
            = open(folder.path(name).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (file < 0)
            return;
        EXPECT_EQ(write(file, "whole", 5), 5);
        close(file);
        folder.setModified(name, kLongAgo);
    }

    void rename(const QByteArray& from, const QByteArray& to) const
    {
        std::rename(folder.path(from).constData(), folder.path(to).constData());
    }

    void beginToWrite(const QByteArray& name)
    {
        const int file = open(folder.path(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (file < 0)
            return;
        EXPECT_EQ(write(file, "ha", 2), 2);
        mOpen.push_back(file);
    }

    void finishWriting()
    {
        if (mOpen.empty())
            return;
        finish(mOpen.back());
        mOpen.pop_back();
    }

    static void finish(int file)
    {
        EXPECT_EQ(write(file, "lf", 2), 2);
        const timespec times[] = { { 1'000'000'000, 0 }, { 1'000'000'000, 0 } };
        EXPECT_EQ(futimens(file, times), 0);
        close(file);
    }

    void changeAFolder()
    {
        switch (below(4)) {
        case 0:
            folder.folder("new");
            break;
        case 1:
            std::filesystem::remove_all(folder.path("new").toStdString());
            break;
        case 2:
            rename("one/two", "moved");
            break;
        default:
            rename("moved", "one/two");
        }
    }

    static void settle()
    {
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::processEvents();
            MainQueue::drain();
            DispatchQueue::global().drain();
        }
        MainQueue::drain();
    }

    std::vector<std::string> slidesOf(const FileSequence& list) const
    {
        std::vector<std::string> names;
        for (size_t i = 0; i < list.count(); ++i)
            names.push_back(list.URLAtIndex(i)->path().toStdString());
        std::sort(names.begin(), names.end());
        return names;
    }

    const TypeIdentifier::DecodersForTesting decoders { { QStringLiteral("png") } };
    ByteFolder folder;
    UserDefaults defaults;
    ManualClock clock;
    FileSequence sequence { defaults, clock };
    std::vector<int> mOpen; ///< Being written.

private:
    std::mt19937 mRandom { 20261121 }; // NOLINT: the same changes every time.
};

TEST_F(Torture, EndsWithTheListOfAFreshCollectionAndKeepsThePlaceOnTheWay)
{
    put("1.png");
    sequence.addURLs({ FileURL(folder.path()) });
    settle();
    int kept = 0;

    for (int i = 0; i < kChanges; ++i) {
        changeSomething();
        if (i % kChangesBetweenLooks > 0)
            continue;
        sequence.next();
        const auto before = sequence.current();
        settle();
        clock.advance(1s);
        settle();
        const bool isStillThere = before && access(before->path().constData(), F_OK) == 0;
        if (!isStillThere)
            continue;
        ASSERT_EQ(sequence.current(), before) << "after change " << i;
        ++kept;
    }
    while (!mOpen.empty())
        finishWriting();
    settle();
    for (int i = 0; i < 3; ++i) {
        clock.advance(5s);
        settle();
    }

    FileSequence fresh(defaults, clock);
    fresh.addURLs({ FileURL(folder.path()) });
    EXPECT_EQ(slidesOf(sequence), slidesOf(fresh));
    EXPECT_GT(sequence.count(), 20U);
    EXPECT_GT(kept, 100);
    EXPECT_FALSE(sequence.awaitsFiles());
}

} // namespace
} // namespace quorvane
