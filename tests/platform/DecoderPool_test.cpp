// SPDX-License-Identifier: GPL-3.0-or-later
// Decoders that die, hang and lie, and what becomes of the files.
#include "platform/DecoderPool.h"
#include "platform/Sanitizer.h"
#include "support/FixtureFolder.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>
#include <set>

namespace quorvane {

namespace {

using namespace std::chrono_literals;
using tests::FixtureFolder;
using Answer = Result<DecodeAnswer>;
using Priority = DecodeRequest::Priority;
using What = DecodeRequest::What;

/// Milliseconds between one end and the next: longer than a decoder takes to start.
constexpr int kKillPause = kHasSanitizer ? 300 : 3;

/// The numbers of the processes that this one has started.
std::set<pid_t> childProcesses()
{
    std::set<pid_t> children;
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::ifstream list(task.path() / "children");
        for (pid_t child = 0; list >> child;)
            children.insert(child);
    }
    return children;
}

struct DecoderPoolTest : testing::Test {
    FixtureFolder folder;
    std::unique_ptr<DecoderPool> pool;

    explicit DecoderPoolTest(int workers = 2) { start(workers, 10s); }

    void start(int workers, std::chrono::milliseconds answerLimit)
    {
        pool = std::make_unique<DecoderPool>(
            DecoderPool::Options { QUORVANE_FAKE_DECODER, workers, answerLimit });
    }

    FileDescriptor file(const QByteArray& words)
    {
        return std::move(*openForReading(FileURL(folder.write("file", words))));
    }

    std::future<Answer> request(const QByteArray& words, DecodeRequest wanted = {})
    {
        auto promise = std::make_shared<std::promise<Answer>>();
        auto answer = promise->get_future();
        pool->decode(file(words), std::move(wanted),
            [promise](Answer result) { promise->set_value(std::move(result)); });
        return answer;
    }

    Answer decoded(const QByteArray& words, DecodeRequest wanted = {})
    {
        return request(words, std::move(wanted)).get();
    }

    /// The process that decoded the picture; 0 if none did.
    static pid_t decoderOf(const Answer& answer)
    {
        if (!answer)
            return 0;
        return static_cast<pid_t>(
            *reinterpret_cast<const quint32*>(answer->pixels.image().constBits()));
    }

    /// What the decoder was told that pixels are converted to, and how often, if ever.
    static QByteArray targetOf(const Answer& answer)
    {
        if (!answer)
            return "no answer";
        return reinterpret_cast<const char*>(answer->pixels.image().constBits());
    }

    /// Nothing if it was decoded.
    static std::optional<ErrorKind> refusal(const Answer& answer)
    {
        return answer ? std::nullopt : std::optional(answer.error().kind);
    }
};

TEST_F(DecoderPoolTest, DecodesAPictureInItsOwnSize)
{
    const auto answer = decoded("4x3");

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.size(), QSize(4, 3));
    EXPECT_EQ(answer->pictureSize, QSize(4, 3));
    EXPECT_NE(decoderOf(answer), getpid());
}

TEST_F(DecoderPoolTest, DecodesInTheSizeThatFollowsFromThePictures)
{
    const auto answer = decoded("40x30", { .sizeFor = [](QSize size) { return size / 10; } });

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->pixels.size(), QSize(4, 3));
    EXPECT_EQ(answer->pictureSize, QSize(40, 30));
}

TEST_F(DecoderPoolTest, HandsOverPixelsInMemoryWhoseSizeIsSealed)
{
    EXPECT_TRUE(decoded("4x3 shrink")) << "a decoder could cut the pixels short";
}

TEST_F(DecoderPoolTest, TellsWhatTheDecoderSays)
{
    const auto answer = decoded("fail");

    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().kind, ErrorKind::Damaged);
    EXPECT_EQ(answer.error().message, QStringLiteral("as told"));
}

TEST_F(DecoderPoolTest, TellsWhatAMovieSaysOfItself)
{
    const auto answer = decoded("describe:640,480,1,2,12.5", { .what = What::MovieInformation });

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->movie.naturalSize, QSize(640, 480));
    EXPECT_EQ(answer->movie.pictureTracks, 1);
    EXPECT_EQ(answer->movie.soundTracks, 2);
    EXPECT_EQ(answer->movie.seconds, 12.5);
    EXPECT_EQ(answer->movie.title, QString(230, QLatin1Char('t')));
    EXPECT_TRUE(answer->pixels.isNull());
}

