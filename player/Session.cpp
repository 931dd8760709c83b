// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/Session.h"

#include "platform/MessageSocket.h"

#include <poll.h>

#include <iterator>
#include <span>
#include <utility>

namespace quorvane {

namespace {

/// Messages that wait before what is new is kept back.
constexpr std::size_t kMostWaiting = 4;

bool isSame(const MovieNews& a, const MovieNews& b)
{
    const auto isSameNumber = [](double x, double y) { return !(x < y) && !(y < x); };
    return a.width == b.width && a.height == b.height && a.picture == b.picture && a.end == b.end
        && a.isDurationKnown == b.isDurationKnown && isSameNumber(a.duration, b.duration)
        && isSameNumber(a.position, b.position) && a.title == b.title;
}

} // namespace

Session::Session(int socket)
    : mSocket(socket)
{
}

bool Session::run()
{
    mPlayback = MoviePlayback::make(mBell, [this] { return isAwaited(); });
    if (!mPlayback)
        return false;
    send({ .kind = FromPlayer::Kind::Ready });
    for (;;) {
        const short happened = awaitSomething();
        mBell.silence();
        if ((happened & ~POLLOUT) != 0 && !hearViewer())
            return true;
        sendWaiting();
        play();
    }
}

/// Whether there is something to hear, such as a movie to play.
bool Session::isAwaited() const
{
    pollfd watched { mSocket, POLLIN, 0 };
    return poll(&watched, 1, 0) != 0;
}

/// \return what happened on the socket.
short Session::awaitSomething() const
{
    const auto room = static_cast<short>(mWaiting.empty() ? 0 : POLLOUT);
    pollfd watched[]
        = { { mSocket, static_cast<short>(POLLIN | room), 0 }, { mBell.descriptor(), POLLIN, 0 } };
    poll(watched, std::size(watched), -1);
    return watched[0].revents;
}

/// One message at a time. \return false when there will be no more.
bool Session::hearViewer()
{
    ToPlayer message;
    FileDescriptor file;
    const Received received
        = awaitMessage(mSocket, std::as_writable_bytes(std::span(&message, 1)), file);
    return received == Received::Message && hear(message, std::move(file));
}

bool Session::hear(const ToPlayer& message, FileDescriptor file)
{
    switch (message.kind) {
    case ToPlayer::Kind::Wishes:
        mPlayback->setWishes(message.wishes);
        return true;
    case ToPlayer::Kind::Open:
        mPlayback->open(message, std::move(file));
        return true;
    case ToPlayer::Kind::Lend:
        return mMemory.lend(message, file);
    case ToPlayer::Kind::Forget:
        mMemory.forget(message.buffer);
        return true;
    }
    return false;
}

void Session::play()
{
    const auto frame = mPlayback->work(mMemory);
    MovieNews news = mPlayback->news();
    // What a frame belongs to is known before it, the end after it.
    if (frame) {
        news.end = mTold.end;
        tell(news);
        send({ .kind = FromPlayer::Kind::Frame,
            .loan = frame->loan,
            .width = frame->width,
            .height = frame->height,
            .step = frameStep(frame->width) });
    }
    tell(mPlayback->news());
}

void Session::tell(const MovieNews& news)
{
    // Later ones say it better, when the viewer does not listen.
    if (isSame(news, mTold) || mWaiting.size() > kMostWaiting)
        return;
    mTold = news;
    send({ .kind = FromPlayer::Kind::News, .news = news });
}

void Session::send(const FromPlayer& message)
{
    mWaiting.push_back(message);
    sendWaiting();
}

void Session::sendWaiting()
{
    while (
        !mWaiting.empty() && sendMessage(mSocket, std::as_bytes(std::span(&mWaiting.front(), 1))))
        mWaiting.pop_front();
}

} // namespace quorvane
