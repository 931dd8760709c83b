// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/SVImageCache.h"
#include "platform/FileDescriptor.h"
#include "support/BusyPool.h"
#include "support/GeometryMatchers.h"
#include "support/HeldDecoder.h"
#include "support/PictureFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace quorvane {
namespace {

using namespace tests;

using Image = SVImageCache::Image;

constexpr QSize kTarget { 20, 15 };

constexpr QSize kOtherTarget { 8, 6 };

QSize smallTarget(QSize /*picture*/) { return kTarget; }
QSize otherTarget(QSize /*picture*/) { return kOtherTarget; }

/// Hears the answers to requests, in their order.
struct Answers {
    std::vector<Image> images;
    std::vector<SVImageCache::FileState> states;

    SVImageCache::Completion completion()
    {
        return [this](const Image& image, auto state) {
            images.push_back(image);
            states.push_back(state);
        };
    }
    size_t count() const { return images.size(); }
};

std::vector<QByteArray> pathsIn(const SVImageCache& cache)
{
    std::vector<QByteArray> paths;
    for (const Image& image : cache.images())
        paths.push_back(image->mURL().path());
    return paths;
}

Image imageOf(const char* path)
{
    const Image image = SVImage::imageWithImage(solid(kRed, { 4, 3 }));
    image->setMURL(FileURL(path));
    return image;
}

QRgb colourOf(const Image& image) { return image ? image->getCGImage().pixel(0, 0) : QRgb(0); }

/// Holds the decoder, all of it, when it has opened the file.
SVImageCache::TargetSize haltingAt(const Stop& decoding)
{
    return [decoding](QSize) {
        decoding.halt();
        return kTarget;
    };
}

/// Tells that the decoder has begun with the file, which is one of the crowd then.
SVImageCache::TargetSize arrivingAt(const Stop& begun, const DecoderCrowd& crowd)
{
    begun.release(); // Nobody is to wait there.
    return [begun, hold = crowd.hold()](QSize) {
        hold();
        begun.halt();
        return kTarget;
    };
}

struct SVImageCacheTest : testing::Test {
    PictureFiles files;
    SVImageCache& cache = SVImageCache::instance();
    Answers answers;

    SVImageCacheTest() { SVImageCache::purge(); }
    ~SVImageCacheTest() override
    {
        settle();
        SVImageCache::purge();
    }
    SVImageCacheTest(const SVImageCacheTest&) = delete;
    SVImageCacheTest& operator=(const SVImageCacheTest&) = delete;

    FileURL red(const QByteArray& name = "a.png") const { return files.write(name, kRed); }

    bool keeps(const FileURL& url) const
    {
        const auto& images = cache.images();
        return std::any_of(
            images.begin(), images.end(), [&](const Image& image) { return image->mURL() == url; });
    }

    void request(const FileURL& url)
    {
        cache.requestImageWithURL(url, smallTarget, answers.completion());
    }

    /// Requests, and waits until the decoder has it.
    void requestHeld(const FileURL& url, const SVImageCache::TargetSize& target = smallTarget)
    {
        cache.requestImageWithURL(url, target, answers.completion());
        DispatchQueue::global().drain();
    }

