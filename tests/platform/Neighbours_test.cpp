// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Neighbours.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace quorvane {
namespace {

/// A session with a folder and a bus of its own, of which only the address matters.
struct Session : testing::Test {
    Session()
    {
        qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/one");
    }
    ~Session() override
    {
        qputenv("XDG_RUNTIME_DIR", folderBefore);
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const QTemporaryDir folder;
    const QByteArray folderBefore = qgetenv("XDG_RUNTIME_DIR");
};

TEST_F(Session, WithoutOthersHasNoNeighbours)
{
    const Neighbours one;

    EXPECT_FALSE(one.areThere());
}

TEST_F(Session, OthersSeeEachOther)
{
    const Neighbours one;
    const Neighbours other;
    const Neighbours third;

    EXPECT_TRUE(one.areThere());
    EXPECT_TRUE(other.areThere());
    EXPECT_TRUE(third.areThere());
}

TEST_F(Session, ThoseWhoHaveLeftOrGoneAreNotSeenAndSeeNobody)
{
    const Neighbours one;
    Neighbours other;
    auto third = std::make_unique<Neighbours>();

    other.leave();
    EXPECT_FALSE(other.areThere());
    EXPECT_TRUE(one.areThere());
    third.reset();

    EXPECT_FALSE(one.areThere());
}

TEST_F(Session, AnotherBusHasOtherNeighbours)
{
    const Neighbours one;
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/other");

    const Neighbours other;

    EXPECT_FALSE(one.areThere());
    EXPECT_FALSE(other.areThere());
}

TEST_F(Session, WithoutAFolderHasNoNeighbours)
{
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    const Neighbours lost;
    const Neighbours alsoLost;
    EXPECT_FALSE(lost.areThere());

    qunsetenv("XDG_RUNTIME_DIR");
    const Neighbours one;
    const Neighbours other;

    EXPECT_FALSE(one.areThere());
}

} // namespace
} // namespace quorvane
