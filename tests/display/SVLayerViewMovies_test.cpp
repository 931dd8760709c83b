// SPDX-License-Identifier: GPL-3.0-or-later
// What is on screen when movies come, among pictures and among themselves.
#include "display/MoviePlayerView.h"
#include "display/SVLayerView.h"
#include "display/SoundScreen.h"
#include "images/PointerImage.h"
#include "images/SVImage.h"
#include "images/SVImageCache.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/BusyPool.h"
#include "support/EventWaiting.h"
#include "support/FakeMoviePlayer.h"
#include "support/GeometryMatchers.h"
#include "support/ManualClock.h"
#include "support/PictureFiles.h"

#include <QApplication>
#include <QMouseEvent>

#include <gtest/gtest.h>

#include <optional>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

using Players = std::vector<std::shared_ptr<MoviePlayer>>;

constexpr QSize kView { 200, 100 };
constexpr QSize kWide { 400, 100 }; // Fills the view's width.
const QRectF kWideRect { 0, 25, 200, 50 };

struct MovieDelegate : SVImageDisplayDelegate {
    int appeared = 0;
    int answers = 0;
    std::function<void()> onAppeared = [] {};

    void delayNextImage() override { }
    void movieAppeared() override
    {
        ++appeared;
        onAppeared();
    }
    void imageWithURLFinished(const FileURL& /*url*/) override { ++answers; }
};

std::shared_ptr<SVImage> picture(QRgb colour, QSize size = kView)
{
    return SVImage::imageWithImage(solid(colour, size));
}

/// On a screen with two pixels for each point.
class DenseView : public SVLayerView {
public:
    using SVLayerView::SVLayerView;

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        if (metric == PdmDevicePixelRatio)
            return 2;
        if (metric == PdmDevicePixelRatioScaled)
            return static_cast<int>(2 * devicePixelRatioFScale());
        return SVLayerView::metric(metric);
    }
};

struct Movies : testing::Test {
    FakeMovie movie;
    FakeMovie other;
    PictureFiles files;
    UserDefaults defaults;
    ManualClock clock;
    MovieDelegate delegate;
    std::optional<SVLayerView> made { std::in_place, defaults, clock };
    SVLayerView& view = *made;

    Movies()
    {
        SVImageCache::purge();
        choose("None");
        view.resize(kView);
        view.setDelegate(&delegate);
        screen(); // It hears of its size when it is painted.
    }
    ~Movies() override
    {
        made.reset();
        settle();
        SVImageCache::purge();
    }
    Movies(const Movies&) = delete;
    Movies& operator=(const Movies&) = delete;

    void choose(const char* title) { defaults.setValue(kTransition, QString::fromLatin1(title)); }
    void setFitMode(QLatin1String mode) { defaults.setValue(kImageFitMode, QString(mode)); }

    void resize(QSize size)
    {
        view.resize(size);
        screen();
    }

    /// Asks for a movie, of which nothing is known yet.
    void ask(FakeMovie& what) { view.showMovie(what.makePlayer(), true); }

    /// Shows one up to its first frame.
    void show(FakeMovie& what, QRgb colour, QSize size = kWide)
    {
        ask(what);
        what.player->open(size, 10);
        what.player->showFrame(colour);
    }

    /// Shows pictures, the last of them `colour`: their number decides which layer that is in.
    void showPictures(int count, QRgb colour = kRed)
    {
        view.clearImage();
        for (int i = 1; i <= count; ++i)
            view.setImage(picture(i == count ? colour : kYellow), true);
    }

    QImage screen()
    {
        QImage image(view.size(), QImage::Format_RGB32);
        image.fill(0xff804080);
        view.render(&image);
        return image;
    }
    QRgb centre() { return screen().pixel(view.width() / 2, view.height() / 2); }

    /// Everywhere one colour.
    static bool isAll(const QImage& screen, QRgb colour)
    {
        return screen == solid(colour, screen.size());
    }
};

