// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "images/SVImageCache.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/BusyPool.h"
#include "support/GeometryMatchers.h"
#include "support/HeldDecoder.h"
#include "support/ManualClock.h"
#include "support/PictureFiles.h"

#include <gtest/gtest.h>

#include <optional>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

using Layers = std::vector<Layer*>;

/// Far from every colour that is shown.
constexpr QRgb kUnpainted = 0xff804080;

/// Hears the answers, and what ImageOK() was then.
class RecordingDelegate : public SVImageDisplayDelegate {
public:
    struct Answer {
        FileURL url;
        bool isOK;
        friend bool operator==(const Answer&, const Answer&) = default;
    };

    explicit RecordingDelegate(const SVImageDisplay& display)
        : mDisplay(display)
    {
    }

    std::vector<Answer> answers;

    void delayNextImage() override { }
    void movieAppeared() override { }
    void imageWithURLFinished(const FileURL& url) override
    {
        answers.push_back({ url, mDisplay.ImageOK() });
    }

private:
    const SVImageDisplay& mDisplay;
};

using Answers = std::vector<RecordingDelegate::Answer>;

void PrintTo(const RecordingDelegate::Answer& answer, std::ostream* out)
{
    *out << answer.url.path().constData() << (answer.isOK ? " shown" : " not shown");
}

std::shared_ptr<SVImage> picture(QRgb colour, QSize size = { 40, 30 })
{
    return SVImage::imageWithImage(solid(colour, size));
}

struct SVLayerViewTest : testing::Test {
    PictureFiles files;
    UserDefaults defaults;
    ManualClock clock;
    std::optional<SVLayerView> made { std::in_place, defaults, clock };
    SVLayerView& view = *made;
    RecordingDelegate delegate { view };

    SVLayerViewTest()
    {
        SVImageCache::purge();
        defaults.setValue(kTransition, QStringLiteral("None"));
        view.resize(200, 100);
        view.setDelegate(&delegate);
    }
    ~SVLayerViewTest() override
    {
        made.reset();
        settle();
        SVImageCache::purge();
    }
    SVLayerViewTest(const SVLayerViewTest&) = delete;
    SVLayerViewTest& operator=(const SVLayerViewTest&) = delete;

    void setFitMode(QLatin1String mode) { defaults.setValue(kImageFitMode, QString(mode)); }

    /// Asks for a picture and waits for it.
    void show(const FileURL& url)
    {
        view.setImageWithURL(url, true);
        settle();
    }

    /// What the view paints.
    QImage screen()
    {
        QImage image(view.size(), QImage::Format_RGB32);
        image.fill(kUnpainted);
        view.render(&image);
        return image;
    }
    QRgb centre() { return screen().pixel(view.width() / 2, view.height() / 2); }
};

TEST_F(SVLayerViewTest, HasTheCurrentLayerFirstThenThePreviousOneThenThePointer)
{
    const Layers layers = view.mBackgroundLayer().sublayers();

    ASSERT_EQ(layers.size(), 3U);
    EXPECT_EQ(layers[0], &view.mCurrentLayer());
    EXPECT_EQ(layers[1], &view.mPreviousLayer());
    EXPECT_EQ(layers[2], &view.mCursorLayer());
    for (const Layer* layer : { layers[0], layers[1] }) {
        EXPECT_EQ(layer->opacity(), 1);
        EXPECT_EQ(layer->zPosition(), 0);
        EXPECT_EQ(layer->anchorPoint(), QPointF(0.5, 0.5));
        EXPECT_TRUE(layer->contents().isNull());
    }
}

TEST_F(SVLayerViewTest, ShowsNothingAtFirst)
{
    EXPECT_FALSE(view.ImageOK());
    EXPECT_FALSE(view.isBusy());
    EXPECT_FALSE(view.isLoading());
    EXPECT_EQ(view.mCurrentImage(), nullptr);
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(view.widget(), &view);
    EXPECT_EQ(screen(), solid(kBlack, { 200, 100 }));
}