    /// Requests and waits. \return the answer.
    Image requested(const FileURL& url)
    {
        request(url);
        settle();
        return answers.images.back();
    }
};

TEST_F(SVImageCacheTest, IsOneAndEmpty)
{
    EXPECT_EQ(&SVImageCache::instance(), &cache);
    EXPECT_TRUE(cache.images().empty());
    EXPECT_EQ(cache.findImageWithURL(FileURL("/a")), nullptr);
}

TEST_F(SVImageCacheTest, KeepsTheMostRecentlyAddedInFront)
{
    for (const char* path : { "/1", "/2", "/3" })
        cache.addImage(imageOf(path));

    EXPECT_EQ(pathsIn(cache), (std::vector<QByteArray> { "/3", "/2", "/1" }));
}

TEST_F(SVImageCacheTest, DropsTheLastForASixth)
{
    for (const char* path : { "/1", "/2", "/3", "/4", "/5" })
        cache.addImage(imageOf(path));
    ASSERT_EQ(cache.images().size(), 5U);

    cache.addImage(imageOf("/6"));

    EXPECT_EQ(pathsIn(cache), (std::vector<QByteArray> { "/6", "/5", "/4", "/3", "/2" }));
}

TEST_F(SVImageCacheTest, MovesWhatIsFoundToTheFront)
{
    for (const char* path : { "/1", "/2", "/3", "/4" })
        cache.addImage(imageOf(path));

    const Image found = cache.findImageWithURL(FileURL("/2"));

    EXPECT_EQ(found, cache.images().front());
    EXPECT_EQ(pathsIn(cache), (std::vector<QByteArray> { "/2", "/4", "/3", "/1" }));
    cache.findImageWithURL(FileURL("/2"));
    cache.findImageWithURL(FileURL("/none"));
    EXPECT_EQ(pathsIn(cache), (std::vector<QByteArray> { "/2", "/4", "/3", "/1" }));
    cache.findImageWithURL(FileURL("/1"));
    EXPECT_EQ(pathsIn(cache), (std::vector<QByteArray> { "/1", "/2", "/4", "/3" }));
}

TEST_F(SVImageCacheTest, LooksForNoDuplicateOfWhatIsAdded)
{
    const Image older = imageOf("/1");
    const Image newer = imageOf("/1");

    cache.addImage(older);
    cache.addImage(newer);

    EXPECT_EQ(cache.images(), (std::vector { newer, older }));
    EXPECT_EQ(cache.findImageWithURL(FileURL("/1")), newer);
    SVImageCache::removeImageWithURL(FileURL("/1"));
    EXPECT_EQ(cache.images(), std::vector { older });
}

TEST_F(SVImageCacheTest, TellsURLsApartByTheirParameter)
{
    cache.addImage(imageOf("/1"));

    EXPECT_EQ(cache.findImageWithURL(FileURL("/1", "x")), nullptr);
}

TEST_F(SVImageCacheTest, RemovesOnlyWhatIsNamed)
{
    for (const char* path : { "/1", "/2", "/3" })
        cache.addImage(imageOf(path));

    SVImageCache::removeImageWithURL(FileURL("/none"));
    EXPECT_EQ(cache.images().size(), 3U);
    SVImageCache::removeImageWithURL(FileURL("/2"));

    EXPECT_EQ(pathsIn(cache), (std::vector<QByteArray> { "/3", "/1" }));
}

TEST_F(SVImageCacheTest, RemovesAll)
{
    cache.addImage(imageOf("/1"));
    cache.addImage(imageOf("/2"));

    cache.removeAll();

    EXPECT_TRUE(cache.images().empty());
}

using SVImageCacheDeathTest = SVImageCacheTest;

TEST_F(SVImageCacheDeathTest, TakesNoImageThatIsNone)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_DEATH(SVImageCache().addImage(nullptr), "SVImageCache:17: the image may not be nil");
}

TEST_F(SVImageCacheTest, DecodesOnce)
{
    const FileURL url = red();

    const Image first = SVImageCache::imageWithURL(url);
    files.write("a.png", kGreen);
    const Image second = SVImageCache::imageWithURL(url);

    EXPECT_EQ(colourOf(first), kRed);
    EXPECT_EQ(second, first);
    EXPECT_EQ(cache.images(), std::vector { first });
}

TEST_F(SVImageCacheTest, DecodesTheFirstOfSixAgain)
{
    const QByteArray names[] = { "1", "2", "3", "4", "5", "6" };
    for (const QByteArray& name : names)
        SVImageCache::imageWithURL(red(name));
    for (const QByteArray& name : names)
        files.write(name, kGreen);

    std::vector<QByteArray> newestFirst;
    for (int i = 5; i >= 1; --i)
        newestFirst.push_back(files.url(names[i]).path());
    EXPECT_EQ(pathsIn(cache), newestFirst);
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(files.url("4"))), kRed); // The third newest.
    EXPECT_EQ(cache.images().front()->mURL(), files.url("4"));
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(files.url("1"))), kGreen);
    EXPECT_FALSE(keeps(files.url("2")));
    EXPECT_EQ(cache.images().size(), 5U);
}

TEST_F(SVImageCacheTest, DecodesAheadOfNeed)
{
    const FileURL url = red();

    SVImageCache::cacheImageWithURL(url);
    files.write("a.png", kGreen);

    EXPECT_TRUE(keeps(url));
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(url)), kRed);
}

TEST_F(SVImageCacheTest, DecodesAChangedFileAfresh)
{
    const FileURL url = red();
    SVImageCache::imageWithURL(url);

    files.write("a.png", kGreen);
    SVImageCache::removeImageWithURL(url);

    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(url)), kGreen);
}