TEST_F(DecoderPoolTest, TellsThatThereIsNoPictureAndNoLength)
{
    const auto answer = decoded("describe:0,0,0,1,-1", { .what = What::MovieInformation });

    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->movie.naturalSize.isEmpty());
    EXPECT_EQ(answer->movie.seconds, std::nullopt);
}

TEST_F(DecoderPoolTest, BelievesNoMovieThatCannotBe)
{
    for (const char* words : { "describe:-4,3,1,0,1", "describe:4,0,1,0,1",
             "describe:1073741824,1,1,0,1", "describe:4,3,-1,0,1", "describe:4,3,1,-1,1",
             "describe:4,3,1,0,nan", "describe:4,3,1,0,inf", "4x3" })
        EXPECT_EQ(refusal(decoded(words, { .what = What::MovieInformation })), ErrorKind::Damaged)
            << words;
}

TEST_F(DecoderPoolTest, WantsNoWordsInPlaceOfAPicture)
{
    EXPECT_EQ(refusal(decoded("describe:4,3,1,0,1")), ErrorKind::Damaged);
    EXPECT_EQ(refusal(decoded("4x3 describe:4,3,1,0,1")), ErrorKind::Damaged);
}

TEST_F(DecoderPoolTest, KeepsADecoderForTheNextFile)
{
    EXPECT_EQ(decoderOf(decoded("1x1")), decoderOf(decoded("1x1")));
}

TEST_F(DecoderPoolTest, LetsSeveralDecodersWorkAtATime)
{
    // One hangs; the other one serves.
    const auto hanging = request("hang 1x1");

    EXPECT_TRUE(decoded("1x1"));
    EXPECT_TRUE(decoded("2x2"));
}

TEST_F(DecoderPoolTest, GivesUpOnAFileThatBreaksTwoDecoders)
{
    EXPECT_EQ(refusal(decoded("crash")), ErrorKind::Damaged);
    EXPECT_EQ(refusal(decoded("1x1 crash")), ErrorKind::Damaged);
    EXPECT_EQ(refusal(decoded("exit")), ErrorKind::Damaged);
    EXPECT_TRUE(decoded("1x1")) << "the next file is served all the same";
}

TEST_F(DecoderPoolTest, TriesAFileThatBrokeADecoderOnceMoreOnAFreshOne)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(decoded("1x1"));

    EXPECT_TRUE(decoded("crash-unless-fresh 1x1"));
    EXPECT_EQ(refusal(decoded("crash-unless-fresh crash-if-fresh 1x1")), ErrorKind::Damaged);
}

TEST_F(DecoderPoolTest, GoesOnServingWhileAFileBreaksDecoders)
{
    const auto breaking = request("crash", { .priority = Priority::OnScreen });

    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(decoded("1x1"));
}

TEST_F(DecoderPoolTest, ForgivesAFileWhoseDecodersAreKilledByOthersButNotForEver)
{
    EXPECT_EQ(refusal(decoded("die-by-kill")), ErrorKind::Damaged);
    EXPECT_TRUE(decoded("1x1"));
}

TEST_F(DecoderPoolTest, TriesAFileTwiceWhoseDecoderIsKilledWithMuchMemoryInUse)
{
    EXPECT_EQ(refusal(decoded("mark take-much-memory die-by-kill")), ErrorKind::Damaged);

    const auto tried = openForReading(FileURL(folder.path("file")));
    ASSERT_TRUE(tried);
    EXPECT_EQ(readAll(*tried, 100).value_or(QByteArray()),
        "mark take-much-memory die-by-kill again again");
}

TEST_F(DecoderPoolTest, ReplacesADecoderThatIsSilent)
{
    start(2, 150ms);

    EXPECT_EQ(refusal(decoded("hang")), ErrorKind::Damaged);
    EXPECT_EQ(refusal(decoded("1x1 hang")), ErrorKind::Damaged);
    EXPECT_EQ(refusal(decoded("close")), ErrorKind::Damaged);
    EXPECT_TRUE(decoded("1x1"));
}

TEST_F(DecoderPoolTest, TriesASilentFileOnceMoreOnAFreshDecoder)
{
    start(1, 150ms);
    EXPECT_TRUE(decoded("1x1"));

    EXPECT_TRUE(decoded("hang-unless-fresh 1x1"));
}

