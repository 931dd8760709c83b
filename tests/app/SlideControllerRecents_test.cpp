// SPDX-License-Identifier: GPL-3.0-or-later
// The folders that were shown before, in the menu, in the welcome window, and at launch.
#include "app/RecentMenu.h"
#include "support/ByteFolder.h"
#include "support/ControllerTest.h"

#include <QAction>
#include <QMenuBar>

namespace quorvane {

namespace {

using namespace tests;

struct RecentsTest : ControllerTest {
    ~RecentsTest() override { FolderStrips::drain(); }

    /// A folder with pictures of these names. \return its path.
    QByteArray folder(const QByteArray& name, std::initializer_list<const char*> pictures) const
    {
        folders.folder(name);
        for (const char* const picture : pictures)
            folders.file(name + '/' + picture);
        return folders.path(name);
    }

    /// Opens a folder of one picture, "a.png" in the folder "a", as the desktop does.
    void open(const QByteArray& name)
    {
        controller->openFiles({ folder(name, { (name + ".png").constData() }) });
        settle();
        screen.forget();
    }

    /// The controller of a later run, which has not launched yet.
    void restart(const BookmarkServices& services = {})
    {
        controller.reset();
        DesktopServices desktop;
        desktop.bookmarks = services;
        controller = std::make_unique<SlideController>(
            defaults, clock, [this] { return screen.makeDisplay(); }, desktop);
        controller->awakeFromNib();
        screen.forget();
    }

    /// Holds the question for every folder until `stop` lets it go.
    BookmarkServices holding() const
    {
        BookmarkServices services;
        services.resolve = [stop = stop](const Bookmark& bookmark) {
            stop.halt();
            return bookmark.resolve();
        };
        return services;
    }

    void removeFolder(const QByteArray& name) const
    {
        std::filesystem::remove_all(folders.path(name).toStdString());
    }

    Names names() const
    {
        Names names;
        for (const QByteArray& path : controller->recentPaths())
            names.push_back(nameOf(FileURL(path)));
        return names;
    }

    Names stored() const
    {
        Names names;
        for (const QVariant& item : defaults.arrayValue(kRecentFolderBookmarks))
            names.push_back(nameOf(FileURL(Bookmark::fromData(item.toByteArray())->path())));
        return names;
    }

    /// A bar that has the controller's menus.
    QMenu& fileMenu() const
    {
        if (!mBarOwner) {
            controller->ShowControls();
            mBarOwner = visibleWindow<ControlPanel>();
        }
        return *mBarOwner->findChild<QMenuBar*>()->actions().front()->menu();
    }
    RecentMenu* recentMenu() const { return fileMenu().findChild<RecentMenu*>(); }

    QStringList titles() const
    {
        QStringList titles;
        for (const QAction* const item : recentMenu()->actions())
            titles << item->text();
        return titles;
    }
    QAction* menuItem(int index) const { return recentMenu()->actions().at(index); }