TEST_F(Movies, HaveNoLayerBeforeTheFirst)
{
    EXPECT_EQ(view.mMovieLayer(), nullptr);
    EXPECT_EQ(view.mBackgroundLayer().sublayers().size(), 3U);

    view.clearImage();
    view.setImage(picture(kRed), true);
    view.updateFitMode();
    EXPECT_EQ(view.mMovieLayer(), nullptr);
}

TEST_F(Movies, ShareOneLayerAbovePicturesAndBelowThePointer)
{
    show(movie, kGreen);
    const Layer* const layer = view.mMovieLayer();
    show(other, kBlue);

    EXPECT_EQ(view.mMovieLayer(), layer);
    EXPECT_EQ(view.mBackgroundLayer().sublayers().size(), 4U);
    EXPECT_TRUE(layer->isForemost());
    EXPECT_GT(layer->zPosition(), view.mCurrentLayer().zPosition());
    EXPECT_LT(layer->zPosition(), view.mCursorLayer().zPosition());
}

TEST_F(Movies, ArePlayedAtOnceWithTheirVolume)
{
    ask(movie);

    EXPECT_EQ(movie.asked, "volume 1 sound play ");
    EXPECT_EQ(delegate.appeared, 0);
}

TEST_F(Movies, PlayAsLoudAsTheOneBefore)
{
    auto quiet = movie.makePlayer();
    quiet->setVolume(0.3);
    quiet->setMuted(true);
    view.showMovie(std::move(quiet), true);
    EXPECT_TRUE(movie.player->isMuted());

    ask(other);

    EXPECT_EQ(other.asked, "volume 0.3 mute play ");
}

TEST_F(Movies, AreGivenTheirRoomByTheFitMode)
{
    FakeMovie small;
    const auto player = small.makePlayer();
    EXPECT_EQ(view.rectForMovie(*player), QRectF(0, 0, 200, 100)); // Not known yet.
    small.player->open({ 40, 30 }, 1);

    EXPECT_EQ(view.rectForMovie(*player), QRectF(80, 35, 40, 30));
    setFitMode(kFitModeFill);
    EXPECT_EQ(view.rectForMovie(*player), QRectF(0, -25, 200, 150));
    setFitMode(kFitModeStretch);
    EXPECT_EQ(view.rectForMovie(*player), QRectF(0, 0, 200, 100));
    setFitMode(kFitModeZoom);
    EXPECT_EQ(view.rectForMovie(*player).height(), 100);
}

TEST_F(Movies, LeaveThePictureUntilTheirFirstFrameIsThere)
{
    for (const int pictures : { 1, 2, 3 }) {
        SCOPED_TRACE(pictures);
        showPictures(pictures);
        delegate.appeared = 0;

        ask(movie);
        EXPECT_TRUE(isAll(screen(), kRed));
        movie.player->open(kWide, 10);
        EXPECT_TRUE(isAll(screen(), kRed));
        EXPECT_EQ(delegate.appeared, 0);
        movie.player->showFrame(kGreen);

        EXPECT_EQ(delegate.appeared, 1);
        QImage expected = solid(kBlack, kView); // Nothing of the picture is around it.
        for (int y = 25; y < 75; ++y) {
            for (int x = 0; x < 200; ++x)
                expected.setPixel(x, y, kGreen);
        }
        EXPECT_EQ(screen(), expected);
        EXPECT_EQ(view.mCurrentLayer().opacity(), 0);
        EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    }
}

TEST_F(Movies, ShowEachFrame)
{
    show(movie, kGreen);

    movie.player->showFrame(kBlue);
    EXPECT_EQ(centre(), kBlue);
    movie.player->showFrame(kYellow);
    EXPECT_EQ(centre(), kYellow);
    EXPECT_EQ(delegate.appeared, 1);
    EXPECT_EQ(clock.validTimers(), 0); // They come by themselves.
}