TEST_F(DecoderPoolTest, BelievesNoNonsense)
{
    for (const char* const words : { "short", "rendered", "ready", "negative", "endless",
             "1x1 short", "1x1 ready", "1x1 negative" })
        EXPECT_EQ(refusal(decoded(words)), ErrorKind::Damaged) << words;
    EXPECT_TRUE(decoded("1x1"));
}

TEST_F(DecoderPoolTest, RefusesMorePixelsThanAnyScreenHasBeforeItTakesMemory)
{
    EXPECT_EQ(refusal(decoded("60000x60000")), ErrorKind::TooLarge);
    EXPECT_TRUE(decoded("60000x60000", { .sizeFor = [](QSize) { return QSize(8, 8); } }));
    EXPECT_EQ(refusal(decoded("8x8", { .sizeFor = [](QSize) { return QSize(0, 8); } })),
        ErrorKind::TooLarge);
}

TEST_F(DecoderPoolTest, ServesTheMostUrgentFirst)
{
    start(1, 10s);
    std::mutex mutex;
    std::vector<int> order;
    const auto add = [&](int number, Priority priority) {
        return pool->decode(file("1x1"), { .priority = priority }, [&, number](const Answer&) {
            const std::lock_guard lock(mutex);
            order.push_back(number);
        });
    };
    pool->suspend();
    add(1, Priority::Thumbnail);
    add(2, Priority::Next);
    const DecodeTicket raised = add(3, Priority::Thumbnail);
    add(4, Priority::OnScreen);
    add(5, Priority::OnScreen);
    pool->setPriority(raised, Priority::OnScreen);

    pool->resume();
    pool->drain();

    EXPECT_EQ(order, (std::vector { 3, 4, 5, 2, 1 }));
}

TEST_F(DecoderPoolTest, DoesNotBeginWhatIsCancelled)
{
    std::atomic<bool> called = false;
    pool->suspend();
    const DecodeTicket ticket
        = pool->decode(file("1x1"), {}, [&](const Answer&) { called = true; });

    pool->cancel(ticket);
    pool->resume();
    pool->drain();

    EXPECT_TRUE(decoded("1x1"));
    EXPECT_FALSE(called);
}

TEST_F(DecoderPoolTest, TakesADecoderFromWhatNobodyWantsAnyMore)
{
    start(1, 10s);
    std::atomic<bool> called = false;
    const auto opened = std::make_shared<std::promise<void>>();
    const DecodeTicket ticket = pool->decode(file("1x1 hang"),
        { .sizeFor =
                [opened](QSize size) {
                    opened->set_value();
                    return size;
                } },
        [&](const Answer&) { called = true; });
    opened->get_future().wait();

    pool->cancel(ticket);

    EXPECT_TRUE(decoded("1x1"));
    EXPECT_FALSE(called);
}

TEST_F(DecoderPoolTest, LetsADecoderFinishWhatNobodyWantsAnyMoreWhenThatIsQuick)
{
    start(1, 10s);
    std::set<pid_t> decoders; // Only one: the next is started when there was a picture.
    std::future<Answer> next;
    std::atomic<DecodeTicket> ticket = 0;
    const auto opened = std::make_shared<std::promise<void>>();
    ticket = pool->decode(file("300x300"),
        { .sizeFor =
                [&, opened](QSize size) {
                    while (ticket == 0)
                        std::this_thread::yield();
                    decoders = childProcesses();
                    pool->cancel(ticket);
                    next = request("1x1");
                    opened->set_value();
                    return size;
                } },
        [](const Answer&) {});
    opened->get_future().wait();

    EXPECT_EQ(decoders.count(decoderOf(next.get())), 1U);
}

TEST_F(DecoderPoolTest, FillsTheSameMemoryAgain)
{
    start(1, 10s);
    const uchar* first = nullptr;
    {
        const auto answer = decoded("300x300");
        first = answer->pixels.image().constBits();
    }

    EXPECT_EQ(decoded("300x300")->pixels.image().constBits(), first);
}

TEST_F(DecoderPoolTest, LeavesPicturesThatAreStillShownAlone)
{
    start(1, 10s);
    const auto kept = decoded("300x300");
    const auto before = kept->pixels.image().copy();

    for (int i = 0; i < 5; ++i)
        EXPECT_NE(decoded("300x300")->pixels.image().constBits(), kept->pixels.image().constBits());

    EXPECT_EQ(kept->pixels.image(), before);
}

