// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MoviePool.h"

#include "platform/MovieSeat.h"
#include "platform/MovieSession.h"
#include "platform/PlayerProtocol.h"
#include "platform/Polling.h"
#include "platform/ServiceProcess.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace quorvane {

namespace {

using std::chrono::steady_clock;

/// Spares that end before they are ready, in a row, before no more are started.
constexpr int kFailedStartLimit = 3;

/// The viewer's, but with text and numbers as everywhere.
std::vector<std::string> playerEnvironment()
{
    std::vector<std::string> environment { "LC_ALL=C.UTF-8" };
    for (const char* const* variable = environ; *variable; ++variable) {
        const std::string text(*variable);
        if (!text.starts_with("LC_ALL="))
            environment.push_back(text);
    }
    return environment;
}

} // namespace

MoviePool::MoviePool(Options options)
    : mOptions(std::move(options))
{
}

MoviePool::~MoviePool()
{
    mIsEnding = true;
    mBell->ring();
    const std::lock_guard lock(mThreadMutex);
    if (mThread.joinable())
        mThread.join();
}

void MoviePool::prepare()
{
    mIsSpareWanted = true;
    startThread();
    mBell->ring();
}

void MoviePool::play(const std::shared_ptr<MovieSession>& session, bool hasSound)
{
    auto seat = std::make_unique<MovieSeat>(session, hasSound);
    startThread();
    {
        const std::lock_guard lock(mMutex);
        mNewcomers.push_back(std::move(seat));
    }
    mBell->ring();
    session->openFile();
}

void MoviePool::startThread()
{
    const std::lock_guard lock(mThreadMutex);
    if (mThread.joinable())
        return;
    mThread = std::thread([this] {
        pthread_setname_np(pthread_self(), "movie players");
        work();
    });
}

void MoviePool::work()
{
    while (!mIsEnding) {
        mBell->silence();
        seatNewcomers();
        serveSeats();
        hearSpare();
        keepSpare();
        endLeavers();
        wait();
    }
    mSeats.clear();
    mSpare.reset();
    mLeavers.clear();
}

void MoviePool::wait()
{
    std::vector<pollfd> watched { pollFor(mBell->descriptor()) };
    for (const auto& seat : mSeats)
        watched.push_back(pollFor(seat->socket(), seat->isStuck()));
    if (mSpare)
        watched.push_back(pollFor(mSpare->socket()));
    for (const Leaver& leaver : mLeavers)
        watched.push_back(pollFor(leaver.player->processDescriptor()));
    pollUntil(watched, nextDeadline());
}

MoviePool::Moment MoviePool::nextDeadline() const
{
    Moment next = mSpare ? mSpareEnd : Moment::max();
    for (const auto& seat : mSeats)
        next = std::min(next, seat->deadline());
    for (const Leaver& leaver : mLeavers)
        next = std::min(next, leaver.limit);
    return next;
}

void MoviePool::seatNewcomers()
{
    std::vector<std::unique_ptr<MovieSeat>> newcomers;
    {
        const std::lock_guard lock(mMutex);
        newcomers = std::exchange(mNewcomers, {});
    }
    for (auto& seat : newcomers) {
        seat->setPlayer(mSpare ? std::move(mSpare) : startPlayer());
        mSeats.push_back(std::move(seat));
        mIsSpareWanted = true;
    }
}

void MoviePool::serveSeats()
{
    for (auto& seat : mSeats) {
        if (!seat->isOver())
            seat->serve(steady_clock::now(), mOptions.openLimit);
        if (seat->isOver()) {
            letGo(seat->takePlayer());
            seat.reset();
        }
    }
    std::erase(mSeats, nullptr);
}

void MoviePool::hearSpare()
{
    FromPlayer message;
    while (mSpare) {
        const Received received = mSpare->receive(message);
        if (received == Received::Nothing)
            break;
        if (received == Received::Message && message.kind == FromPlayer::Kind::Ready) {
            mIsSpareReady = true;
            mFailedStarts = 0;
            continue;
        }
        if (!mIsSpareReady)
            ++mFailedStarts;
        letGo(std::move(mSpare));
    }
    if (mSpare && steady_clock::now() >= mSpareEnd)
        letGo(std::move(mSpare));
}

bool MoviePool::isOneAwaited() const
{
    return std::any_of(
        mSeats.begin(), mSeats.end(), [](const auto& seat) { return seat->isAwaited(); });
}

void MoviePool::keepSpare()
{
    // The movie that somebody waits for comes first.
    if (mSpare || mFailedStarts >= kFailedStartLimit || isOneAwaited()
        || !mIsSpareWanted.exchange(false))
        return;
    mSpare = startPlayer();
    mSpareEnd = steady_clock::now() + mOptions.spareLimit;
    mIsSpareReady = false;
}

void MoviePool::letGo(std::unique_ptr<ServiceProcess> player)
{
    if (!player)
        return;
    player->closeSocket();
    mLeavers.push_back({ std::move(player), steady_clock::now() + mOptions.endLimit });
}

void MoviePool::endLeavers()
{
    std::erase_if(mLeavers, [](const Leaver& leaver) { return leaver.player->end().has_value(); });
    for (Leaver& leaver : mLeavers) {
        if (steady_clock::now() < leaver.limit)
            continue;
        leaver.player->kill();
        leaver.limit = Moment::max(); // Its end will be heard of.
    }
}

std::unique_ptr<ServiceProcess> MoviePool::startPlayer() const
{
    return ServiceProcess::start({ mOptions.program, {}, playerEnvironment() });
}

} // namespace quorvane