TEST_F(Movies, LeaveTheirLastFrame)
{
    show(movie, kGreen);

    movie.player->end();

    EXPECT_EQ(centre(), kGreen);
}

TEST_F(Movies, AreCutToAPictureInAnyPaintedMoment)
{
    for (const int pictures : { 0, 1, 2, 3 }) {
        SCOPED_TRACE(pictures);
        showPictures(pictures);
        choose("Cross Fade");
        show(movie, kGreen);

        view.setImage(picture(kBlue), true);

        EXPECT_EQ(movie.asked.substr(movie.asked.size() - 6), "pause ");
        EXPECT_EQ(movie.player, nullptr); // Nobody has it any more.
        EXPECT_FALSE(view.isBusy());
        for (int i = 0; i < 5; ++i, clock.advance(10ms))
            EXPECT_TRUE(isAll(screen(), kBlue));
        EXPECT_EQ(clock.validTimers(), 0);
        EXPECT_EQ(view.mMovieLayer()->opacity(), 0);
        EXPECT_EQ(view.mCurrentLayer().opacity(), 1);
        EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    }
}

TEST_F(Movies, StayUntilThePictureOfAFileIsThere)
{
    const FileURL url = files.write("a.png", kRed, kView);
    show(movie, kGreen);

    view.setImageWithURL(url, true);
    movie.player->showFrame(kYellow);

    EXPECT_TRUE(view.isLoading());
    EXPECT_TRUE(movie.player->isPlaying());
    EXPECT_EQ(centre(), kYellow);
    settle();
    EXPECT_TRUE(isAll(screen(), kRed));
    EXPECT_EQ(movie.player, nullptr);
}

TEST_F(Movies, StayWhereAFileIsNoPicture)
{
    const FileURL url = files.write("a.png", QByteArray("no picture"));
    show(movie, kGreen);

    view.setImageWithURL(url, true);
    settle();

    EXPECT_FALSE(view.ImageOK());
    EXPECT_EQ(centre(), kGreen);
    movie.player->showFrame(kBlue);
    EXPECT_EQ(centre(), kBlue);
}

TEST_F(Movies, DoNotKeepLaterPicturesFromTheirTransition)
{
    choose("Cross Fade");
    show(movie, kGreen);
    view.setImage(picture(kBlue), true);
    screen();

    view.setImage(picture(kRed), true);
    clock.advance(0ms);

    EXPECT_TRUE(view.isBusy());
    screen();
    clock.advance(500ms);
    const QRgb mixed = centre();
    EXPECT_GT(qRed(mixed), 50);
    EXPECT_GT(qBlue(mixed), 50);
    EXPECT_EQ(qGreen(mixed), 0);
}

TEST_F(Movies, LeaveTheLastFrameUntilTheNextMovieHasItsFirst)
{
    show(movie, kGreen);
    movie.player->end();

    ask(other);
    EXPECT_EQ(movie.player, nullptr);
    EXPECT_EQ(centre(), kGreen);
    other.player->open(kView, 10);
    EXPECT_EQ(centre(), kGreen);
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), kWideRect));
    other.player->showFrame(kBlue);

    EXPECT_TRUE(isAll(screen(), kBlue));
    EXPECT_EQ(delegate.appeared, 2);
}

TEST_F(Movies, PlaceTheirLastFrameAnewWhileTheNextOneIsOpened)
{
    show(movie, kGreen);
    ask(other);
    other.player->open({ 100, 100 }, 10);

    resize({ 400, 400 });

    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, 150, 400, 100 }));
    other.player->showFrame(kBlue);
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 150, 150, 100, 100 }));
}

TEST_F(Movies, AreShownAgainWhereTheyAre)
{
    const std::shared_ptr<MoviePlayer> player = movie.makePlayer();
    view.showMovie(player, true);
    movie.player->open(kWide, 10);
    movie.player->showFrame(kGreen);
    view.setImage(picture(kRed), true);

    view.showMovie(player, true);

    EXPECT_EQ(centre(), kGreen); // At once.
    EXPECT_TRUE(player->isPlaying());
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), kWideRect));
    EXPECT_EQ(delegate.appeared, 2);
}

