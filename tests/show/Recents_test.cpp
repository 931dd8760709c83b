// SPDX-License-Identifier: GPL-3.0-or-later
// Folders that were shown before are remembered, listed, and shown again.
#include "Bookmarks.h"
#include "ShowTest.h"

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <deque>

namespace quorvane::show {

namespace {

using Paths = std::vector<QByteArray>;

constexpr std::array kColours { kRed, kGreen, kBlue, kYellow, kMagenta, kCyan };

struct Recents : ShowTest {
    /// A folder of one picture, in a colour that depends on `number`. \return its path.
    QByteArray folder(int number) const
    {
        const QByteArray name = "folder " + QByteArray::number(number);
        if (!QFile::exists(QFile::decodeName(pictures.path(name))))
            pictures.makeFolder(name);
        pictures.writeSolid(name + "/picture.png", colourOf(number));
        return pictures.path(name);
    }

    static Pixel colourOf(int number) { return kColours[static_cast<size_t>(number) % 6]; }

    /// The folders that were remembered, newest first.
    Paths remembered() const
    {
        Paths paths;
        const QVariantMap settings = viewer->settings().value_or(QVariantMap());
        for (const QVariant& item : settings.value(kKey).toList())
            paths.push_back(pathOf(item.toByteArray()));
        return paths;
    }

    [[nodiscard]] testing::AssertionResult remembers(const Paths& paths)
    {
        return waitWhileRunning(
            QStringLiteral("the list of folders"), [&] { return remembered() == paths; });
    }

    /// Starts the viewer without names as somebody who has shown these folders, newest first.
    void startWith(const Paths& paths, const QVariantMap& changes)
    {
        QVariantList bookmarks;
        for (const QByteArray& path : paths)
            bookmarks.append(bookmarkOf(path));
        QVariantMap settings = plainSettings(changes);
        settings.insert(kKey, bookmarks);
        viewer->writeSettings(settings);
        viewer->start({});
    }

    const QString kKey = QStringLiteral("RecentFolderBookmarks");
};

TEST_F(Recents, EleventhFolderDropsTheOldest)
{
    Paths expected;
    std::deque<Viewer> others;
    const QTemporaryDir session; // Which all launches share.
    viewer->setVariable("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
    viewer->writeSettings(plainSettings());
    viewer->start({ folder(0) });
    ASSERT_TRUE(ready(colourOf(0)));
    ASSERT_TRUE(remembers({ folder(0) }));

    for (int number = 1; number <= 10; ++number) {
        Viewer& other = others.emplace_back(&desktop);
        other.setVariable("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
        other.start({ folder(number) });
        ASSERT_TRUE(other.waitForExit(kWaitLimit));
        expected.insert(expected.begin(), folder(number));
        ASSERT_TRUE(waitWhileRunning(QStringLiteral("the newest folder"),
            [&] { return !remembered().empty() && remembered().front() == folder(number); }));
    }

    EXPECT_EQ(expected.size(), 10U);
    EXPECT_TRUE(remembers(expected));
}

TEST_F(Recents, NewestFolderOpensAtLaunch)
{
    viewer->writeSettings(plainSettings({ { QStringLiteral("OpenLastUsedFolder"), true } }));
    for (const int number : { 0, 1 }) {
        viewer->start({ folder(number) });
        ASSERT_TRUE(ready(colourOf(number)));
        ASSERT_TRUE(waitWhileRunning(QStringLiteral("the newest folder"),
            [&] { return !remembered().empty() && remembered().front() == folder(number); }));
        ASSERT_TRUE(quits());
    }

    viewer->start({});

    EXPECT_TRUE(ready(colourOf(1)));
    EXPECT_TRUE(remembers({ folder(1), folder(0) }));
}

TEST_F(Recents, WithoutAFolderToReopenTheControlsStandThere)
{
    for (const Paths& paths : { Paths(), Paths({ "/missing folder" }) }) {
        startWith(paths,
            { { QStringLiteral("OpenLastUsedFolder"), true },
                { QStringLiteral("ShowWelcome"), true } });

        EXPECT_TRUE(waitWhileRunning(QStringLiteral("one small window, and the keyboard"), [&] {
            const auto windows = desktop.windowsOf(viewer->pid());
            return windows.size() == 1 && windows.front().height() < desktop.size().height() / 3
                && desktop.focusedProcess() == viewer->pid()
                && desktop.colourAt(windows.front().center()) != kDesktop; // It is painted.
        }));
        EXPECT_TRUE(remembers({}));
        EXPECT_TRUE(staysFor(std::chrono::milliseconds(500))) << "nobody is greeted";
        EXPECT_TRUE(quits());
    }
}

TEST_F(Recents, FolderOfTheMenuOpens)
{
    pictures.writeSolid("other.png", kCyan);
    startWith({ folder(0), folder(1), folder(2) }, { { QStringLiteral("ShowWelcome"), true } });
    ASSERT_TRUE(welcomes());
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the viewer has the keyboard"),
        [&] { return desktop.focusedProcess() == viewer->pid(); }));

    const auto opens = [&](size_t windows) {
        return waitWhileRunning(QStringLiteral("the menu"),
            [&, windows] { return desktop.windowsOf(viewer->pid()).size() == windows; });
    };
    desktop.key(XK_f, { XK_Alt_L });
    ASSERT_TRUE(opens(2));
    desktop.key(XK_r);
    ASSERT_TRUE(opens(3));
    desktop.key(XK_Down);
    desktop.key(XK_Return);

    EXPECT_TRUE(ready(colourOf(1)));
    EXPECT_TRUE(remembers({ folder(1), folder(0), folder(2) }));
}

TEST_F(Recents, FolderThatIsGoneLeavesTheList)
{
    const Paths folders { folder(0), folder(1), folder(2) };
    startWith(
        { folders[0], "/missing folder", folders[1] }, { { QStringLiteral("ShowWelcome"), true } });
    ASSERT_TRUE(welcomes());

    EXPECT_TRUE(remembers({ folders[0], folders[1] }));
}

} // namespace

} // namespace quorvane::show
