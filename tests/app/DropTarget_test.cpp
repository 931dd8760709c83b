// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DropTarget.h"
#include "support/ControllerTest.h"

#include <QDropEvent>
#include <QMimeData>

namespace quorvane {

namespace {

using namespace tests;

QList<QUrl> urls(std::initializer_list<const char*> encoded)
{
    QList<QUrl> list;
    for (const char* const each : encoded)
        list << QUrl::fromEncoded(each);
    return list;
}

/// Drops on a window as a hand does. \return whether it was taken.
bool drop(QWidget& window, const QMimeData& data)
{
    QDragEnterEvent enter({ 5, 5 }, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    enter.setDropAction(Qt::MoveAction);
    enter.ignore();
    QCoreApplication::sendEvent(&window, &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent event({ 5, 5 }, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    event.setDropAction(Qt::MoveAction);
    QCoreApplication::sendEvent(&window, &event);
    EXPECT_EQ(event.dropAction(), Qt::CopyAction) << "nothing was moved";
    return event.isAccepted();
}

TEST(LocalFiles, AreThePathsOfWhatLiesHere)
{
    QMimeData data;
    data.setUrls(
        urls({ "file:///a%20b/c%25d.png", "https://example.org/x.png", "file:///not-utf8-%ff.jpg",
            "file:///semi;colon.png", "file://localhost/here.png", "file://server/share/y.png" }));
    const auto paths = localFilesOf(data);
    ASSERT_GE(paths.size(), 3U);
    EXPECT_EQ(paths.at(0), "/a b/c%d.png");
    EXPECT_EQ(paths.at(1), "/not-utf8-\xff.jpg");
    EXPECT_EQ(paths.at(2), "/semi;colon.png") << "no parameter of an address";
    for (const QByteArray& path : paths)
        EXPECT_FALSE(path.contains("server") || path.contains("example")) << path.constData();
}

TEST(LocalFiles, AreNotInTextOrNothing)
{
    QMimeData data;
    EXPECT_TRUE(localFilesOf(data).empty());
    data.setText(QStringLiteral("/etc/passwd"));
    EXPECT_TRUE(localFilesOf(data).empty());
}

using Dropping = ControllerTest;

TEST_F(Dropping, OnTheWelcomeWindowOpensAShow)
{
    controller->ShowWelcomeScreen();
    write({ "1.png", "2.png" });
    QMimeData data;
    data.setUrls({ QUrl::fromEncoded(url("1.png").encoded()) });

    EXPECT_TRUE(drop(*visibleWindow<WelcomeController>(), data));
    settle();
    EXPECT_EQ(current(), "1.png");
}

TEST_F(Dropping, OnTheShowAddsToIt)
{
    show({ "1.png" });
    write({ "2.png" });
    QMimeData data;
    data.setUrls({ QUrl::fromEncoded(url("2.png").encoded()) });

    EXPECT_TRUE(drop(*controller->mScreenWindow(), data));
    settle();
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(Dropping, OnTheControlsOpensAShow)
{
    controller->ShowControls();
    write({ "1.png" });
    QMimeData data;
    data.setUrls({ QUrl::fromEncoded(url("1.png").encoded()) });
    EXPECT_TRUE(drop(*visibleWindow<ControlPanel>(), data));
    settle();
    EXPECT_EQ(current(), "1.png");
}

TEST_F(Dropping, WhatIsNoFileOfThisMachineIsRefused)
{
    controller->ShowWelcomeScreen();
    QMimeData text;
    text.setText(QStringLiteral("a text"));
    EXPECT_FALSE(drop(*visibleWindow<WelcomeController>(), text));

    QMimeData remote;
    remote.setUrls(urls({ "https://example.org/x.png" }));
    EXPECT_FALSE(drop(*visibleWindow<WelcomeController>(), remote));
}

TEST_F(Dropping, AFileThatDoesNotExistChangesNothing)
{
    show123();
    QMimeData data;
    data.setUrls(urls({ "file:///nowhere/at/all.png" }));
    drop(*controller->mScreenWindow(), data);
    settle();
    EXPECT_EQ(controller->mFileSequence().count(), 3U);
}

} // namespace

} // namespace quorvane