TEST_F(Movies, ThatAPictureOvertookNeverPopUp)
{
    struct Row {
        const char* what;
        std::function<void()> overtake;
    };
    const FileURL url = files.write("a.png", kRed, kView);
    const Row rows[] = { { "picture", [&] { view.setImage(picture(kRed), true); } },
        { "file", [&] { view.setImageWithURL(url, true); } } };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        view.setImage(picture(kYellow), true);
        delegate.appeared = 0;
        const std::shared_ptr<MoviePlayer> player = movie.makePlayer();
        view.showMovie(player, true);
        movie.player->open(kWide, 10);

        row.overtake();
        EXPECT_FALSE(player->isPlaying());
        EXPECT_EQ(player.use_count(), 1);
        movie.player->showFrame(kGreen);
        EXPECT_NE(centre(), kGreen);
        settle();
        movie.player->showFrame(kGreen);

        EXPECT_TRUE(isAll(screen(), kRed));
        EXPECT_EQ(delegate.appeared, 0);
    }
}

TEST_F(Movies, ThatWereNeverSeenLeaveThePicturesTheirTransition)
{
    view.setImage(picture(kRed), true);
    ask(movie);
    choose("Cross Fade");

    view.setImage(picture(kBlue), true);
    clock.advance(0ms);

    EXPECT_TRUE(view.isBusy());
}

TEST_F(Movies, LeaveTheLastFrameWhenTheNextMovieIsOvertaken)
{
    show(movie, kGreen);
    ask(other);

    view.setImageWithURL(files.write("a.png", QByteArray("no picture")), true);
    settle();
    resize({ 400, 400 });

    EXPECT_EQ(centre(), kGreen);
    EXPECT_EQ(screen().pixel(5, 5), kBlack);
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, 150, 400, 100 }));
    EXPECT_EQ(other.player, nullptr);
}

TEST_F(Movies, KeepAPictureAwayThatWasBeingDecoded)
{
    const FileURL url = files.write("a.png", kRed, kView);
    view.setImage(picture(kYellow), true);
    {
        const BusyPool pool;
        view.setImageWithURL(url, true);
        show(movie, kGreen);
        EXPECT_FALSE(view.isLoading());
    }
    settle();

    EXPECT_EQ(centre(), kGreen);
    EXPECT_EQ(screen().pixel(5, 5), kBlack);
    EXPECT_EQ(delegate.answers, 0);
    clock.advance(60s); // Nor is it given up.
    EXPECT_EQ(delegate.answers, 0);
}

TEST_F(Movies, KeepAPictureAwayBeforeTheirFirstFrameToo)
{
    const FileURL url = files.write("a.png", kRed, kView);
    view.setImage(picture(kYellow), true);

    view.setImageWithURL(url, true);
    ask(movie);
    settle();

    EXPECT_TRUE(isAll(screen(), kYellow));
    EXPECT_EQ(delegate.answers, 0);
}

TEST_F(Movies, KeepAPictureAwayThatIsDecodedInAnotherSize)
{
    view.setImageWithURL(files.write("a.png", kRed, { 400, 200 }), true);
    settle();
    resize({ 100, 50 }); // Now it is.

    show(movie, kGreen, { 20, 20 });
    settle();

    EXPECT_EQ(screen().pixel(5, 5), kBlack);
    EXPECT_EQ(view.mCurrentLayer().opacity(), 0);
}