TEST_F(SVLayerViewTest, HasABackgroundOfItsSize)
{
    screen(); // A view that is not on screen hears of its size when it is painted.
    EXPECT_TRUE(isExactly(view.mBackgroundLayer().frame(), { 0, 0, 200, 100 }));

    view.resize(50, 60);
    screen();

    EXPECT_TRUE(isExactly(view.mBackgroundLayer().frame(), { 0, 0, 50, 60 }));
}

TEST_F(SVLayerViewTest, PlacesAPictureByTheFitMode)
{
    struct Row {
        const char* mode; ///< Null for none.
        QRectF small;
        QRectF large;
        QRectF none;
    };
    const QRectF whole { 0, 0, 200, 100 };
    const QRectF kept { 80, 35, 40, 30 };
    const QRectF shrunk { 0, 25, 200, 50 };
    const Row rows[] = { { nullptr, kept, shrunk, {} }, { "FitModeFit", kept, shrunk, {} },
        { "FitModeZoom", { 100 - 200.0 / 3, 0, 400.0 / 3, 100 }, shrunk, {} },
        { "FitModeFill", { 0, -25, 200, 150 }, { -100, 0, 400, 100 }, {} },
        { "FitModeStretch", whole, whole, whole }, { "fitmodefit", whole, whole, whole },
        { "", whole, whole, whole } };
    const auto small = picture(kRed, { 40, 30 });
    const auto large = picture(kRed, { 400, 100 });
    for (const Row& row : rows) {
        SCOPED_TRACE(row.mode ? row.mode : "none");
        if (row.mode)
            setFitMode(QLatin1String(row.mode));

        EXPECT_EQ(view.rectForImage(small.get()), row.small);
        EXPECT_EQ(view.rectForImage(large.get()), row.large);
        EXPECT_TRUE(isExactly(view.rectForImage(nullptr), row.none));
    }
}

TEST_F(SVLayerViewTest, PlacesAPictureByARegisteredFitMode)
{
    defaults.registerDefaults({ { QString(kImageFitMode), QString(kFitModeFill) } });

    EXPECT_EQ(view.rectForImage(picture(kRed).get()), QRectF(0, -25, 200, 150));
}

TEST_F(SVLayerViewTest, CutsToTheFirstPicture)
{
    const Layer* const current = &view.mCurrentLayer();
    const auto image = picture(kRed);

    view.setImage(image, true);

    EXPECT_TRUE(view.ImageOK());
    EXPECT_FALSE(view.isBusy());
    EXPECT_EQ(&view.mCurrentLayer(), current);
    EXPECT_EQ(view.mCurrentImage(), image);
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(view.mCurrentLayer().opacity(), 1);
    EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 80, 35, 40, 30 }));
    EXPECT_TRUE(delegate.answers.empty());
}

TEST_F(SVLayerViewTest, PutsTheSecondPictureIntoTheOtherLayer)
{
    const Layer* const first = &view.mCurrentLayer();
    const Layer* const second = &view.mPreviousLayer();
    const auto red = picture(kRed, { 40, 30 });
    const auto green = picture(kGreen, { 60, 20 });
    view.setImage(red, true);

    view.setImage(green, true);

    EXPECT_EQ(&view.mCurrentLayer(), second);
    EXPECT_EQ(&view.mPreviousLayer(), first);
    EXPECT_EQ(view.mCurrentImage(), green);
    EXPECT_EQ(view.mPreviousImage(), red);
    EXPECT_EQ(view.mCurrentLayer().opacity(), 1);
    EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 70, 40, 60, 20 }));
    EXPECT_TRUE(isExactly(view.mPreviousLayer().frame(), { 80, 35, 40, 30 }));
    EXPECT_EQ(view.mBackgroundLayer().sublayers().front(), first); // Only the roles change.
}

TEST_F(SVLayerViewTest, GoesBackToTheFirstLayerForTheThirdPicture)
{
    const Layer* const first = &view.mCurrentLayer();
    const auto green = picture(kGreen);
    view.setImage(picture(kRed), true);
    view.setImage(green, true);

    view.setImage(picture(kBlue), false);

    EXPECT_EQ(&view.mCurrentLayer(), first);
    EXPECT_EQ(view.mPreviousImage(), green);
    EXPECT_EQ(centre(), kBlue);
}