TEST_F(SVImageCacheTest, DecodesAfreshWhenPurged)
{
    const FileURL url = red();
    SVImageCache::imageWithURL(url);

    files.write("a.png", kGreen);
    SVImageCache::purge();

    EXPECT_TRUE(cache.images().empty());
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(url)), kGreen);
}

TEST_F(SVImageCacheTest, NeverKeepsWhatCannotBeDecoded)
{
    const FileURL url = files.write("a.png", QByteArray("no picture"));

    EXPECT_EQ(SVImageCache::imageWithURL(url), nullptr);
    EXPECT_EQ(requested(url), nullptr);
    EXPECT_TRUE(cache.images().empty());
    EXPECT_EQ(SVImageCache::imageWithURL(files.url("missing.png")), nullptr);
    EXPECT_EQ(requested(files.url("missing.png")), nullptr);
    EXPECT_TRUE(cache.images().empty());

    red();
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(url)), kRed);
}

TEST_F(SVImageCacheTest, TriesAgainAtEachRequest)
{
    const FileURL url = files.write("a.png", QByteArray("no picture"));
    ASSERT_EQ(requested(url), nullptr);

    red();

    EXPECT_EQ(colourOf(requested(url)), kRed);
}

TEST_F(SVImageCacheTest, AnswersARequestOnceThePictureIsDecoded)
{
    const FileURL url = red();

    request(url);
    EXPECT_EQ(answers.count(), 0U);
    DispatchQueue::global().drain();
    drainDecoding();
    EXPECT_EQ(answers.count(), 0U); // Only on the main thread.
    MainQueue::drain();

    ASSERT_EQ(answers.count(), 1U);
    const Image image = answers.images.front();
    EXPECT_EQ(colourOf(image), kRed);
    EXPECT_EQ(cache.images(), std::vector { image });
}

TEST_F(SVImageCacheTest, DecodesInTheTargetSizeAndTellsHowLargeThePictureIs)
{
    const Image image = requested(files.write("a.png", kRed, { 64, 48 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->getCGImage().size(), kTarget);
    EXPECT_EQ(image->pictureSize(), QSize(64, 48));
    EXPECT_EQ(image->mURL(), files.url("a.png"));
}

TEST_F(SVImageCacheTest, TellsThatAFileIsStillBeingWritten)
{
    const FileURL url = red();
    const FileDescriptor writer(open(url.path().constData(), O_WRONLY | O_CLOEXEC));
    files.touch("a.png"); // Just now.

    EXPECT_EQ(requested(url), nullptr);
    EXPECT_EQ(answers.states, std::vector({ SVImageCache::FileState::Changing }));
    EXPECT_FALSE(keeps(url));
}

TEST_F(SVImageCacheTest, TellsThatADamagedFileMayBeUnfinishedWhileItIsNew)
{
    const FileURL url = files.write("a.png", "no picture");
    files.touch("a.png");

    requested(url);
    EXPECT_EQ(answers.states, std::vector({ SVImageCache::FileState::Changing }));

    answers.states.clear();
    files.write("a.png", "no picture");
    requested(url);
    EXPECT_EQ(answers.states, std::vector({ SVImageCache::FileState::Settled }));
}

TEST_F(SVImageCacheTest, ShowsAtOnceWhatWasJustWrittenWhenItsWriterIsDone)
{
    const FileURL url = red();
    files.touch("a.png");

    EXPECT_EQ(colourOf(requested(url)), kRed);
    EXPECT_EQ(answers.states, std::vector({ SVImageCache::FileState::Settled }));
}

TEST_F(SVImageCacheTest, DoesNotTrustAFileThatIsReplacedWhileItIsDecoded)
{
    const FileURL url = red();
    files.touch("a.png");
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), answers.completion());
    decoding.waitForArrival();

    files.write("a.png", kGreen, { 64, 48 });
    decoding.release();
    settle();

    EXPECT_EQ(answers.images.front(), nullptr);
    EXPECT_EQ(answers.states, std::vector({ SVImageCache::FileState::Changing }));
}