TEST_F(Movies, EndTheTransitionThatIsRunning)
{
    for (const char* const title : { "Cross Fade", "Flip", "Slide", "Rotate Left Right",
             "Rotate Left", "Shrink", "Expand", "Bar Swipe", "Swipe", "Mod" }) {
        for (const int pictures : { 1, 2 }) {
            SCOPED_TRACE(title);
            choose("None");
            showPictures(pictures);
            choose(title);
            view.setImage(picture(kBlue), true);
            clock.advance(0ms);
            screen();
            clock.advance(100ms);
            ASSERT_TRUE(view.isBusy());

            show(movie, kGreen);

            EXPECT_FALSE(view.isBusy());
            const QImage image = screen();
            EXPECT_EQ(image.pixel(100, 50), kGreen);
            EXPECT_EQ(image.pixel(100, 10), kBlack);
            clock.advance(100ms);
            EXPECT_EQ(clock.validTimers(), 0);
            EXPECT_FALSE(view.isBusy());
            EXPECT_EQ(screen(), image);

            view.setImage(picture(kRed), true);
            for (int i = 0; i < 3; ++i, clock.advance(20ms))
                EXPECT_TRUE(isAll(screen(), kRed));
            EXPECT_FALSE(view.isBusy());

            view.setImage(picture(kYellow), true);
            clock.advance(0ms);
            EXPECT_TRUE(view.isBusy());
            clock.advance(3s);
            EXPECT_FALSE(view.isBusy());
            EXPECT_TRUE(isAll(screen(), kYellow));
        }
    }
}

TEST_F(Movies, LetATransitionGoOnUntilTheirFirstFrame)
{
    view.setImage(picture(kRed), true);
    choose("Cross Fade");
    view.setImage(picture(kBlue), true);
    clock.advance(0ms);
    screen();

    ask(movie);
    clock.advance(500ms);

    EXPECT_TRUE(view.isBusy());
    clock.advance(600ms);
    EXPECT_FALSE(view.isBusy());
    EXPECT_TRUE(isAll(screen(), kBlue));
}

TEST_F(Movies, EndTheDrift)
{
    view.setImage(picture(kRed), true);
    view.driftEffect();
    clock.advance(1s);

    show(movie, kGreen);
    screen();
    clock.advance(1s);

    EXPECT_EQ(clock.validTimers(), 0);
    view.setImage(picture(kRed), true);
    EXPECT_TRUE(isAll(screen(), kRed));
}

TEST_F(Movies, OfNoPlayerLeaveNothing)
{
    for (const int pictures : { 0, 1, 2 }) {
        showPictures(pictures);

        view.showMovie(nullptr, true);

        EXPECT_TRUE(isAll(screen(), kBlack));
        EXPECT_EQ(delegate.appeared, 0);
        EXPECT_EQ(view.mMovieLayer(), nullptr);
    }
    view.setImage(picture(kRed), true);
    EXPECT_TRUE(isAll(screen(), kRed));
}

TEST_F(Movies, StopWhenTheViewIsCleared)
{
    const std::shared_ptr<MoviePlayer> player = movie.makePlayer();
    view.showMovie(player, true);
    movie.player->open(kWide, 10);
    movie.player->showFrame(kGreen);

    view.clearImage();

    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(player.use_count(), 1);
    EXPECT_TRUE(isAll(screen(), kBlack));
    EXPECT_TRUE(view.mMovieLayer()->contents().isNull());
    EXPECT_EQ(view.mMovieLayer()->opacity(), 0);
    movie.player->showFrame(kBlue);
    EXPECT_TRUE(isAll(screen(), kBlack));
    choose("Cross Fade");
    view.setImage(picture(kRed), true);
    EXPECT_TRUE(isAll(screen(), kRed));
}

TEST_F(Movies, DoNotComeIntoAViewThatWasCleared)
{
    ask(movie);

    view.clearImage();

    EXPECT_EQ(movie.player, nullptr);
    EXPECT_EQ(movie.asked.substr(movie.asked.size() - 6), "pause ");
    EXPECT_EQ(delegate.appeared, 0);
}