TEST_F(SVLayerViewTest, FitsThePreviousPictureAnew)
{
    const auto red = picture(kRed, { 40, 30 });
    view.setImage(red, true);
    setFitMode(kFitModeStretch);

    view.setImage(picture(kGreen), true);

    EXPECT_TRUE(isExactly(view.mPreviousLayer().frame(), { 0, 0, 200, 100 }));
}

TEST_F(SVLayerViewTest, GivesTheLayersTheirPicturesWhenTheyArePainted)
{
    view.setImage(picture(kRed), true);
    EXPECT_TRUE(view.mCurrentLayer().contents().isNull());

    screen();

    EXPECT_EQ(view.mCurrentLayer().contents().pixel(0, 0), kRed);
    EXPECT_TRUE(view.mPreviousLayer().contents().isNull());
}

TEST_F(SVLayerViewTest, PaintsThePictureOnBlack)
{
    view.setImage(
        SVImage::imageWithImage(quartered({ kRed, kGreen, kBlue, kYellow }, { 40, 30 })), true);

    QImage expected = solid(kBlack, { 200, 100 });
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x)
            expected.setPixel(80 + x, 35 + y, view.mCurrentImage()->getCGImage().pixel(x, y));
    }
    EXPECT_EQ(screen(), expected);
}

TEST_F(SVLayerViewTest, PaintsNothingOfThePreviousPicture)
{
    view.setImage(picture(kRed, { 200, 100 }), true);
    screen();

    view.setImage(picture(kGreen, { 40, 30 }), true);

    const QImage image = screen();
    EXPECT_EQ(image.pixel(100, 50), kGreen);
    EXPECT_EQ(image.pixel(10, 10), kBlack);
}

TEST_F(SVLayerViewTest, AnswersForAGoodFile)
{
    const FileURL url = files.write("a.png", kRed);

    view.setImageWithURL(url, true);
    EXPECT_TRUE(view.isLoading());
    EXPECT_TRUE(delegate.answers.empty());
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { url, true } }));
    EXPECT_FALSE(view.isLoading());
    EXPECT_EQ(view.mCurrentImage()->mURL(), url);
    EXPECT_EQ(view.mCurrentLayer().opacity(), 1);
    EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    EXPECT_EQ(centre(), kRed);
}

TEST_F(SVLayerViewTest, AnswersForABadFileAndStaysAsItWas)
{
    const FileURL bad = files.write("b.png", QByteArray("no picture"));
    show(files.write("a.png", kRed));
    const Layer* const current = &view.mCurrentLayer();
    const QImage before = screen();

    show(bad);

    ASSERT_EQ(delegate.answers.size(), 2U);
    EXPECT_EQ(delegate.answers.back(), (RecordingDelegate::Answer { bad, false }));
    EXPECT_FALSE(view.ImageOK());
    EXPECT_FALSE(view.isLoading());
    EXPECT_EQ(&view.mCurrentLayer(), current);
    EXPECT_EQ(view.mCurrentImage()->mURL(), files.url("a.png"));
    EXPECT_EQ(screen(), before);
}

TEST_F(SVLayerViewTest, AnswersForAMissingFile)
{
    show(files.url("missing.png"));

    EXPECT_EQ(delegate.answers, (Answers { { files.url("missing.png"), false } }));
    EXPECT_EQ(view.mCurrentImage(), nullptr);
}

TEST_F(SVLayerViewTest, IsWellAgainAfterABadFile)
{
    show(files.url("missing.png"));

    show(files.write("a.png", kRed));

    EXPECT_TRUE(view.ImageOK());
    EXPECT_EQ(delegate.answers.size(), 2U);
}

TEST_F(SVLayerViewTest, NeedsNoDelegate)
{
    view.setDelegate(nullptr);

    show(files.write("a.png", kRed));
    show(files.url("missing.png"));

    EXPECT_EQ(centre(), kRed);
    EXPECT_TRUE(delegate.answers.empty());
}