TEST_F(SVImageCacheTest, DecodesInALargerSizeThanThePictureHas)
{
    const Image image = requested(files.write("a.png", kRed, { 4, 3 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->getCGImage().size(), kTarget);
    EXPECT_EQ(image->pictureSize(), QSize(4, 3));
}

TEST_F(SVImageCacheTest, AnswersAtOnceWhenThePictureIsKeptInItsTargetSize)
{
    const FileURL url = red();
    const Image image = requested(url);
    requested(red("b.png"));

    request(url);

    ASSERT_EQ(answers.count(), 3U);
    EXPECT_EQ(answers.images.back(), image);
    EXPECT_EQ(cache.images().front(), image);
}

TEST_F(SVImageCacheTest, DecodesWhatIsKeptAgainForAnotherSize)
{
    const FileURL url = red();
    const Image kept = requested(url);
    files.write("a.png", kGreen);

    cache.requestImageWithURL(url, otherTarget, answers.completion());
    EXPECT_EQ(answers.count(), 1U);
    settle();

    EXPECT_EQ(answers.images, (std::vector { kept, kept }));
    EXPECT_EQ(cache.images(), std::vector { kept });
    EXPECT_EQ(kept->getCGImage().size(), kOtherTarget);
    EXPECT_EQ(colourOf(kept), kGreen); // Not the old pixels, scaled.
}

TEST_F(SVImageCacheTest, DecodesWhatIsKeptInFullAgainForTheScreen)
{
    const FileURL url = red();
    const Image kept = SVImageCache::imageWithURL(url);
    ASSERT_EQ(kept->getCGImage().size(), QSize(40, 30));

    EXPECT_EQ(requested(url), kept);

    EXPECT_EQ(kept->getCGImage().size(), kTarget);
    EXPECT_EQ(kept->pictureSize(), QSize(40, 30));
}

TEST_F(SVImageCacheTest, TellsTheSizeOfThePictureThatTheFileHoldsNow)
{
    const FileURL url = red();
    const Image kept = requested(url);
    files.write("a.png", kGreen, { 60, 20 });

    cache.requestImageWithURL(url, otherTarget, answers.completion());
    settle();

    EXPECT_EQ(kept->pictureSize(), QSize(60, 20));
}

TEST_F(SVImageCacheTest, AnswersWithTheOldPixelsWhenTheFileIsGoneMeanwhile)
{
    const FileURL url = red();
    const Image kept = requested(url);
    files.remove("a.png");

    cache.requestImageWithURL(url, otherTarget, answers.completion());
    settle();

    EXPECT_EQ(answers.images, (std::vector { kept, kept }));
    EXPECT_EQ(kept->getCGImage(), solid(kRed, kTarget));
    EXPECT_EQ(kept->pictureSize(), QSize(40, 30));
    EXPECT_EQ(cache.images(), std::vector { kept });
}

TEST_F(SVImageCacheTest, AnswersWithTheOldPixelsWhenTheFileIsDamagedMeanwhile)
{
    const FileURL url = red();
    const Image kept = requested(url);
    files.write("a.png", QByteArray("no picture"));

    cache.requestImageWithURL(url, otherTarget, answers.completion());
    settle();

    EXPECT_EQ(answers.images, (std::vector { kept, kept }));
    EXPECT_EQ(kept->getCGImage(), solid(kRed, kTarget));
    EXPECT_EQ(cache.images(), std::vector { kept });
}

TEST_F(SVImageCacheTest, AsksForTheTargetSizeOfThePicture)
{
    const auto half = [](QSize picture) { return picture / 2; };

    cache.requestImageWithURL(files.write("a.png", kRed, { 64, 32 }), half, answers.completion());
    settle();

    EXPECT_EQ(answers.images.front()->getCGImage().size(), QSize(32, 16));
}

TEST_F(SVImageCacheTest, AnswersSeveralRequestsByOneDecoding)
{
    const FileURL url = red();
    DecodingCounter counter;
    {
        const BusyPool pool;
        for (int i = 0; i < 3; ++i)
            cache.requestImageWithURL(url, counter.target(kTarget), answers.completion());
    }
    settle();

    ASSERT_EQ(answers.count(), 3U);
    EXPECT_TRUE(answers.images[0]);
    EXPECT_EQ(answers.images[1], answers.images[0]);
    EXPECT_EQ(answers.images[2], answers.images[0]);
    EXPECT_EQ(counter.count(), 1);
    EXPECT_EQ(cache.images().size(), 1U);
}

TEST_F(SVImageCacheTest, AnswersSeveralRequestsInTheSizeThatTheLastOneWants)
{
    const FileURL url = red();
    DecodingCounter counter;
    {
        const BusyPool pool;
        for (const QSize size : { kTarget, QSize(4, 3), kOtherTarget })
            cache.requestImageWithURL(url, counter.target(size), answers.completion());
    }
    settle();

    ASSERT_EQ(answers.count(), 3U);
    EXPECT_EQ(answers.images[0]->getCGImage().size(), kOtherTarget);
    EXPECT_EQ(counter.count(), 1);
}

TEST_F(SVImageCacheTest, DecodesOnceMoreForARequestOfAnotherSizeThatCameMeanwhile)
{
    const FileURL url = red();
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), answers.completion());
    decoding.waitForArrival();

    cache.requestImageWithURL(url, otherTarget, [&](const Image& image, auto) {
        answers.images.push_back(image);
        EXPECT_EQ(image->getCGImage().size(), kOtherTarget);
    });
    decoding.release();
    settle();

    ASSERT_EQ(answers.count(), 2U);
    EXPECT_EQ(answers.images[1], answers.images[0]);
    EXPECT_EQ(cache.images(), std::vector { answers.images[0] });
}