TEST_F(Movies, AreNotZoomed)
{
    setFitMode(kFitModeFill);
    view.setImage(picture(kRed, { 200, 200 }), true); // Larger than the view: it could be moved.
    show(movie, kGreen, kView);
    const QRectF current = view.mCurrentLayer().frame();
    const QImage before = screen();

    view.zoomIn();
    view.zoomOne();
    view.zoomOff();
    view.panX(10, 10);
    clock.advance(0ms);

    EXPECT_FALSE(view.isBusy());
    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), current));
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, 0, 200, 100 }));
    EXPECT_EQ(screen(), before);
}

TEST_F(Movies, EndTheZoomOfThePicture)
{
    view.setImage(picture(kRed), true);
    view.zoomIn();
    clock.advance(2s);

    show(movie, kGreen);

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 0, 200, 100 }));
    const auto drag = [&](QEvent::Type type, QPointF where) {
        QMouseEvent event(type, where, where, Qt::LeftButton, Qt::LeftButton, Qt::ControlModifier);
        QApplication::sendEvent(&view, &event);
    };
    setFitMode(kFitModeFill);
    view.setImage(picture(kBlue, { 200, 200 }), true); // Larger than the view.
    drag(QEvent::MouseButtonPress, { 50, 50 });
    drag(QEvent::MouseMove, { 60, 60 });
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, -50, 200, 200 }));
}

TEST_F(Movies, FollowTheFitMode)
{
    show(movie, kGreen, { 40, 30 });
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 80, 35, 40, 30 }));
    EXPECT_EQ(movie.player->targetSize(), QSize(40, 30));

    setFitMode(kFitModeFill);
    view.updateFitMode();

    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, -25, 200, 150 }));
    EXPECT_EQ(movie.player->targetSize(), QSize(200, 150));
    EXPECT_TRUE(isAll(screen(), kGreen)); // At once; what overhangs is cut off.
    setFitMode(kFitModeStretch);
    view.refresh();
    EXPECT_EQ(view.mMovieLayer()->frame(), QRectF(100 - 200.0 / 3, 0, 400.0 / 3, 100));
    EXPECT_EQ(screen().pixel(10, 50), kBlack); // Not distorted.
}

TEST_F(Movies, LeaveThePicturesPlaceToThePicture)
{
    view.setImage(picture(kRed, { 40, 30 }), true);
    show(movie, kGreen);
    const QRectF before = view.mCurrentLayer().frame();

    setFitMode(kFitModeStretch);
    view.updateFitMode();
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), before));

    view.setImage(picture(kBlue, { 40, 30 }), true);
    EXPECT_TRUE(isAll(screen(), kBlue));
}

TEST_F(Movies, FollowTheView)
{
    show(movie, kGreen);
    EXPECT_EQ(movie.player->targetSize(), QSize(200, 50));

    resize({ 300, 200 });

    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, 62.5, 300, 75 }));
    EXPECT_EQ(movie.player->targetSize(), QSize(300, 75));
    EXPECT_EQ(centre(), kGreen);
}

TEST_F(Movies, FollowTheViewBeforeTheyAreSeenToo)
{
    view.setImage(picture(kRed), true);
    ask(movie);
    movie.player->open(kWide, 10);

    resize({ 300, 200 });

    EXPECT_EQ(movie.player->targetSize(), QSize(300, 75));
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 50, 50, 200, 100 }));
    movie.player->showFrame(kGreen);
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, 62.5, 300, 75 }));
}

TEST_F(Movies, FollowASizeThatChanges)
{
    show(movie, kGreen);

    movie.player->open({ 100, 100 }, 10);

    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 50, 0, 100, 100 }));
    EXPECT_EQ(movie.player->targetSize(), QSize(100, 100));
    ask(other);
    EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 50, 0, 100, 100 }));
}

TEST_F(Movies, AreAskedForNoSizeBeforeTheirOwnIsKnown)
{
    ask(movie);

    EXPECT_TRUE(movie.player->targetSize().isEmpty());
}