TEST_F(SVLayerViewTest, AnswersAtOnceForWhatWasReadAhead)
{
    const FileURL url = files.write("a.png", kRed);
    view.readAhead(url);
    settle();
    EXPECT_TRUE(delegate.answers.empty());

    view.setImageWithURL(url, true);

    EXPECT_EQ(delegate.answers, (Answers { { url, true } }));
    EXPECT_FALSE(view.isLoading());
}

TEST_F(SVLayerViewTest, KeepsThePictureOnScreenUntilTheNextIsReady)
{
    show(files.write("a.png", kRed));
    {
        const BusyPool pool;

        view.setImageWithURL(files.write("b.png", kGreen), true);
        MainQueue::drain();

        EXPECT_TRUE(view.isLoading());
        EXPECT_TRUE(view.ImageOK());
        EXPECT_EQ(centre(), kRed);
    }
    drainDecoding();
    EXPECT_EQ(centre(), kRed); // Decoded, and on its way.
    settle();

    EXPECT_EQ(centre(), kGreen);
}

TEST_F(SVLayerViewTest, NeverAnswersARequestThatIsOvertaken)
{
    const FileURL second = files.write("b.png", kGreen);
    {
        const BusyPool pool;
        view.setImageWithURL(files.write("a.png", kRed), true);

        view.setImageWithURL(second, true);
    }
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { second, true } }));
    EXPECT_EQ(centre(), kGreen);
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(SVImageCache::instance().images().size(), 1U); // The first was not even decoded.
}

TEST_F(SVLayerViewTest, NeverAnswersARequestThatIsOvertakenInTheDecodersHands)
{
    const FileURL second = files.write("b.png", kGreen);
    {
        const HeldDecoder held;
        view.setImageWithURL(files.write("a.png", kRed), true);
        DispatchQueue::global().drain();

        view.setImageWithURL(second, true);
        DispatchQueue::global().drain();
    }
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { second, true } }));
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(SVImageCache::instance().images().size(), 1U);
}

TEST_F(SVLayerViewTest, NeverAnswersARequestThatIsOvertakenWhenItIsDone)
{
    const FileURL second = files.write("b.png", kGreen);
    view.setImageWithURL(files.write("a.png", kRed), true);
    DispatchQueue::global().drain();
    drainDecoding(); // Its answer is on the way.

    view.setImageWithURL(second, true);
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { second, true } }));
    EXPECT_EQ(view.mPreviousImage(), nullptr);
}

TEST_F(SVLayerViewTest, AnswersOnceForAFileThatIsAskedForTwice)
{
    const FileURL url = files.write("a.png", kRed);
    {
        const BusyPool pool;
        view.setImageWithURL(url, true);
        view.setImageWithURL(url, true);
    }
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { url, true } }));
    EXPECT_EQ(view.mPreviousImage(), nullptr);
}

TEST_F(SVLayerViewTest, AnswersTheFirstRequestThatIsAskedForAgain)
{
    const FileURL first = files.write("a.png", kRed);
    {
        const BusyPool pool;
        view.setImageWithURL(first, true);
        view.setImageWithURL(files.write("b.png", kGreen), true);
        view.setImageWithURL(first, true);
    }
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { first, true } }));
    EXPECT_EQ(centre(), kRed);
}

TEST_F(SVLayerViewTest, GivesUpAFileAfterTwentyFiveSeconds)
{
    const FileURL url = files.write("b.png", kGreen);
    show(files.write("a.png", kRed));
    delegate.answers.clear();
    {
        const BusyPool pool;
        view.setImageWithURL(url, true);

        clock.advance(25s - 1ns);
        EXPECT_TRUE(view.isLoading());
        EXPECT_TRUE(delegate.answers.empty());
        clock.advance(1ns);

        EXPECT_EQ(delegate.answers, (Answers { { url, false } }));
        EXPECT_FALSE(view.isLoading());
        EXPECT_EQ(clock.validTimers(), 0);
    }
    settle(); // The picture comes, too late.

    EXPECT_EQ(delegate.answers.size(), 1U);
    EXPECT_FALSE(view.ImageOK());
    EXPECT_EQ(centre(), kRed);
}