TEST_F(DecoderPoolTest, TellsEachDecoderOnceWhatPixelsAreConvertedTo)
{
    EXPECT_EQ(targetOf(decoded("9x9 target")), "") << "sRGB, of which nobody speaks";

    pool->setTarget("profile");
    EXPECT_EQ(targetOf(decoded("9x9 target")), "profile 1");
    EXPECT_EQ(targetOf(decoded("9x9 target")), "profile 1") << "told again";

    pool->setTarget({});
    EXPECT_EQ(targetOf(decoded("9x9 target")), " 2");
}

TEST_F(DecoderPoolTest, TellsAFreshDecoderWhatPixelsAreConvertedTo)
{
    start(1, 10s);
    pool->setTarget("profile");
    EXPECT_EQ(targetOf(decoded("9x9 target")), "profile 1");

    EXPECT_EQ(targetOf(decoded("crash-unless-fresh 9x9 target")), "profile 1");
}

TEST_F(DecoderPoolTest, LetsPicturesOutliveTheirDecoderAndThePool)
{
    const auto answer = decoded("300x300");
    EXPECT_EQ(refusal(decoded("crash")), ErrorKind::Damaged);

    pool = nullptr;

    EXPECT_NE(decoderOf(answer), 0);
}

TEST_F(DecoderPoolTest, EndsItsDecodersWithIt)
{
    const std::set<pid_t> before = childProcesses();
    EXPECT_TRUE(decoded("1x1"));

    pool = nullptr;

    // Killed and waited for, or about to be: none of them answers any more.
    for (const pid_t child : childProcesses()) {
        if (!before.contains(child))
            waitpid(child, nullptr, 0);
    }
    EXPECT_EQ(childProcesses(), before);
}

TEST_F(DecoderPoolTest, SaysOnceWhatDoesNotProtectTheDecoders)
{
    static QStringList said;
    said.clear();
    const auto before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { said.append(text); });
    const QByteArray program = folder.makeLink("unprotected", QUORVANE_FAKE_DECODER);
    pool = std::make_unique<DecoderPool>(DecoderPool::Options { program, 2, 10s });

    EXPECT_TRUE(decoded("1x1"));
    EXPECT_FALSE(decoded("crash")); // Others start, and have the same to say.
    EXPECT_TRUE(decoded("1x1"));
    pool = nullptr;

    qInstallMessageHandler(before);
    EXPECT_EQ(said.filter(QStringLiteral("Landlock, seccomp")).size(), 1);
}

TEST_F(DecoderPoolTest, SaysThatThereIsNoDecoder)
{
    static QStringList said;
    said.clear();
    const auto before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { said.append(text); });
    pool = std::make_unique<DecoderPool>(DecoderPool::Options { folder.path("absent"), 2, 10s });

    EXPECT_EQ(refusal(decoded("1x1")), ErrorKind::Other);
    EXPECT_EQ(refusal(decoded("1x1")), ErrorKind::Other);
    pool = nullptr;

    qInstallMessageHandler(before);
    EXPECT_EQ(said.filter(QStringLiteral("cannot be started")).size(), 1) << "for every file";
}

TEST_F(DecoderPoolTest, SaysThatTheDecoderEndsAtOnce)
{
    pool = std::make_unique<DecoderPool>(DecoderPool::Options { "/bin/true", 2, 10s });

    EXPECT_EQ(refusal(decoded("1x1")), ErrorKind::Other);
}

TEST_F(DecoderPoolTest, LosesNoPictureWhileSomebodyKillsDecodersAtRandom)
{
    std::atomic<bool> isOver = false;
    std::atomic<int> shown = 0;
    pool->warmUp();
    std::thread killer([&] {
        unsigned number = 1;
        int shownBefore = -1;
        while (!isOver) {
            // On a busy machine a decoder would else never live long enough to show anything.
            if (shown == shownBefore) {
                poll(nullptr, 0, 1);
                continue;
            }
            shownBefore = shown;
            const std::set<pid_t> children = childProcesses();
            number = number * 1664525 + 1013904223;
            if (!children.empty()) {
                auto victim = children.begin();
                std::advance(victim, (number >> 16) % children.size());
                kill(*victim, SIGKILL);
            }
            std::this_thread::yield();
            poll(nullptr, 0, kKillPause);
        }
    });

    int asked = 0;
    while (asked < 100 && shown == asked) {
        ++asked;
        shown += decoded("500x500") ? 1 : 0;
    }
    isOver = true;
    killer.join();

    EXPECT_EQ(shown, 100);
}

} // namespace

} // namespace quorvane