TEST_F(SVImageCacheTest, AnswersARequestForWhatIsBeingDecodedAlready)
{
    const FileURL url = red();
    const Stop decoding;
    cache.readAhead(url, haltingAt(decoding));
    decoding.waitForArrival();
    files.write("a.png", kGreen);

    request(url);
    decoding.release();
    settle();

    ASSERT_EQ(answers.count(), 1U);
    EXPECT_EQ(colourOf(answers.images.front()), kRed);
}

TEST_F(SVImageCacheTest, LetsACompletionAskForMore)
{
    const FileURL second = red("b.png");

    cache.requestImageWithURL(red("a.png"), smallTarget, [&](const Image& image, auto) {
        answers.images.push_back(image);
        request(second);
        cache.abandonRequest(image->mURL());
    });
    settle();

    ASSERT_EQ(answers.count(), 2U);
    EXPECT_EQ(answers.images.back()->mURL(), second);
}

TEST_F(SVImageCacheTest, DropsTheLastForASixthThatWasRequested)
{
    for (const char* name : { "1", "2", "3", "4", "5", "6" })
        requested(red(name));

    EXPECT_EQ(cache.images().size(), 5U);
    EXPECT_EQ(cache.images().front()->mURL(), files.url("6"));
    EXPECT_FALSE(keeps(files.url("1")));
}

TEST_F(SVImageCacheTest, NeverDecodesWhatIsAbandonedInTime)
{
    const FileURL url = red();
    {
        const BusyPool pool;
        request(url);
        request(url);

        cache.abandonRequest(url);
    }
    settle();

    EXPECT_EQ(answers.count(), 0U);
    EXPECT_FALSE(keeps(url));
}

TEST_F(SVImageCacheTest, AbandonsOnlyWhatIsNamed)
{
    {
        const BusyPool pool;
        request(red("a.png"));
        request(red("b.png"));

        cache.abandonRequest(files.url("a.png"));
        cache.abandonRequest(files.url("none.png"));
    }
    settle();

    ASSERT_EQ(answers.count(), 1U);
    EXPECT_EQ(answers.images.front()->mURL(), files.url("b.png"));
}

TEST_F(SVImageCacheTest, NeverDecodesWhatIsAbandonedInTheDecodersHands)
{
    const FileURL url = red();
    DecodingCounter counter;
    {
        const HeldDecoder held;
        requestHeld(url, counter.target(kTarget));

        cache.abandonRequest(url);
    }
    settle();

    EXPECT_EQ(counter.count(), 0);
    EXPECT_EQ(answers.count(), 0U);
    EXPECT_FALSE(keeps(url));
}

TEST_F(SVImageCacheTest, ForgetsWhatIsAbandonedWhileItIsDecoded)
{
    const FileURL url = red();
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), answers.completion());
    decoding.waitForArrival();

    cache.abandonRequest(url);
    decoding.release();
    settle();

    EXPECT_EQ(answers.count(), 0U);
    EXPECT_FALSE(keeps(url));
}

TEST_F(SVImageCacheTest, AnswersARequestMadeAfterTheSameOneWasAbandoned)
{
    const FileURL url = red();
    {
        const BusyPool pool;
        request(url);
        cache.abandonRequest(url);
        request(url);
    }
    settle();

    EXPECT_EQ(answers.count(), 1U);
    EXPECT_TRUE(keeps(url));
}

TEST_F(SVImageCacheTest, ReadsAhead)
{
    const FileURL url = red();

    cache.readAhead(url, smallTarget);
    settle();

    ASSERT_TRUE(keeps(url));
    request(url);
    ASSERT_EQ(answers.count(), 1U);
    EXPECT_EQ(answers.images.front()->getCGImage().size(), kTarget);
}