TEST_F(SVLayerViewTest, TakesNoPictureThatCameTooLateForTheNext)
{
    const FileURL late = files.write("a.png", kRed);
    const FileURL next = files.write("b.png", kGreen);
    const Stop end;
    {
        const BusyPool pool;
        view.setImageWithURL(late, true);
        clock.advance(25s);

        view.setImageWithURL(next, true);
        DispatchQueue::global().async([end] { end.halt(); });
        pool.releaseOne(); // A single thread: the late one is done first, then the other.
        end.waitForArrival();
        end.release();
    }
    settle();

    EXPECT_EQ(delegate.answers, (Answers { { late, false }, { next, true } }));
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(centre(), kGreen);
}

TEST_F(SVLayerViewTest, ShowsAtOnceWhatCameTooLate)
{
    const FileURL url = files.write("a.png", kRed);
    {
        const BusyPool pool;
        view.setImageWithURL(url, true);
        clock.advance(25s);
    }
    settle();

    view.setImageWithURL(url, true);

    EXPECT_TRUE(view.ImageOK());
    EXPECT_EQ(centre(), kRed);
}

TEST_F(SVLayerViewTest, GivesEachRequestTwentyFiveSeconds)
{
    const FileURL second = files.write("b.png", kGreen);
    {
        const BusyPool pool;
        view.setImageWithURL(files.write("a.png", kRed), true);
        clock.advance(24s);
        view.setImageWithURL(second, true);

        clock.advance(25s - 1ns);
        EXPECT_TRUE(delegate.answers.empty());
        clock.advance(1ns);

        EXPECT_EQ(delegate.answers, (Answers { { second, false } }));
    }
}

TEST_F(SVLayerViewTest, SetsNoLimitOnceThePictureIsThere)
{
    show(files.write("a.png", kRed));
    EXPECT_EQ(clock.validTimers(), 0);

    clock.advance(60s);

    EXPECT_EQ(delegate.answers.size(), 1U);
    EXPECT_TRUE(view.ImageOK());
}

TEST_F(SVLayerViewTest, Clears)
{
    view.setImage(picture(kRed, { 200, 100 }), true);
    view.setImage(picture(kGreen, { 200, 100 }), true);
    settle();
    screen();

    view.clearImage();

    EXPECT_EQ(view.mCurrentImage(), nullptr);
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    for (const Layer* layer : view.mBackgroundLayer().sublayers()) {
        EXPECT_EQ(layer->opacity(), 0);
        EXPECT_TRUE(layer->contents().isNull());
    }
    EXPECT_EQ(screen(), solid(kBlack, { 200, 100 }));
}

TEST_F(SVLayerViewTest, ForgetsARequestWhenItIsCleared)
{
    const FileURL url = files.write("a.png", kRed);
    {
        const BusyPool pool;
        view.setImageWithURL(url, true);

        view.clearImage();

        EXPECT_FALSE(view.isLoading());
        EXPECT_EQ(clock.validTimers(), 0);
    }
    settle();

    EXPECT_TRUE(delegate.answers.empty());
    EXPECT_EQ(view.mCurrentImage(), nullptr);
    EXPECT_TRUE(SVImageCache::instance().images().empty()); // It was not even decoded.
}

TEST_F(SVLayerViewTest, CutsToAPictureAfterItWasCleared)
{
    view.setImage(picture(kRed), true);
    view.clearImage();

    view.setImage(picture(kGreen), true);

    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(view.mCurrentLayer().opacity(), 1);
    EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    EXPECT_EQ(centre(), kGreen);
}

TEST_F(SVLayerViewTest, FitsThePictureAnewWhenTheModeChanged)
{
    show(files.write("a.png", kRed));
    setFitMode(kFitModeFill);
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 80, 35, 40, 30 }));

    view.updateFitMode();

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, -25, 200, 150 }));
    EXPECT_EQ(screen(), solid(kRed, { 200, 100 })); // Stretched for the time being.
    settle();
    EXPECT_EQ(view.mCurrentImage()->getCGImage().size(), QSize(200, 150));
    EXPECT_EQ(screen(), solid(kRed, { 200, 100 }));
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(200, 150));
}