TEST_F(Movies, OfAbsurdShapesAreAskedForAsManyPixelsAsAreOfUse)
{
    setFitMode(kFitModeFill);

    show(movie, kGreen, { 10'000, 1 });

    const QSize size = movie.player->targetSize();
    EXPECT_LE(double(size.width()) * size.height(), 2.05 * 3840 * 2160);
    EXPECT_GE(size.height(), 1);
    EXPECT_TRUE(isAll(screen(), kGreen));
}

TEST_F(Movies, HaveThePixelsOfADenseScreen)
{
    DenseView dense(defaults, clock);
    dense.resize(kView);
    QImage image(2 * kView, QImage::Format_RGB32);
    image.setDevicePixelRatio(2);
    dense.render(&image);
    ASSERT_EQ(dense.devicePixelRatioF(), 2);

    dense.showMovie(movie.makePlayer(), true);
    movie.player->open({ 40, 30 }, 10);
    EXPECT_EQ(movie.player->targetSize(), QSize(80, 60));
    movie.player->showFrame(kGreen);
    EXPECT_TRUE(isExactly(dense.mMovieLayer()->frame(), { 80, 35, 40, 30 }));

    dense.showMovie(other.makePlayer(), true);
    other.player->open({}, 10, QStringLiteral("A Song"));
    EXPECT_EQ(dense.mMovieLayer()->contents().size(), 2 * kView);
}

TEST_F(Movies, AreBelowThePointer)
{
    defaults.setValue(kCursor, QStringLiteral("Square"));
    view.setMCursorImage(std::make_shared<PointerImage>(QStringLiteral("Square"),
        "<svg xmlns='http://www.w3.org/2000/svg' width='20' height='20'>"
        "<rect width='100%' height='100%' fill='#e00000'/></svg>"));
    show(movie, kGreen);

    QMouseEvent press(QEvent::MouseButtonPress, QPointF(100, 50), QPointF(100, 50), Qt::LeftButton,
        Qt::LeftButton, {});
    QApplication::sendEvent(&view, &press);

    EXPECT_EQ(screen().pixel(105, 55), kRed);
    EXPECT_EQ(screen().pixel(95, 55), kGreen);
    movie.player->showFrame(kBlue);
    EXPECT_EQ(screen().pixel(105, 55), kRed);
}

TEST_F(Movies, OfSoundShowWhatTheyAreCalled)
{
    struct Row {
        const char* path;
        const char* title;
        const char* shown;
    };
    const Row rows[] = { { "/music/track01.ogg", "A Song", "A Song" },
        { "/music/track01.ogg", "", "track01" }, { "/music/No. 5.live.mp3", "", "No. 5.live" } };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.shown);
        showPictures(1);
        view.showMovie(movie.makePlayer(FileURL(row.path)), true);
        EXPECT_TRUE(isAll(screen(), kRed));

        movie.player->open({}, 10, QString::fromUtf8(row.title));

        const QImage expected
            = soundScreen({ QString::fromUtf8(row.shown), {}, view.font() }, kView);
        EXPECT_EQ(screen(), expected);
    }
    EXPECT_EQ(delegate.appeared, 3);
}

TEST_F(Movies, OfSoundShowANoteOnceItIsKnownThatTheyHaveNoCover)
{
    const auto screenWith = [&](const std::optional<QImage>& cover) {
        return soundScreen({ QStringLiteral("A Song"), cover, view.font() }, kView);
    };
    ask(movie);
    movie.player->open({}, 10, QStringLiteral("A Song"));
    EXPECT_EQ(screen(), screenWith(std::nullopt));

    EXPECT_TRUE(waitUntil([&] { return screen() == screenWith(QImage()); }));
}

TEST_F(Movies, OfSoundHaveAllOfTheViewInEveryMode)
{
    for (const auto mode : { kFitModeFit, kFitModeZoom, kFitModeFill, kFitModeStretch }) {
        setFitMode(mode);
        ask(movie);
        movie.player->open({}, 10, QStringLiteral("A Song"));

        EXPECT_TRUE(isExactly(view.mMovieLayer()->frame(), { 0, 0, 200, 100 }));
        EXPECT_EQ(view.mMovieLayer()->contents().size(), kView);
    }
}

