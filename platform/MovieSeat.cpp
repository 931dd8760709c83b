// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MovieSeat.h"

#include "platform/GraphicsHardware.h"
#include "platform/MovieSession.h"
#include "platform/ServiceProcess.h"

#include <cmath>
#include <utility>

namespace quorvane {

namespace {

/// Pixels of the longer side of a movie: beyond it there are only broken headers.
constexpr int kSideLimit = 1 << 24;

bool isMoment(double seconds) { return std::isfinite(seconds) && seconds >= 0; }

bool isSensible(const MovieNews& news)
{
    const bool isSizeKnown = news.width > 0 && news.height > 0;
    const bool isSize = (isSizeKnown && news.width <= kSideLimit && news.height <= kSideLimit)
        || (news.width == 0 && news.height == 0);
    return isSize && isMoment(news.position) && isMoment(news.duration)
        && news.picture <= MovieNews::Picture::There && news.end <= MovieNews::End::Failed
        && news.title.back() == '\0';
}

std::optional<bool> hasPicture(const MovieNews& news)
{
    if (news.picture == MovieNews::Picture::Unknown)
        return {};
    return news.picture == MovieNews::Picture::There;
}

} // namespace

MovieSeat::MovieSeat(std::shared_ptr<MovieSession> session, bool hasSound)
    : mSession(std::move(session))
    , mHasSound(hasSound)
{
}

MovieSeat::~MovieSeat() = default;

void MovieSeat::setPlayer(std::unique_ptr<ServiceProcess> player)
{
    mPlayer = std::move(player);
    if (!mPlayer)
        fail();
}

std::unique_ptr<ServiceProcess> MovieSeat::takePlayer() { return std::move(mPlayer); }

int MovieSeat::socket() const { return mPlayer ? mPlayer->socket() : -1; }

bool MovieSeat::isOver() const
{
    if (mIsFailed || mSession->isStopped())
        return true;
    const auto end = mSession->whetherEnded();
    return end && *end != MovieEnd::Finished;
}

void MovieSeat::serve(Moment now, std::chrono::milliseconds openLimit)
{
    hearAll();
    if (!mIsFailed && !mIsHeardOf && now >= mDeadline)
        fail();
    if (!mIsFailed)
        speak(now + openLimit);
}

void MovieSeat::hearAll()
{
    FromPlayer message;
    while (!mIsFailed) {
        const Received received = mPlayer->receive(message);
        if (received == Received::Nothing)
            return;
        if (received != Received::Message || !hear(message))
            fail();
    }
}

bool MovieSeat::hear(const FromPlayer& message)
{
    switch (message.kind) {
    case FromPlayer::Kind::Ready:
        return !mIsHeardOf;
    case FromPlayer::Kind::News:
        return hear(message.news);
    case FromPlayer::Kind::Frame:
        return showFrame(message);
    }
    return false;
}

bool MovieSeat::hear(const MovieNews& news)
{
    if (!mIsOpened || !isSensible(news))
        return false;
    mIsHeardOf = true;
    mIsAwaited = mIsAwaited && news.picture != MovieNews::Picture::None
        && news.end == MovieNews::End::None;
    mDeadline = Moment::max();
    if (news.end == MovieNews::End::Failed) {
        mIsFailed = true;
        const bool wasKnown = hasPicture(news) || news.isDurationKnown != 0;
        if (wasKnown)
            mSession->end(MovieEnd::Failed);
        else
            mSession->failToOpen();
        return true;
    }
    mSession->announce([&](MovieState& state) {
        state.naturalSize = news.width > 0 ? QSize(news.width, news.height) : QSize();
        state.hasPicture = hasPicture(news);
        state.title = QString::fromUtf8(news.title.data());
        state.duration = news.isDurationKnown != 0 ? std::optional(news.duration) : std::nullopt;
        state.position = news.position;
        if (news.end == MovieNews::End::Finished)
            state.end = state.end.value_or(MovieEnd::Finished);
    });
    return true;
}

bool MovieSeat::showFrame(const FromPlayer& message)
{
    auto frame = mLoans.take(message);
    if (!frame || !mIsHeardOf)
        return false;
    mIsAwaited = false;
    mSession->announce([&](MovieState& state) {
        state.frame = std::move(*frame);
        ++state.frameNumber;
    });
    return true;
}

void MovieSeat::speak(Moment deadline)
{
    mIsStuck = false;
    if (const auto wishes = mSession->takeWishes()) {
        mWishes = *wishes;
        mAreWishesSaid = false;
        mLoans.setSize({ mWishes.width, mWishes.height });
    }
    sayWishes();
    if (!mLoans.send(*mPlayer)) {
        fail();
        return;
    }
    mIsStuck = mIsStuck || mLoans.isUnsent();
    open(deadline);
}

void MovieSeat::sayWishes()
{
    if (mAreWishesSaid)
        return;
    mAreWishesSaid = mPlayer->send(ToPlayer { .kind = ToPlayer::Kind::Wishes, .wishes = mWishes });
    mIsStuck = !mAreWishesSaid;
}

void MovieSeat::open(Moment deadline)
{
    const auto file = mSession->file();
    if (mIsOpened || !file)
        return;
    const ToPlayer message { .kind = ToPlayer::Kind::Open,
        .hasSound = mHasSound ? 1U : 0U,
        .hasGraphicsCard = hasGraphicsCard() ? 1U : 0U };
    mIsOpened = mPlayer->send(message, file->descriptor.get());
    mIsStuck = mIsStuck || !mIsOpened;
    if (mIsOpened)
        mDeadline = deadline;
}

void MovieSeat::fail()
{
    mIsFailed = true;
    mSession->end(MovieEnd::Failed);
}

} // namespace quorvane