TEST_F(SVLayerViewTest, StretchesAPictureThatComesFromNoFile)
{
    view.setImage(picture(kRed), true);
    setFitMode(kFitModeFill);

    view.updateFitMode();
    settle();

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, -25, 200, 150 }));
    EXPECT_EQ(screen(), solid(kRed, { 200, 100 }));
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(40, 30));
}

TEST_F(SVLayerViewTest, FitsNothingWithoutAPicture)
{
    view.updateFitMode();
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 0, 0, 0 }));
    setFitMode(kFitModeStretch);

    view.updateFitMode();

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 0, 200, 100 }));
}

TEST_F(SVLayerViewTest, ShowsAFileInTheDevicePixelsThatItCovers)
{
    show(files.write("a.png", kRed, { 800, 200 }));

    EXPECT_EQ(view.mCurrentImage()->getCGImage().size(), QSize(200, 50));
    EXPECT_EQ(view.mCurrentImage()->pictureSize(), QSize(800, 200));
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 25, 200, 50 }));
    screen();
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(200, 50));
}

TEST_F(SVLayerViewTest, DecodesAPictureThatItIsGivenInTheDevicePixelsThatItCovers)
{
    const auto image = SVImageCache::imageWithURL(files.write("a.png", kRed, { 800, 200 }));

    view.setImage(image, true);
    screen();
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(800, 200));
    settle();
    screen();

    EXPECT_EQ(view.mCurrentImage(), image);
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(200, 50));
    EXPECT_TRUE(delegate.answers.empty());
}

TEST_F(SVLayerViewTest, AsksForNoPictureThatComesFromNoFile)
{
    const auto image = picture(kRed, { 800, 200 });
    SVImageCache::instance().addImage(picture(kGreen, { 200, 50 })); // Would be the answer.

    view.setImage(image, true);
    view.resize(200, 50);
    screen();
    settle();

    EXPECT_EQ(view.mCurrentImage(), image);
    EXPECT_EQ(image->getCGImage().size(), QSize(800, 200));
    EXPECT_EQ(screen(), solid(kRed, { 200, 50 }));
}

TEST_F(SVLayerViewTest, DecodesThePictureAgainForANewSize)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    screen();
    const auto image = view.mCurrentImage();

    view.resize(400, 300);
    const QImage stretched = screen();
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 50, 400, 200 }));
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(200, 100));
    settle();
    const QImage sharp = screen();

    EXPECT_EQ(view.mCurrentImage(), image);
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(400, 200));
    for (const QImage& painted : { stretched, sharp }) {
        EXPECT_EQ(painted.pixel(200, 49), kBlack);
        EXPECT_EQ(painted.pixel(200, 51), kRed);
        EXPECT_EQ(painted.pixel(200, 248), kRed);
        EXPECT_EQ(painted.pixel(200, 250), kBlack);
    }
}

TEST_F(SVLayerViewTest, DecodesForTheLastOfSeveralSizes)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    {
        const BusyPool pool;
        for (const int width : { 300, 400, 500 }) {
            view.resize(width, 300);
            screen();
        }
    }
    settle();

    EXPECT_EQ(view.mCurrentImage()->getCGImage().size(), QSize(500, 250));
}

TEST_F(SVLayerViewTest, DecodesForASizeThatItGotWhileItWasDecodedForAnother)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    {
        const HeldDecoder held;
        view.resize(300, 300);
        screen();
        DispatchQueue::global().drain();
        held.release();
        drainDecoding(); // The pixels for the first size are on their way.

        view.resize(400, 300);
        screen();
    }
    settle();
    screen();

    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(400, 200));
}

TEST_F(SVLayerViewTest, AsksForEachSizeOnceWhenTheFileIsGone)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    files.remove("a.png");
    view.resize(400, 300);
    EXPECT_EQ(centre(), kRed);
    settle();

    files.write("a.png", kGreen, { 800, 400 }); // Whoever asks now is told.
    settle();
    view.updateFitMode();
    settle();

    EXPECT_EQ(centre(), kRed);
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(200, 100));
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 50, 400, 200 }));
    EXPECT_TRUE(view.ImageOK());
}