TEST_F(SVImageCacheTest, ReadsNothingAheadThatIsKeptInItsTargetSize)
{
    const Image image = requested(red());
    const qint64 prepared = image->getCGImage().cacheKey();
    requested(red("b.png"));

    cache.readAhead(files.url("a.png"), smallTarget);
    settle();

    EXPECT_EQ(image->getCGImage().cacheKey(), prepared);
    EXPECT_EQ(cache.images().front(), image);
}

TEST_F(SVImageCacheTest, KeepsNothingOfAReadingAheadThatFails)
{
    cache.readAhead(files.url("missing.png"), smallTarget);
    settle();

    EXPECT_TRUE(cache.images().empty());
}

TEST_F(SVImageCacheTest, DropsReadingAheadForARequest)
{
    {
        const BusyPool pool;
        cache.readAhead(red("ahead1.png"), smallTarget);
        cache.readAhead(red("ahead2.png"), smallTarget);

        request(red("urgent.png"));
    }
    settle();

    EXPECT_EQ(answers.count(), 1U);
    EXPECT_EQ(cache.images(), answers.images);
}

TEST_F(SVImageCacheTest, DropsReadingAheadThatIsInTheDecodersHands)
{
    DecodingCounter counter;
    {
        const HeldDecoder held;
        cache.readAhead(red("ahead.png"), counter.target(kTarget));
        DispatchQueue::global().drain();

        request(red("urgent.png"));
    }
    settle();

    EXPECT_EQ(counter.count(), 0);
    EXPECT_EQ(cache.images(), answers.images);
}

TEST_F(SVImageCacheTest, DropsReadingAheadForNothingThatIsThereAlready)
{
    requested(red("kept.png"));
    {
        const BusyPool pool;
        cache.readAhead(red("ahead.png"), smallTarget);

        request(files.url("kept.png"));
    }
    settle();

    EXPECT_TRUE(keeps(files.url("ahead.png")));
}

TEST_F(SVImageCacheTest, DropsNoRequestForAnother)
{
    {
        const BusyPool pool;
        request(red("a.png"));
        request(red("b.png"));
    }
    settle();

    EXPECT_EQ(answers.count(), 2U);
}

TEST_F(SVImageCacheTest, AnswersARequestForWhatWasToBeReadAhead)
{
    const FileURL url = red();
    {
        const BusyPool pool;
        cache.readAhead(url, smallTarget);
        request(url);
        cache.readAhead(url, smallTarget);
    }
    settle();

    EXPECT_EQ(answers.count(), 1U);
    EXPECT_EQ(cache.images(), answers.images);
}

TEST_F(SVImageCacheTest, OpensAheadAfterAllThatIsUrgent)
{
    const FileURL url = red();
    const Stop urgent;
    const BusyPool pool;
    cache.readAhead(url, smallTarget);
    DispatchQueue::global().async([urgent] { urgent.halt(); });

    pool.releaseOne(); // A single thread, which takes the urgent one first.
    urgent.waitForArrival();
    drainDecoding();
    MainQueue::drain();
    EXPECT_FALSE(keeps(url));
    urgent.release();
    pool.release();
    settle();

    EXPECT_TRUE(keeps(url));
}

TEST_F(SVImageCacheTest, OpensWhatIsRequestedBeforeAllThatIsAhead)
{
    const Stop ahead;
    const BusyPool pool;
    DispatchQueue::global().async([ahead] { ahead.halt(); }, DispatchQueue::Priority::Ahead);
    request(red());

    pool.releaseOne();
    ahead.waitForArrival();
    drainDecoding();
    MainQueue::drain();

    EXPECT_EQ(answers.count(), 1U);
    ahead.release();
}

TEST_F(SVImageCacheTest, OpensWhatWasToBeReadAheadBeforeAllThatIsAheadOnceItIsRequested)
{
    const FileURL url = red();
    DecodingCounter counter;
    const Stop ahead;
    const BusyPool pool;
    DispatchQueue::global().async([ahead] { ahead.halt(); }, DispatchQueue::Priority::Ahead);
    cache.readAhead(url, smallTarget);
    cache.requestImageWithURL(url, counter.target(kTarget), answers.completion());

    pool.releaseOne();
    ahead.waitForArrival();
    drainDecoding();
    MainQueue::drain();

    EXPECT_EQ(answers.count(), 1U);
    ahead.release();
    pool.release();
    settle();
    EXPECT_EQ(counter.count(), 1); // Not once more where it had its place first.
}