TEST_F(Movies, OfSoundFollowTheViewAndTheirTitle)
{
    ask(movie);
    movie.player->open({}, 10, QStringLiteral("A Song"));

    resize({ 300, 200 });
    EXPECT_EQ(screen(), soundScreen({ QStringLiteral("A Song"), {}, view.font() }, { 300, 200 }));

    movie.player->open({}, 10, QStringLiteral("Another"));
    EXPECT_EQ(screen(), soundScreen({ QStringLiteral("Another"), {}, view.font() }, { 300, 200 }));
    EXPECT_EQ(delegate.appeared, 1);
}

TEST_F(Movies, OfSoundGiveWayToAPicture)
{
    ask(movie);
    movie.player->open({}, 10, QStringLiteral("A Song"));

    view.setImage(picture(kRed), true);

    EXPECT_TRUE(isAll(screen(), kRed));
}

TEST_F(Movies, MayGiveWayAsSoonAsTheyAppear)
{
    const std::function<void()> answers[] = { [&] { view.setImage(picture(kRed), true); },
        [&] { view.clearImage(); }, [&] { ask(other); } };
    for (const auto& answer : answers) {
        delegate.onAppeared = answer;
        show(movie, kGreen);
        EXPECT_EQ(movie.player, nullptr);

        delegate.onAppeared = answer;
        view.showMovie(movie.makePlayer(), true);
        movie.player->open({}, 10, QStringLiteral("A Song"));
        EXPECT_EQ(movie.player, nullptr);
        delegate.onAppeared = [] {};
    }
    other.player->open(kView, 10);
    other.player->showFrame(kBlue);
    EXPECT_TRUE(isAll(screen(), kBlue));
}

TEST_F(Movies, NeedNobodyWhoHears)
{
    view.setDelegate(nullptr);

    show(movie, kGreen);

    EXPECT_EQ(centre(), kGreen);
}

TEST_F(Movies, OutliveTheView)
{
    const std::shared_ptr<MoviePlayer> player = movie.makePlayer();
    view.showMovie(player, true);
    movie.player->open(kWide, 10);
    movie.player->showFrame(kGreen);

    made.reset();

    EXPECT_EQ(player.use_count(), 1);
    movie.player->showFrame(kBlue);
    movie.player->end();
}

TEST_F(Movies, HaveTheirControlsOnlyWhileTheyAreSeen)
{
    view.show();
    int x = 0;
    const auto controlsCome = [&] {
        const QPointF where(++x, 5);
        QMouseEvent move(QEvent::MouseMove, where, view.mapToGlobal(where), {}, {}, {});
        QApplication::sendEvent(&view, &move);
        const auto* const panel = view.findChild<QWidget*>({}, Qt::FindDirectChildrenOnly);
        return panel && panel->isVisible();
    };
    view.setImage(picture(kRed), true);
    EXPECT_FALSE(controlsCome());

    ask(movie);
    EXPECT_FALSE(controlsCome());
    movie.player->open(kWide, 10);
    movie.player->showFrame(kGreen);
    EXPECT_TRUE(controlsCome());

    ask(other);
    EXPECT_FALSE(controlsCome());
    other.player->open({}, 10);
    EXPECT_TRUE(controlsCome());

    view.setImage(picture(kRed), true);
    EXPECT_FALSE(controlsCome());
}

/// Notes which part of the view is painted.
class PaintedPart : public QObject {
public:
    QRegion region;

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};

TEST_F(Movies, AreAllThatTheirFramesRepaint)
{
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.show();
    show(movie, kGreen, { 40, 20 });
    QCoreApplication::processEvents();
    PaintedPart painted;
    view.installEventFilter(&painted);

    movie.player->showFrame(kBlue);
    QCoreApplication::processEvents();

    EXPECT_EQ(painted.region, QRegion(80, 40, 40, 20));
}

} // namespace
} // namespace quorvane