TEST_F(SVLayerViewTest, AsksForEachSizeOnceWhenThePictureIsNotEvenKept)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    SVImageCache::purge();
    files.write("a.png", QByteArray("no picture"));
    view.resize(400, 300);
    screen();
    settle();

    files.write("a.png", kGreen, { 800, 400 });
    settle();

    EXPECT_EQ(centre(), kRed);
}

TEST_F(SVLayerViewTest, AsksAgainWhenTheSizeChangesAgain)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    files.remove("a.png");
    view.resize(400, 300);
    screen();
    settle();
    files.write("a.png", kGreen, { 800, 400 });

    view.resize(300, 300);
    screen();
    settle();

    EXPECT_EQ(centre(), kGreen);
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(300, 150));
}

TEST_F(SVLayerViewTest, AsksAgainWhenThePictureIsShownAgain)
{
    const FileURL url = files.write("a.png", kRed, { 800, 400 });
    show(url);
    files.remove("a.png");
    view.resize(400, 300);
    screen();
    settle();
    files.write("a.png", kGreen, { 800, 400 });

    view.setImage(view.mCurrentImage(), true);
    settle();

    EXPECT_EQ(centre(), kGreen);
    EXPECT_EQ(view.mCurrentLayer().contents().size(), QSize(400, 200));
}

TEST_F(SVLayerViewTest, FitsAnewThePictureThatTheFileHoldsNow)
{
    show(files.write("a.png", kRed, { 800, 400 }));
    files.write("a.png", kGreen, { 800, 200 });

    view.resize(400, 300);
    screen();
    settle();

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 100, 400, 100 }));
    EXPECT_EQ(centre(), kGreen);
    EXPECT_EQ(screen().pixel(200, 60), kBlack);
}

TEST_F(SVLayerViewTest, DecodesThePictureThatCameWhileAnotherWasDecodedAgain)
{
    const auto red = SVImageCache::imageWithURL(files.write("a.png", kRed, { 800, 200 }));
    const auto green = SVImageCache::imageWithURL(files.write("b.png", kGreen, { 800, 400 }));
    {
        const BusyPool pool;
        view.setImage(red, true);
        view.setImage(green, true);
    }
    settle();

    EXPECT_EQ(view.mCurrentImage(), green);
    EXPECT_EQ(green->getCGImage().size(), QSize(200, 100));
    EXPECT_EQ(view.mPreviousImage(), red);
    EXPECT_EQ(red->getCGImage().size(), QSize(200, 50));
    EXPECT_EQ(centre(), kGreen);
}

TEST_F(SVLayerViewTest, DecodesForTheSizeThatItHasWhenThePictureComes)
{
    {
        const BusyPool pool;
        view.setImageWithURL(files.write("a.png", kRed, { 800, 400 }), true);
        view.resize(400, 300);
        screen();
    }
    settle();

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 50, 400, 200 }));
    EXPECT_EQ(view.mCurrentImage()->getCGImage().size(), QSize(400, 200));
}

TEST_F(SVLayerViewTest, DecodesNoStripBeyondAllMeasure)
{
    setFitMode(kFitModeFill);

    show(files.write("a.png", kGreen, { 60000, 8 }));

    EXPECT_EQ(view.mCurrentLayer().frame().width(), 750000);
    EXPECT_EQ(view.mCurrentImage()->pictureSize(), QSize(60000, 8));
    const QSize size = view.mCurrentImage()->getCGImage().size(); // Of 75 megapixels.
    EXPECT_LE(qint64(size.width()) * size.height(), 64'000'000);
    EXPECT_GT(qint64(size.width()) * size.height(), 63'000'000);
    EXPECT_EQ(size.width() / size.height(), 7530); // As long as before, but for half a pixel.
    EXPECT_EQ(screen(), solid(kGreen, { 200, 100 }));
}

