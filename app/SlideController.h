// SPDX-License-Identifier: GPL-3.0-or-later
// The one controller of everything.
#pragma once

#include "app/DesktopServices.h"
#include "app/RecentFolders.h"
#include "display/SVImageDisplay.h"
#include "platform/Clock.h"
#include "platform/DispatchQueue.h"
#include "platform/FolderFinder.h"
#include "platform/LifeGuard.h"
#include "platform/Observation.h"
#include "sequence/FileSequence.h"
#include "welcome/WelcomeController.h"

#include <QObject>
#include <QPointer>
#include <QScreen>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class QAction;

namespace quorvane {

class ControlPanel;
class Menus;
class MovieWatch;
struct MenuItemState;
class OpenPanel;
struct OpenPanelChoice;
class ScreenChooser;
class SlideLabel;
class SlideWindow;
class UserDefaults;

/// Owns the show: its sequence of files, its window with the display, its timer, and the windows
/// around it. Everything else talks back to it through delegates only.
///
/// Idle (no slides) -> loading (the sequence is being filled on a queue) -> showing (the window is
/// up)
/// <-> playing (the timer runs) -> idle again by endSlideShow().
///
/// Thread: main. Sequences are filled and emptied on the queue "com.quorvane.filesequence", one
/// block after the other; what follows comes back to the main thread.
class SlideController : public QObject,
                        public FileSequenceDelegate,
                        public SVImageDisplayDelegate,
                        public WelcomeControllerDelegate,
                        private MovieObserver {
    Q_OBJECT

public:
    using MakeDisplay = std::function<std::unique_ptr<SVImageDisplay>()>;

    /// \param defaults, clock  must outlive the controller.
    /// \param makeDisplay      called once for each window of a show.
    SlideController(UserDefaults& defaults, Clock& clock, MakeDisplay makeDisplay,
        DesktopServices desktop = {});
    ~SlideController() override;

    // The life of the application.

    /// Once, before all else: the default settings, and what is observed.
    void awakeFromNib();

    /// Adds files and folders to the show, and starts it with the first. What is there already
    /// stays. \param paths  absolute.
    void openFiles(const std::vector<QByteArray>& paths);

    /// Somebody asked for the program: its window comes to the front, or the welcome window.
    void activate();

    /// Once, after the files that the program was started with: what a program without slides
    /// shows.
    void applicationDidFinishLaunching();

    /// One of the windows became the active one while none was: greets who has no show, and takes a
    /// show whose screen has changed full screen again.
    void applicationWillBecomeActive();

    /// Waits for the queues. \return false when they still worked after `limit`.
    bool waitUntilIdle(std::chrono::milliseconds limit);

    // The show.

    /// Whether the timer runs.
    bool isPlaying() const { return mTimer != nullptr; }

    /// What was last handed to the display; nothing while nothing is shown.
    const std::optional<FileURL>& mImageURL() const { return mShownURL; }

    /// Whether there is a slide to go to.
    bool hasSlides() const { return mSequence.count() > 0; }

    /// Seconds; the timer's period in use.
    double mSlideTime() const { return mPeriod; }

    bool mHintsScreenShown() const { return mShowsHints; }
    FileSequence& mFileSequence() { return mSequence; }
    SlideWindow* mScreenWindow() const { return mWindow.get(); }

    /// The player of the movie that is shown, or on its way; nullptr at a picture. The timer does
    /// not run meanwhile.
    const std::shared_ptr<MoviePlayer>& mMoviePlayer() const { return mMovie; }

    /// It is there, and not paused.
    bool mMovieIsPlaying() const;

    /// What a media key wants: a movie goes on or pauses, otherwise the show does.
    void playMedia();
    void pauseMedia();

    /// Shows the slide at that place; the direction is that of the way there.
    void gotoImageIndex(size_t index);

    /// Shows the current slide again, if the display is free.
    void reloadCurrent();

    /// A key that no command answers. \return whether it was used up.
    bool keyDown(const QString& characters, int key);

    /// How the item of a command looks now. \param command  the name of one of the slots below.
    MenuItemState validateMenuItem(QLatin1String command) const;

    /// The setting "sort" has another value.
    void sortOrderChanged();

    // Recent folders. Those who ask for one are answered later, so that no disk holds them up.

    /// Remembers what was opened, if it is exactly one folder.
    void rememberRecentFolders(const std::vector<QByteArray>& paths);
    void rememberRecentURLs(const std::vector<FileURL>& urls);

    /// Puts a folder in front of the others; anything else is not remembered.
    void rememberRecentFolder(const QByteArray& path);

    /// What is known of them, newest first. Those that turn out to be gone leave the list.
    std::vector<QByteArray> recentPaths();

    /// Shows a recent folder instead of what is shown. Nothing happens when it is gone, or when
    /// something else is opened before its disk answers. \param index  anything.
    void openRecentFolderAtIndex(qint64 index);

    /// Shows the folder of an item of the menu, whatever its place is by now.
    void OpenRecentFolder(const QAction& item);

    // Screens.

    /// The window stands in a frame.
    bool isInWindowMode() const { return mWindowMode; }
    QScreen* currentScreen() const { return mCurrentScreen; }

    /// Keeps the display awake, and lets it sleep.
    void windowDidBecomeKey() { mDesktop.keepAwake(true); }
    void windowDidResignKey() { mDesktop.keepAwake(false); }

    // From the delegates' protocols.

    void firstFileFound() override; ///< Thread: any.
    void newFilesFound() override; ///< Thread: any.
    void currentFileChanged() override; ///< Thread: any; on the main one it acts at once.
    void delayNextImage() override;
    void imageWithURLFinished(const FileURL& url) override;
    void movieAppeared() override;
    void openSelected() override;
    void recentSelected(int row) override;
    void welcomeClosedByHand() override;

public Q_SLOTS:
    void Play();
    void Start();
    void Stop();
    void nextSlide();
    void previousSlide();
    void firstSlide();
    void endSlideShow();
    void cancel();
    void ShrinkToFit();
    void ZoomToFit();
    void FillScreen();
    void Stretch();
    void ZoomIn();
    void ZoomOne();
    void ZoomOff();
    void CopyFilePath();
    void ShowFilePath();
    void ShowFileName();
    void trashSlide();
    void openSlide();
    void shuffle();
    void ShowControls();
    void WindowMode();
    void FullScreen();
    void ShowChooseScreen();
    void ChangeScreen();
    void openMenu();
    void ShowHintScreen();
    void ShowWelcomeScreen();
    void updateRecentMenu();
    void ClearRecentsMenu();
    void showHelp();
    void quit();

protected:
    void customEvent(QEvent* event) override;

Q_SIGNALS:
    /// The person quits, or there is no show, no window, and nothing that would bring one.
    void nothingLeft();

    /// The timer was started or stopped.
    void playingChanged(bool isPlaying);

    /// Another slide was handed to the display, or nothing is shown any more; see mImageURL().
    void slideChanged();

private:
    // Opening.
    void fill(const std::function<void()>& collect, const std::function<void()>& afterwards);
    void filled();
    void addURLs(const std::vector<FileURL>& urls);
    void takeDrops(QWidget& window);
    void autoPlay();
    void showEnded();
    bool isEnding() const { return mClearedShows != mEndedShows; }
    void chosen(const OpenPanelChoice& choice);
    void goToFirstSlide();

    // Recent folders.
    void recentsChanged();
    void openRecentFolder(const FileURL& folder);
    void openLastUsedFolder();
    void standInForWindows();
    void dropAwaitedFolder() { ++mWishes; }

    // The show.
    void startTimer();
    void resetTimer();
    void myTimerFireMethod();
    void next();
    void previous();
    bool isBusy() const;
    static FileURL hintScreen();
    void openImageURL(const FileURL& url, bool forward);
    void present(const FileURL& url, bool forward);
    void slideCouldNotBeShown(const FileURL& url);
    void slideIsUnfinished(const FileURL& url);
    void passOver(bool wasFirst);
    bool mayGetFiles() const;
    void reloadUnfinished(const FileURL& url);
    void readAhead();
    void slideIntervalChanged();
    void setFitMode(QLatin1String mode);

    // Movies.
    void movieControlled() override;
    bool isMovieURL(const FileURL& url) const;
    void showMovie(const FileURL& url, bool forward);
    bool checkMovie();
    void movieDidEnd(MovieEnd end);
    void movieIsUnfinished();
    void skipMovie();
    void goOnAfterMovie();
    void afterMovie();
    void toggleMovie();
    bool goesOn() const;
    void showCurrentAgain();

    // The ads between the slides.
    void openAddfolder();
    void fillAddSequence(const FileURL& folder);
    std::optional<FileURL> nextAdd();
    std::optional<FileURL> upcomingAdd() const;
    void openAdd(const FileURL& url);
    void addCouldNotBeShown(const FileURL& url, bool isUnfinished);

    // Commands.
    MenuItemState validateCheckMark(QLatin1String command) const;
    bool isShowingControls() const;
    bool isAnyWindowOpen() const;
    void makeControls();
    void updateControls();
    void trashed(const FileURL& url);
    void toggleLabel(QLatin1String setting, QLatin1String other);
    void updateInfoDisplayForURL(const std::optional<FileURL>& url);
    void setShownURL(const std::optional<FileURL>& url);
    void describeSlide();

    // Screens.
    void makeWindow();
    void makeMenuBar();
    void makeMenuBarSoon();
    void goFullScreen(QScreen* screen);
    void exitFullScreen();
    void windowClosedByHand();
    void watchScreens();
    void watchScreen(QScreen* screen);
    void screenRemoved(QScreen* screen);
    void coverScreenAnew();
    void saveScreen();
    void restoreScreen();

    UserDefaults& mDefaults;
    Clock& mClock;
    const MakeDisplay mMakeDisplay;
    const DesktopServices mDesktop;
    FileSequence mSequence;
    std::unique_ptr<Menus> mMenus;

    std::unique_ptr<SlideWindow> mWindow; ///< Null while no show is on screen.
    std::unique_ptr<SVImageDisplay> mView; ///< In mWindow, and as long as it.
    QPointer<SlideLabel> mLabel; ///< Over mView; made when first needed.
    bool mWindowMode = false; ///< mWindow stands in a frame.
    QPointer<QScreen> mCurrentScreen; ///< The screen that the show uses.
    std::unique_ptr<ScreenChooser> mChooseScreenWindow; ///< Made when first needed.
    std::unique_ptr<ControlPanel> mControlWindow; ///< Made when first needed.
    std::unique_ptr<WelcomeController> mWelcomeController; ///< Made when first needed.
    QPointer<OpenPanel> mOpenPanel; ///< While it is open; owns itself, or belongs to mWindow.

    std::optional<FileURL> mShownURL;
    std::unique_ptr<Timer> mTimer; ///< Set exactly while the show plays.
    double mPeriod = 0; ///< Seconds.
    std::optional<TimePoint> mLastSlideChange; ///< When the last picture came on screen.
    double mLastSlideTime = 0; ///< Seconds that the one before it stayed.
    TimePoint mLoadBegan; ///< When the last picture was asked for.
    std::optional<FileURL> mSeenURL; ///< The slide that is on screen.
    std::unique_ptr<Timer> mReloadTimer; ///< Set while it is being written anew.
    bool mShowsHints = false; ///< The hint screen stands in front of the current slide.
    int mOpenings = 0; ///< Collections handed to the queue whose end has not been heard of.
    bool mQuitsAfterShow = false; ///< The last window was closed by hand.
    std::atomic<int> mEndedShows = 0; ///< Written by the main thread.
    int mClearedShows = 0; ///< Those of them that are out of the sequence.

    std::shared_ptr<MoviePlayer> mMovie; ///< While a movie is shown.
    std::unique_ptr<MovieWatch> mMovieWatch; ///< As long as it.
    std::unique_ptr<Timer> mMovieTimer; ///< Until the show goes on after it.
    bool mHasMovieAppeared = false; ///< On screen.
    bool mWasPlaying = false; ///< The show is to go on by itself after the movie.
    size_t mFailedMovies = 0; ///< One after the other, with nothing seen between them.

    FolderFinder mFolderFinder;
    RecentFolders mRecentFolders;
    std::optional<FolderAccess> mSecurityScopedResourceURL; ///< The recent folder that is shown.
    quint64 mWishes = 0; ///< Counts what would make a recent folder that is not there yet unwanted.
    std::unique_ptr<Timer> mLaunchTimer; ///< While nobody knows whether the last folder will come.
    bool mControlsStandIn = false; ///< The controls came by themselves, in place of the greeting.

    std::unique_ptr<FileSequence> mAddSequence; ///< Made when first needed, and kept.
    std::optional<FolderAccess> mSecurityScopedAddURL; ///< The folder of the ads.
    qint64 mAddCounter = 0; ///< Slides since the last ad.
    bool mFirstAddIsDue = false; ///< The next ad is the first one; no step leads to that.
    bool mShowsAdd = false; ///< What is shown is an ad.

    Observation mIntervalObservation;
    LifeGuard mLifeGuard;
    /// After the guard, so that it goes before: its last block still calls firstFileFound().
    DispatchQueue mDispatchQueue { "com.quorvane.filesequence" };
};

} // namespace quorvane