    const ByteFolder folders;
    const Stop stop;

private:
    mutable QPointer<QWidget> mBarOwner;
};

using RememberedFolders = RecentsTest;
using RecentItems = RecentsTest;
using Reopening = RecentsTest;
using RecentRows = RecentsTest;
using LastFolder = RecentsTest;

// What is remembered.

TEST_F(RememberedFolders, IsForOneFolderThatTheDesktopOpens)
{
    open("a");
    open("b");

    EXPECT_EQ(names(), Names({ "b", "a" }));
    EXPECT_EQ(stored(), Names({ "b", "a" }));
}

TEST_F(RememberedFolders, IsNotForSeveralFoldersAtOnce)
{
    controller->openFiles({ folder("a", { "1.png" }), folder("b", { "2.png" }) });
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_TRUE(names().empty());
}

TEST_F(RememberedFolders, IsNotForFiles)
{
    show({ "1.png" });
    show123();

    EXPECT_TRUE(names().empty());
    EXPECT_TRUE(stored().empty());
}

TEST_F(RememberedFolders, IsNotForNothing)
{
    controller->rememberRecentFolders({});
    controller->rememberRecentURLs({});
    controller->openFiles({ folders.path("missing") });
    settle();

    EXPECT_TRUE(names().empty());
}

TEST_F(RememberedFolders, IsForAFolderOfThePanel)
{
    folder("a", { "1.png" });
    controller->openMenu();
    visibleWindow<OpenPanel>()->selectFile(QFile::decodeName(folders.path("a")));
    visibleWindow<OpenPanel>()->accept();
    settle();

    EXPECT_EQ(names(), Names({ "a" }));
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(RememberedFolders, IsNotForWhatThePanelDidNotGive)
{
    folder("a", { "1.png" });
    controller->openMenu();
    visibleWindow<OpenPanel>()->selectFile(QFile::decodeName(folders.path("a")));
    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_TRUE(names().empty());
}

TEST_F(RememberedFolders, SeveralURLsIsNotDone)
{
    controller->rememberRecentURLs({ FileURL(folder("a", {})), FileURL(folder("b", {})) });
    settle();
    EXPECT_TRUE(names().empty());

    controller->rememberRecentURLs({ FileURL(folders.path("b")) });
    settle();
    EXPECT_EQ(names(), Names({ "b" }));
}

TEST_F(RememberedFolders, LastsUntilTheNextRun)
{
    open("a");
    open("b");

    restart();

    EXPECT_EQ(names(), Names({ "b", "a" }));
}

// The menu.

TEST_F(RecentItems, StandInTheFileMenuBehindWhatElseOpensAShow)
{
    const QAction* const item = fileMenu().actions().at(2);

    EXPECT_EQ(item->text().remove(QLatin1Char('&')), QStringLiteral("Recent Folders"));
    ASSERT_EQ(item->menu(), recentMenu());
    EXPECT_EQ(item->menu()->windowTitle(), QStringLiteral("Recent mFolders"));
    EXPECT_TRUE(item->shortcut().isEmpty());
    EXPECT_EQ(titles(), QStringList(QStringLiteral("&Clear Menu")));
    EXPECT_TRUE(menuItem(0)->shortcut().isEmpty());
}

TEST_F(RecentItems, AreMadeOnce)
{
    open("a");
    controller->updateRecentMenu();
    controller->updateRecentMenu();

    EXPECT_EQ(fileMenu().findChildren<RecentMenu*>().size(), 1);
    EXPECT_EQ(titles().size(), 2);
}

TEST_F(RecentItems, AreTheSameInEveryWindow)
{
    controller->ShowWelcomeScreen();
    const auto* const welcome = visibleWindow<WelcomeController>()->findChild<QMenuBar*>();
    open("a");
    const auto* const show = controller->mScreenWindow()->findChild<QMenuBar*>();

    EXPECT_EQ(welcome->actions().front()->menu(), &fileMenu());
    EXPECT_EQ(show->actions().front()->menu(), &fileMenu());
}

TEST_F(RecentItems, AreTheWholePathsNewestFirst)
{
    open("a");
    open("b");

    EXPECT_EQ(titles(),
        QStringList({ QFile::decodeName(folders.path("b")), QFile::decodeName(folders.path("a")),
            QStringLiteral("&Clear Menu") }));
    EXPECT_TRUE(menuItem(0)->shortcut().isEmpty());
}

TEST_F(RecentItems, ShowPathsAsTheyAre)
{
    const QString start = QFile::decodeName(folders.path()) + QLatin1Char('/');
    const std::pair<QByteArray, QString> rows[] { { "R&B && more",
                                                      QStringLiteral("R&&B &&&& more") },
        { "tab\there", QStringLiteral("tab\uFFFDhere") },
        { "two\nlines", QStringLiteral("two\uFFFDlines") },
        { "gr\xC3\xBC\xC3\x9F"
          "e",
            QStringLiteral("gr\u00FC\u00DFe") },
        { "no \xFF text", QStringLiteral("no \uFFFD text") }, { "<b>", QStringLiteral("<b>") } };
    for (const auto& [name, title] : rows) {
        controller->rememberRecentFolder(folders.folder(name));
        settle();

        EXPECT_EQ(titles().first(), start + title);
        EXPECT_EQ(menuItem(0)->data().toByteArray(), folders.path(name));
    }
    EXPECT_TRUE(menuItem(0)->toolTip().contains(QStringLiteral("&lt;b&gt;")));
}

TEST_F(RecentItems, LoseTheMiddleOfAPathThatIsTooLong)
{
    const QByteArray name = QByteArray(200, 'x') + "/&" + QByteArray(100, 'y') + "/end";
    controller->rememberRecentFolder(folders.folder(name));
    settle();

    Q_EMIT recentMenu()->aboutToShow();
    const QString title = titles().first();
    EXPECT_LT(QFontMetrics(recentMenu()->font()).horizontalAdvance(title), 640);
    EXPECT_TRUE(title.endsWith(QStringLiteral("/end")));
    EXPECT_TRUE(title.startsWith(QLatin1Char('/')));
    EXPECT_TRUE(menuItem(0)->toolTip().contains(QString::fromUtf8(name).toHtmlEscaped()));
}

TEST_F(RecentItems, OpenTheirFolder)
{
    open("a");
    open("b");

    menuItem(1)->trigger();
    settle();

    EXPECT_EQ(screen.shown, "a.png");
    EXPECT_EQ(controller->mFileSequence().count(), 1U);
    EXPECT_EQ(names(), Names({ "a", "b" }));
    EXPECT_EQ(titles().first(), QFile::decodeName(folders.path("a")));
}

TEST_F(RecentItems, OpenTheirFolderEvenWhenTheListIsShorterByNow)
{
    open("a");
    open("b");
    recentMenu()->popup({ 0, 0 });
    const QPointer<QAction> item = menuItem(1);
    removeFolder("b");
    names();
    settle();
    ASSERT_EQ(names(), Names({ "a" }));
    ASSERT_EQ(titles().size(), 3) << "an open menu stays as it is";

    item->trigger();
    settle();
    EXPECT_EQ(screen.shown, "a.png");

    recentMenu()->close();
    Q_EMIT recentMenu()->aboutToShow();
    EXPECT_EQ(titles().size(), 2);
}

TEST_F(RecentItems, OfAFolderThatLeftTheListDoNothing)
{
    open("a");
    open("b");
    recentMenu()->popup({ 0, 0 });
    const QPointer<QAction> item = menuItem(1);
    controller->ClearRecentsMenu();

    item->trigger();
    settle();

    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(RecentItems, OfFoldersThatAreGoneGoWhenTheFileMenuOpens)
{
    open("a");
    open("b");
    removeFolder("b");
    EXPECT_EQ(titles().size(), 3);

    Q_EMIT fileMenu().aboutToShow();
    settle();

    EXPECT_EQ(titles().size(), 2);
    EXPECT_EQ(stored(), Names({ "a" }));
}

TEST_F(RecentItems, OfFoldersThatAreGoneGoAtTheNextLaunch)
{
    open("a");
    open("b");
    removeFolder("b");

    restart();
    settle();

    EXPECT_EQ(titles().size(), 2);
    EXPECT_EQ(stored(), Names({ "a" }));
}

TEST_F(RecentItems, AreThereAtOnceWhateverTheDisksDo)
{
    open("a");
    restart(holding());
    stop.waitForArrival();

    EXPECT_EQ(titles().size(), 2);
    stop.release();
    settle();
    EXPECT_EQ(titles().size(), 2);
}

TEST_F(RecentItems, GoWhenTheyAreCleared)
{
    open("a");
    open("b");

    menuItem(2)->trigger();

    EXPECT_EQ(titles(), QStringList(QStringLiteral("&Clear Menu")));
    EXPECT_TRUE(stored().empty());
    settle();
    EXPECT_EQ(titles().size(), 1);
    EXPECT_EQ(screen.shown, "a.png") << "the show goes on";
}

// Reopening.

TEST_F(Reopening, EndsTheShowThatIsThere)
{
    open("a");
    show123();

    controller->openRecentFolderAtIndex(0);
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 1U);
    EXPECT_EQ(screen.shown, "a.png");
    EXPECT_EQ(screen.asked, Names({ "a.png>", "a.png<" }));
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Reopening, SortsAndLeavesOutWhatAccompaniesAPhotograph)
{
    folder("a", { "3.png", "1.png", "2.jpg", "2.png" });
    controller->rememberRecentFolder(folders.path("a"));
    settle();

    controller->openRecentFolderAtIndex(0);
    settle();

    ASSERT_EQ(controller->mFileSequence().count(), 3U);
    EXPECT_EQ(nameOf(*controller->mFileSequence().URLAtIndex(1)), "2.jpg");
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Reopening, MovesTheFolderToTheFront)
{
    open("a");
    open("b");
    open("c");

    controller->openRecentFolderAtIndex(2);
    settle();

    EXPECT_EQ(names(), Names({ "a", "c", "b" }));
    EXPECT_EQ(stored(), names());
}

TEST_F(Reopening, OfAPlaceBeyondTheListDoesNothing)
{
    open("a");
    for (const qint64 index : { 1, 2, -1 }) {
        controller->openRecentFolderAtIndex(index);
        controller->recentSelected(static_cast<int>(index));
    }
    settle();

    EXPECT_TRUE(screen.asked.empty());
    EXPECT_EQ(screen.shown, "a.png");
}

TEST_F(Reopening, OfAFolderThatIsGoneKeepsTheShow)
{
    open("a");
    open("b");
    removeFolder("a");
    screen.forget();

    controller->openRecentFolderAtIndex(1);
    settle();

    EXPECT_TRUE(screen.asked.empty());
    EXPECT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_EQ(screen.clears, 0);
    EXPECT_EQ(stored(), Names({ "b", "a" })) << "it leaves the list when that is looked at";
}

TEST_F(Reopening, DoesNotWaitForTheDisk)
{
    open("a");
    restart(holding());
    stop.waitForArrival();
    controller->openFiles(write({ "1.png", "2.png" }));
    controller->waitUntilIdle(std::chrono::minutes(1));
    MainQueue::drain();

    controller->openRecentFolderAtIndex(0);
    controller->nextSlide();
    EXPECT_EQ(screen.shown, "2.png");

    stop.release();
    settle();
    EXPECT_EQ(screen.shown, "a.png");
}

TEST_F(Reopening, OfAFolderThatComesLateGivesWayToWhatWasOpenedMeanwhile)
{
    open("a");
    controller->openRecentFolderAtIndex(0);
    controller->openFiles(write({ "1.png" }));
    settle();
    EXPECT_EQ(screen.shown, "1.png");

    controller->openRecentFolderAtIndex(0);
    controller->cancel();
    settle();
    EXPECT_EQ(controller->mScreenWindow(), nullptr);

    show123();
    controller->openRecentFolderAtIndex(0);
    controller->mScreenWindow()->close();
    settle();
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Reopening, ShowsTheFolderThatWasAskedForLast)
{
    open("a");
    open("b");

    controller->openRecentFolderAtIndex(0);
    controller->openRecentFolderAtIndex(1);
    settle();

    EXPECT_EQ(screen.shown, "a.png");
    EXPECT_EQ(screen.asked, Names({ "a.png>", "a.png<" }));
}

TEST_F(Reopening, OfAFolderWithoutPicturesGreets)
{
    folder("a", {});
    controller->rememberRecentFolder(folders.path("a"));
    settle();

    controller->openRecentFolderAtIndex(0);
    settle();

    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Reopening, HasAccessToTheFolderAsLongAsTheShowLasts)
{
    const int before = FolderAccess::count();
    open("a");
    open("b");
    EXPECT_EQ(FolderAccess::count(), before);

    controller->openRecentFolderAtIndex(0);
    settle();
    EXPECT_EQ(FolderAccess::count(), before + 1);
    controller->openRecentFolderAtIndex(1);
    settle();
    EXPECT_EQ(FolderAccess::count(), before + 1);
    controller->endSlideShow();
    EXPECT_EQ(FolderAccess::count(), before);

    settle();
    controller->openRecentFolderAtIndex(0);
    settle();
    EXPECT_EQ(FolderAccess::count(), before + 1);
    controller.reset();
    EXPECT_EQ(FolderAccess::count(), before);
}

TEST_F(Reopening, LeavesTheHintsToANewUser)
{
    open("a");
    defaults.setValue(kHintsShown, false);

    controller->openRecentFolderAtIndex(0);
    settle();

    EXPECT_TRUE(controller->mHintsScreenShown());
    controller->nextSlide();
    EXPECT_EQ(screen.shown, "a.png");
}

// The welcome window.

TEST_F(RecentRows, AreThereWhenTheWindowComes)
{
    open("a");
    open("b");

    controller->ShowWelcomeScreen();

    EXPECT_EQ(visibleWindow<WelcomeController>()->numberOfRowsInTableView(), 2);
    EXPECT_EQ(visibleWindow<WelcomeController>()->objectValueForTableColumn(0), folders.path("b"));
}

TEST_F(RecentRows, FollowTheList)
{
    controller->ShowWelcomeScreen();
    const auto* const window = visibleWindow<WelcomeController>();
    EXPECT_EQ(window->numberOfRowsInTableView(), 0);

    controller->rememberRecentFolder(folder("a", {}));
    controller->rememberRecentFolder(folder("b", {}));
    settle();
    EXPECT_EQ(window->numberOfRowsInTableView(), 2);

    removeFolder("a");
    controller->ShowWelcomeScreen();
    settle();
    EXPECT_EQ(window->numberOfRowsInTableView(), 1);

    controller->ClearRecentsMenu();
    EXPECT_EQ(window->numberOfRowsInTableView(), 0);
}

TEST_F(RecentRows, OpenTheirFolder)
{
    open("a");
    open("b");
    controller->endSlideShow();
    settle();
    ASSERT_TRUE(isWelcomeVisible());

    controller->recentSelected(1);
    settle();

    EXPECT_EQ(screen.shown, "a.png");
    EXPECT_FALSE(isWelcomeVisible());
}

// At launch.

TEST_F(LastFolder, OpensAtLaunch)
{
    open("a");
    open("b");
    defaults.setValue(kOpenLastUsedFolder, true);
    restart();

    controller->applicationDidFinishLaunching();
    EXPECT_FALSE(isWelcomeVisible());
    settle();

    EXPECT_EQ(screen.shown, "b.png");
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_FALSE(isPanelVisible());
    clock.advance(std::chrono::minutes(1));
    EXPECT_FALSE(isPanelVisible());
}

TEST_F(LastFolder, OpensOnlyWhereThePersonWantsIt)
{
    open("a");
    restart();

    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_TRUE(screen.asked.empty());
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(LastFolder, GivesWayToWhatTheProgramWasStartedWith)
{
    open("a");
    defaults.setValue(kOpenLastUsedFolder, true);
    restart();

    controller->openFiles(write({ "1.png" }));
    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_EQ(controller->mFileSequence().count(), 1U);
}

TEST_F(LastFolder, ThatNobodyKnowsOpensNothingAndGreetsNobody)
{
    defaults.setValue(kOpenLastUsedFolder, true);

    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_TRUE(isPanelVisible()) << "an invisible program could not even be ended";
    EXPECT_EQ(nothingLeft, 0);
    controller->applicationWillBecomeActive(); // Because of the panel.
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(LastFolder, ThatIsGoneOpensNothingAndGreetsNobody)
{
    open("a");
    open("b");
    removeFolder("b");
    defaults.setValue(kOpenLastUsedFolder, true);
    restart();

    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_TRUE(screen.asked.empty()) << "nor the folder before it";
    EXPECT_TRUE(isPanelVisible());
}

TEST_F(LastFolder, GreetsAgainOnceTheControlsAreGone)
{
    defaults.setValue(kOpenLastUsedFolder, true);
    controller->applicationDidFinishLaunching();
    controller->ShowControls();
    ASSERT_FALSE(isPanelVisible());

    controller->applicationWillBecomeActive();

    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(LastFolder, ThatHasComeBringsNoControlsAfterwards)
{
    open("a");
    defaults.setValue(kOpenLastUsedFolder, true);
    restart();
    controller->applicationDidFinishLaunching();
    settle();

    controller->mScreenWindow()->close();
    settle();
    clock.advance(std::chrono::minutes(1));

    EXPECT_FALSE(isPanelVisible());
}

TEST_F(LastFolder, DoesNotKeepTheProgramInvisibleWhenItsDiskDoesNotAnswer)
{
    open("a");
    defaults.setValue(kOpenLastUsedFolder, true);
    restart(holding());
    controller->applicationDidFinishLaunching();
    stop.waitForArrival();
    EXPECT_FALSE(isPanelVisible());

    clock.advance(seconds(2));
    EXPECT_TRUE(isPanelVisible());
    EXPECT_FALSE(isWelcomeVisible());

    stop.release();
    settle();
    EXPECT_EQ(screen.shown, "a.png") << "it may still come";
}

} // namespace

} // namespace quorvane