TEST_F(SVImageCacheTest, DecodesAheadBeforeAnyThumbnail)
{
    const Stop begun;
    {
        const HeldDecoder held;
        const DecoderCrowd crowd(red("small.png"), DecodeRequest::Priority::Thumbnail);
        cache.readAhead(red(), arrivingAt(begun, crowd));
        DispatchQueue::global().drain();

        held.release();
        begun.waitForArrival(); // Behind the crowd it would never come.
    }
    settle();

    EXPECT_TRUE(keeps(files.url("a.png")));
}

TEST_F(SVImageCacheTest, DecodesWhatIsRequestedBeforeAllThatIsReadAhead)
{
    const Stop begun;
    {
        const HeldDecoder held;
        const DecoderCrowd crowd(red("next.png"), DecodeRequest::Priority::Next);
        requestHeld(red(), arrivingAt(begun, crowd));

        held.release();
        begun.waitForArrival();
    }
    settle();

    EXPECT_EQ(answers.count(), 1U);
}

TEST_F(SVImageCacheTest, DecodesWhatWasToBeReadAheadBeforeTheRestOnceItIsRequested)
{
    const FileURL url = red();
    const Stop begun;
    {
        const HeldDecoder held;
        const DecoderCrowd crowd(red("next.png"), DecodeRequest::Priority::Next);
        DecodingCounter counter;
        cache.readAhead(url, counter.target(kTarget));
        DispatchQueue::global().drain(); // In the decoder's hands, behind the crowd.
        files.remove("a.png"); // Nobody can open it once more.
        cache.requestImageWithURL(url, arrivingAt(begun, crowd), answers.completion());

        held.release();
        begun.waitForArrival();
    }
    settle();

    ASSERT_EQ(answers.count(), 1U);
}

TEST_F(SVImageCacheTest, KeepsTheUrgencyOfARequestForAFileThatChangedMeanwhile)
{
    const FileURL url = red();
    const Stop begun;
    {
        const HeldDecoder held;
        const DecoderCrowd crowd(red("next.png"), DecodeRequest::Priority::Next);
        requestHeld(url);
        SVImageCache::removeImageWithURL(url);
        cache.readAhead(url, arrivingAt(begun, crowd));
        DispatchQueue::global().drain();

        held.release();
        begun.waitForArrival();
    }
    settle();

    EXPECT_EQ(answers.count(), 1U);
}

TEST_F(SVImageCacheTest, HandsOverButDoesNotKeepWhatChangedWhileItWasDecoded)
{
    const FileURL url = red();
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), answers.completion());
    decoding.waitForArrival();

    files.write("a.png", kGreen);
    SVImageCache::removeImageWithURL(url);
    decoding.release();
    settle();

    ASSERT_EQ(answers.count(), 1U);
    EXPECT_EQ(colourOf(answers.images.front()), kRed);
    EXPECT_FALSE(keeps(url));
    EXPECT_EQ(colourOf(requested(url)), kGreen);
}

TEST_F(SVImageCacheTest, DecodesAfreshForARequestMadeAfterTheChange)
{
    const FileURL url = red();
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), answers.completion());
    decoding.waitForArrival();

    files.write("a.png", kGreen);
    SVImageCache::removeImageWithURL(url);
    request(url);
    decoding.release();
    settle();

    ASSERT_EQ(answers.count(), 2U);
    EXPECT_EQ(colourOf(answers.images.back()), kGreen);
    ASSERT_TRUE(keeps(url));
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(url)), kGreen);
    EXPECT_EQ(cache.images().size(), 1U);
}

TEST_F(SVImageCacheTest, DecodesAfreshWhatChangedBeforeItWasDecodedAgain)
{
    const FileURL url = red();
    const Image kept = SVImageCache::imageWithURL(url);
    {
        const BusyPool pool;
        cache.readAhead(url, smallTarget);
        files.write("a.png", kGreen);
        SVImageCache::removeImageWithURL(url);
        cache.readAhead(url, smallTarget);
    }
    settle();

    ASSERT_TRUE(keeps(url));
    EXPECT_NE(cache.images().front(), kept);
    EXPECT_EQ(colourOf(SVImageCache::imageWithURL(url)), kGreen);
    EXPECT_EQ(colourOf(kept), kRed);
}