TEST_F(SVLayerViewTest, RefreshReadsTheFileAgain)
{
    show(files.write("a.png", kRed));
    files.write("a.png", kGreen, { 60, 20 });

    view.refresh();
    EXPECT_EQ(centre(), kRed);
    settle();

    EXPECT_EQ(centre(), kGreen);
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 70, 40, 60, 20 }));
    EXPECT_EQ(view.mPreviousImage(), nullptr);
    EXPECT_EQ(delegate.answers.size(), 1U); // Nobody asked.
}

TEST_F(SVLayerViewTest, RefreshKeepsWhatIsShownWhenTheFileIsGone)
{
    show(files.write("a.png", kRed));
    const QImage before = screen();
    files.remove("a.png");

    view.refresh();
    settle();

    EXPECT_EQ(screen(), before);
    EXPECT_TRUE(view.ImageOK());
    EXPECT_EQ(delegate.answers.size(), 1U);
}

TEST_F(SVLayerViewTest, RefreshFitsThePictureAnew)
{
    view.setImage(picture(kRed), true);
    setFitMode(kFitModeStretch);

    view.refresh();

    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), { 0, 0, 200, 100 }));
    settle();
    EXPECT_EQ(centre(), kRed); // It comes from no file.
}

TEST_F(SVLayerViewTest, RefreshDoesNothingWithoutAPicture)
{
    view.refresh();
    settle();

    EXPECT_FALSE(view.ImageOK());
    EXPECT_EQ(screen(), solid(kBlack, { 200, 100 }));
}

TEST_F(SVLayerViewTest, RefreshIsForgottenWhenAnotherPictureComes)
{
    show(files.write("a.png", kRed));
    files.write("a.png", kBlue);
    const auto next = picture(kGreen);
    {
        const BusyPool pool;
        view.refresh();
        view.setImage(next, true);
    }
    settle();

    EXPECT_EQ(view.mCurrentImage(), next);
    EXPECT_EQ(centre(), kGreen);
}

TEST_F(SVLayerViewTest, KnowsThePlaceOfEitherLayer)
{
    view.setImage(picture(kRed, { 40, 30 }), true);
    view.setImage(picture(kGreen, { 60, 20 }), true);

    EXPECT_TRUE(isExactly(view.rectForLayer(view.mCurrentLayer()), { 70, 40, 60, 20 }));
    EXPECT_TRUE(isExactly(view.rectForLayer(view.mPreviousLayer()), { 80, 35, 40, 30 }));
}

TEST_F(SVLayerViewTest, KnowsNoPlaceOfALayerWithoutAPicture)
{
    EXPECT_TRUE(isExactly(view.rectForLayer(view.mCurrentLayer()), { 0, 0, 0, 0 }));
    setFitMode(kFitModeStretch);
    EXPECT_TRUE(isExactly(view.rectForLayer(view.mPreviousLayer()), { 0, 0, 200, 100 }));
}

using SVLayerViewDeathTest = SVLayerViewTest;

TEST_F(SVLayerViewDeathTest, KnowsNoOtherLayer)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_DEATH(view.rectForLayer(Layer()), "SVLayerView:200: Unhandled layer in rectForLayer");
    EXPECT_DEATH(view.rectForLayer(view.mBackgroundLayer()), "Unhandled layer in rectForLayer");
}

TEST_F(SVLayerViewTest, HearsNothingOnceItIsGone)
{
    {
        const BusyPool pool;
        view.setImageWithURL(files.write("a.png", kRed), true);
        made.reset();
        EXPECT_EQ(clock.validTimers(), 0);
    }
    settle();

    EXPECT_TRUE(delegate.answers.empty());
}

TEST_F(SVLayerViewTest, MayGoWhileItsPictureIsDecodedAgain)
{
    const auto image = SVImageCache::imageWithURL(files.write("a.png", kRed, { 800, 200 }));
    {
        const HeldDecoder held;
        view.setImage(image, true);
        DispatchQueue::global().drain();
        made.reset();
    }
    settle();

    EXPECT_EQ(image->getCGImage(), solid(kRed, { 200, 50 }));
}

} // namespace
} // namespace quorvane
