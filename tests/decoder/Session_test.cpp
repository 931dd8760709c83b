// SPDX-License-Identifier: GPL-3.0-or-later
// The decoder's side of the conversation, spoken to message by message.
#include "decoder/FakeReader.h"
#include "decoder/Session.h"
#include "platform/Decoding.h"
#include "platform/MessageSocket.h"
#include "platform/SharedMemory.h"
#include "support/FixtureFolder.h"

#include <gtest/gtest.h>

#include <thread>

namespace quorvane {

namespace {

using tests::kFakeColour;
using Kind = FromDecoder::Kind;
using What = DecodeRequest::What;

struct SessionTest : testing::Test {
    tests::FixtureFolder folder;
    std::pair<FileDescriptor, FileDescriptor> ends = std::move(*makeMessageSockets());
    Formats formats { tests::kFakeTable, tests::openFakeFrame, tests::readFakeInformation,
        tests::readFakeCover };
    std::thread decoder;
    std::unique_ptr<SharedMemory> memory = SharedMemory::create(4096);

    ~SessionTest() override
    {
        ends.first = {};
        if (decoder.joinable())
            decoder.join(); // A session that goes on without its viewer would hang here.
    }

    FromDecoder start(const QByteArray& missing = {})
    {
        decoder
            = std::thread([this, missing] { Session(ends.second.get(), formats).run(missing); });
        return answer();
    }
    FromDecoder answer()
    {
        FromDecoder message;
        FileDescriptor none;
        EXPECT_EQ(
            awaitMessage(ends.first.get(), std::as_writable_bytes(std::span(&message, 1)), none),
            Received::Message);
        return message;
    }
    void send(const ToDecoder& message, int file = -1)
    {
        EXPECT_TRUE(sendMessage(ends.first.get(), std::as_bytes(std::span(&message, 1)), file));
    }
    FromDecoder open(const QByteArray& contents, What what = What::Picture, double seconds = 0)
    {
        const auto file = openForReading(FileURL(folder.write("a", contents)));
        ToDecoder message { ToDecoder::Kind::Open, static_cast<std::uint32_t>(what) };
        message.seconds = seconds;
        send(message, file->get());
        return answer();
    }
    FromDecoder render(QSize size, std::uint64_t buffer = 1, bool isNew = true)
    {
        send({ ToDecoder::Kind::Render, 0, size.width(), size.height(), buffer, memory->size() },
            isNew ? memory->descriptor() : -1);
        return answer();
    }
    QRgb pixel(int number) const { return reinterpret_cast<const QRgb*>(memory->data())[number]; }
};

TEST_F(SessionTest, SaysThatItIsReadyAndWhatDoesNotProtectIt)
{
    const FromDecoder ready = start("Landlock");

    EXPECT_EQ(ready.kind, Kind::Ready);
    EXPECT_STREQ(ready.text.data(), "Landlock");
}

TEST_F(SessionTest, CutsATextThatIsTooLong)
{
    EXPECT_EQ(qstrlen(start(QByteArray(1000, 'a')).text.data()), 231U);
}

TEST_F(SessionTest, PutsThePictureIntoTheMemory)
{
    start();

    const FromDecoder opened = open("4x3");
    EXPECT_EQ(opened.kind, Kind::Opened);
    EXPECT_EQ(QSize(opened.width, opened.height), QSize(4, 3));
    EXPECT_EQ(opened.orientation, 1);

    const FromDecoder rendered = render({ 8, 6 });
    EXPECT_EQ(rendered.kind, Kind::Rendered);
    EXPECT_TRUE(rendered.isOpaque);
    EXPECT_EQ(pixel(0), kFakeColour);
    EXPECT_EQ(pixel(47), kFakeColour);
    EXPECT_EQ(pixel(48), 0U);
}

TEST_F(SessionTest, TellsTheSizeOfATurnedPictureOnceUpright)
{
    start();

    const FromDecoder opened = open("4x3 turned");

    EXPECT_EQ(QSize(opened.width, opened.height), QSize(3, 4));
    EXPECT_EQ(opened.orientation, 1);
}

TEST_F(SessionTest, LeavesAPictureAsStoredWhereThatIsWanted)
{
    start();

    const FromDecoder opened = open("4x3 turned", What::StoredPicture);

    EXPECT_EQ(QSize(opened.width, opened.height), QSize(4, 3));
    EXPECT_EQ(opened.orientation, 6);
}

TEST_F(SessionTest, OpensTheSmallPictureThatTheFileCarriesOrElseThePicture)
{
    start();

    EXPECT_EQ(open("400x300 thumbnail", What::SmallPicture).width, 2);
    EXPECT_EQ(open("400x300", What::SmallPicture).width, 400);
    EXPECT_EQ(open("400x300 thumbnail", What::Picture).width, 400);
}

TEST_F(SessionTest, OpensTheFrameOfAMovie)
{
    start();

    EXPECT_EQ(open("movie", What::MovieFrame).width, 16);
    EXPECT_EQ(open("4x3", What::MovieFrame).kind, Kind::Failed);
    EXPECT_EQ(open("movie").kind, Kind::Failed);
}

TEST_F(SessionTest, OpensTheFrameOfAMoment)
{
    start();

    EXPECT_EQ(open("movie", What::MovieFrameAt, 33).height, 33);
    EXPECT_EQ(open("movie", What::MovieFrame, 33).height, 9);
}

TEST_F(SessionTest, TellsWhatAMovieSaysOfItself)
{
    start();

    const FromDecoder told = open("movie Title", What::MovieInformation);

    EXPECT_EQ(told.kind, Kind::Described);
    EXPECT_EQ(QSize(told.width, told.height), QSize(16, 9));
    EXPECT_EQ(told.pictureTracks, 1);
    EXPECT_EQ(told.soundTracks, 2);
    EXPECT_EQ(told.seconds, 12.5);
    EXPECT_STREQ(told.text.data(), "Title");
    EXPECT_EQ(render({ 4, 3 }).kind, Kind::Failed) << "There is nothing to draw";
}

TEST_F(SessionTest, TellsWhatIsUnknownOfAMovie)
{
    start();

    const FromDecoder told = open("movie unknown", What::MovieInformation);

    EXPECT_EQ(told.kind, Kind::Described);
    EXPECT_EQ(QSize(told.width, told.height), QSize(0, 0));
    EXPECT_EQ(told.seconds, kUnknownSeconds);
    EXPECT_STREQ(told.text.data(), "");
    EXPECT_EQ(open("4x3", What::MovieInformation).kind, Kind::Failed);
}

TEST_F(SessionTest, CutsATitleBetweenCharacters)
{
    start();
    const QByteArray umlauts = QByteArray("\xC3\xA4").repeated(200);

    const auto told = open("movie " + umlauts, What::MovieInformation);
    const auto shifted = open("movie a" + umlauts, What::MovieInformation);

    EXPECT_EQ(QByteArray(told.text.data()), umlauts.left(230));
    EXPECT_EQ(QByteArray(shifted.text.data()), "a" + umlauts.left(230));
}

TEST_F(SessionTest, OpensTheCoverAsAPicture)
{
    start();

    const FromDecoder opened = open("movie 4x3 turned", What::MovieCover);

    EXPECT_EQ(QSize(opened.width, opened.height), QSize(3, 4));
    EXPECT_EQ(render({ 3, 4 }).kind, Kind::Rendered);
    EXPECT_EQ(pixel(0), kFakeColour);
    EXPECT_EQ(open("movie", What::MovieCover).kind, Kind::Failed);
    EXPECT_EQ(open("movie words", What::MovieCover).kind, Kind::Failed);
}

TEST_F(SessionTest, HandsOnWhatItDoesNotKnowWhereItKnowsPhotographsOnly)
{
    formats = { tests::kFakeTable };
    start();

    EXPECT_EQ(open("words").kind, Kind::Unknown);
    for (const What what :
        { What::MovieFrame, What::MovieFrameAt, What::MovieCover, What::MovieInformation })
        EXPECT_EQ(open("movie 4x3", what).kind, Kind::Unknown);
    EXPECT_EQ(open("4x3 unsupported").kind, Kind::Unknown);
    EXPECT_EQ(open("4x3").kind, Kind::Opened);
}

TEST_F(SessionTest, TellsWhatIsTransparent)
{
    start();
    open("4x3 transparent");

    EXPECT_FALSE(render({ 4, 3 }).isOpaque);
}

TEST_F(SessionTest, TellsWhatIsDamagedAndServesTheNextFile)
{
    start();
    open("4x3 damaged");

    const FromDecoder failed = render({ 4, 3 });

    EXPECT_EQ(failed.kind, Kind::Failed);
    EXPECT_EQ(failed.error, static_cast<std::uint32_t>(ErrorKind::Damaged));
    EXPECT_STREQ(failed.text.data(), "as told");
    EXPECT_EQ(open("4x3").kind, Kind::Opened);
    EXPECT_EQ(render({ 4, 3 }).kind, Kind::Rendered);
}

TEST_F(SessionTest, UsesMemoryThatItKnowsAgain)
{
    start();
    open("4x3");
    render({ 4, 3 });
    open("4x3");

    EXPECT_EQ(render({ 4, 3 }, 1, false).kind, Kind::Rendered);
}

TEST_F(SessionTest, ForgetsMemoryAsItIsTold)
{
    start();
    open("4x3");
    render({ 4, 3 });

    send({ ToDecoder::Kind::Forget, 0, 0, 0, 1 });
    send({ ToDecoder::Kind::Forget, 0, 0, 0, 99 }); // One it never knew.
    open("4x3");

    EXPECT_EQ(render({ 4, 3 }, 1, false).kind, Kind::Failed);
}

TEST_F(SessionTest, WritesNothingBeyondTheMemory)
{
    start();
    open("400x300");

    EXPECT_EQ(render({ 400, 300 }).kind, Kind::Failed);
    open("400x300");
    EXPECT_EQ(render({ 1 << 20, 1 << 20 }).kind, Kind::Failed);
    open("400x300");
    EXPECT_EQ(render({ -4, -3 }).kind, Kind::Failed);
}

TEST_F(SessionTest, RendersNothingThatWasNotOpened)
{
    start();

    EXPECT_EQ(render({ 4, 3 }).kind, Kind::Failed);
    open("words");
    EXPECT_EQ(render({ 4, 3 }).kind, Kind::Failed);
}

TEST_F(SessionTest, RendersAFileOnce)
{
    start();
    open("4x3");
    EXPECT_EQ(render({ 4, 3 }).kind, Kind::Rendered);

    EXPECT_EQ(render({ 4, 3 }).kind, Kind::Failed);
}

TEST_F(SessionTest, OpensNothingWithoutADescriptor)
{
    start();

    send({ ToDecoder::Kind::Open, static_cast<std::uint32_t>(What::Picture) });

    EXPECT_EQ(answer().kind, Kind::Failed);
}

TEST_F(SessionTest, EndsAtNonsense)
{
    start();

    sendMessage(ends.first.get(), std::as_bytes(std::span("nonsense", 8)));

    decoder.join();
}

TEST_F(SessionTest, EndsWithTheViewer)
{
    start();

    ends.first = {};

    decoder.join();
}

} // namespace

} // namespace quorvane