TEST_F(SVImageCacheTest, PurgeForgetsWhatIsBeingDecoded)
{
    const FileURL url = red();
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), answers.completion());
    decoding.waitForArrival();

    SVImageCache::purge();
    decoding.release();
    settle();

    EXPECT_EQ(answers.count(), 0U);
    EXPECT_TRUE(cache.images().empty());
}

TEST_F(SVImageCacheTest, DecodesAfreshWhatIsRequestedAfterAPurge)
{
    const FileURL url = red();
    const Stop decoding;
    cache.requestImageWithURL(url, haltingAt(decoding), [](const Image&, auto) { FAIL(); });
    decoding.waitForArrival();

    SVImageCache::purge();
    files.write("a.png", kGreen);
    request(url);
    decoding.release();
    settle();

    ASSERT_EQ(answers.count(), 1U);
    EXPECT_EQ(colourOf(answers.images.front()), kGreen);
    EXPECT_EQ(cache.images(), answers.images);
}

TEST_F(SVImageCacheTest, TakesNoEarlierDecodingForTheAnswerToALaterRequest)
{
    const FileURL url = red();
    cache.requestImageWithURL(url, smallTarget, [](const Image&, auto) { FAIL(); });
    DispatchQueue::global().drain();
    drainDecoding(); // Its answer is on the way.
    SVImageCache::purge();
    files.write("a.png", kGreen);
    {
        const BusyPool pool;

        request(url);
        MainQueue::drain();

        EXPECT_EQ(answers.count(), 0U);
        EXPECT_TRUE(cache.images().empty());
    }
    settle();

    ASSERT_EQ(answers.count(), 1U);
    EXPECT_EQ(colourOf(answers.images.front()), kGreen);
}

TEST_F(SVImageCacheTest, DecodesOnceWhatChangedBeforeItsDecodingBegan)
{
    const FileURL url = red();
    DecodingCounter counter;
    {
        const BusyPool pool;
        cache.requestImageWithURL(url, counter.target(kTarget), answers.completion());

        SVImageCache::removeImageWithURL(url);
        cache.requestImageWithURL(url, counter.target(kTarget), answers.completion());
    }
    settle();

    EXPECT_EQ(counter.count(), 1);
    EXPECT_EQ(answers.count(), 2U);
}

TEST_F(SVImageCacheTest, NeverDecodesWhatIsCancelledInTime)
{
    DecodingCounter counter;
    {
        const BusyPool pool;
        cache.requestImageWithURL(red(), counter.target(kTarget), answers.completion());

        cache.cancelRequests();
    }
    settle();

    EXPECT_EQ(counter.count(), 0);
}

TEST_F(SVImageCacheTest, NeverDecodesWhatIsCancelledInTheDecodersHands)
{
    DecodingCounter counter;
    {
        const HeldDecoder held;
        cache.readAhead(red("ahead.png"), counter.target(kTarget));
        DispatchQueue::global().drain();
        requestHeld(red(), counter.target(kTarget));

        cache.cancelRequests();
    }
    settle();

    EXPECT_EQ(counter.count(), 0);
    EXPECT_EQ(answers.count(), 0U);
    EXPECT_TRUE(cache.images().empty());
}

TEST_F(SVImageCacheTest, CallsNobodyWhoseRequestWasCancelledBeforeItBegan)
{
    const FileURL url = red();
    {
        const BusyPool pool;
        request(url);
        cache.readAhead(red("b.png"), smallTarget);

        cache.cancelRequests();
    }
    settle();

    EXPECT_EQ(answers.count(), 0U);
    EXPECT_TRUE(cache.images().empty());
}

TEST_F(SVImageCacheTest, CallsNobodyWhoseRequestWasCancelledWhenItWasDone)
{
    const FileURL url = red();
    request(url);
    DispatchQueue::global().drain();
    drainDecoding();

    cache.cancelRequests();
    MainQueue::drain();

    EXPECT_EQ(answers.count(), 0U);
    EXPECT_FALSE(keeps(url));
}

TEST_F(SVImageCacheTest, CancelsNothingThatIsKept)
{
    const Image image = requested(red());

    cache.cancelRequests();

    EXPECT_EQ(cache.images(), std::vector { image });
}

TEST_F(SVImageCacheTest, CallsNobodyWhenItIsGone)
{
    {
        SVImageCache shortLived;
        shortLived.requestImageWithURL(red(), smallTarget, answers.completion());
        DispatchQueue::global().drain();
        drainDecoding();
    }

    MainQueue::drain();

    EXPECT_EQ(answers.count(), 0U);
}

} // namespace
} // namespace quorvane
