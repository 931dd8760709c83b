// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FrameLoans.h"

#include "platform/ServiceProcess.h"

#include <algorithm>
#include <utility>

namespace quorvane {

namespace {

/// Pixels of the longer side of a frame. Beyond it there are no screens.
constexpr int kSideLimit = 1 << 16;

/// Memory that is so much larger than a frame is wasted on it. Bytes.
constexpr std::size_t kMostWaste = std::size_t(1) << 20;

bool isTooLarge(std::size_t size, std::size_t bytes) { return size > 2 * bytes + kMostWaste; }

bool fits(const FromPlayer& message, std::size_t size)
{
    constexpr std::uint64_t bytesPerPixel = 4;
    if (message.width <= 0 || message.height <= 0 || message.width > kSideLimit
        || message.height > kSideLimit)
        return false;
    const auto width = static_cast<std::uint64_t>(message.width);
    const auto height = static_cast<std::uint64_t>(message.height);
    // Rows that would overlap, or that lie at odd places.
    const bool isStepRight
        = message.step >= width * bytesPerPixel && message.step % bytesPerPixel == 0;
    return isStepRight && message.step <= size / height;
}

void giveBack(void* lease) { delete static_cast<SharedBuffers::Lease*>(lease); }

} // namespace

void FrameLoans::setSize(QSize size)
{
    const bool isPossible
        = !size.isEmpty() && size.width() <= kSideLimit && size.height() <= kSideLimit;
    mBytes = isPossible ? frameBytes(size.width(), size.height()) : 0;
    if (!mLoan)
        return;
    const std::size_t lent = mLoan->memory->memory->size();
    if (lent < mBytes || isTooLarge(lent, mBytes))
        mEarlier.push_back(*std::exchange(mLoan, std::nullopt));
}

bool FrameLoans::send(ServiceProcess& player)
{
    if (mBytes != 0 && !mLoan && !lend())
        return false;
    const auto forgotten = mBuffers->takeForgotten();
    mForgotten.insert(mForgotten.end(), forgotten.begin(), forgotten.end());
    ToPlayer message { .kind = ToPlayer::Kind::Forget };
    while (!mForgotten.empty()) {
        message.buffer = mForgotten.back();
        if (!player.send(message))
            return true;
        mForgotten.pop_back();
    }
    if (!mLoan || mLoan->isSent)
        return true;
    const SharedBuffers::Buffer& buffer = *mLoan->memory;
    message.kind = ToPlayer::Kind::Lend;
    message.loan = mLoan->number;
    message.buffer = buffer.number;
    message.bufferSize = buffer.memory->size();
    mLoan->isSent = player.send(message, mLoan->isNew ? buffer.memory->descriptor() : -1);
    return true;
}

bool FrameLoans::lend()
{
    Loan loan { .number = mLastNumber + 1, .memory = {} };
    loan.memory = mBuffers->take(mBytes, loan.isNew);
    if (!loan.memory)
        return false;
    ++mLastNumber;
    mLoan = std::move(loan);
    return true;
}

std::optional<QImage> FrameLoans::take(const FromPlayer& message)
{
    auto lease = takeBack(message.loan);
    if (!lease || !fits(message, lease->memory->size()))
        return {};
    const auto* const pixels = reinterpret_cast<const uchar*>(lease->memory->data());
    auto held = std::make_unique<SharedBuffers::Lease>(std::move(lease));
    QImage frame(pixels, message.width, message.height, static_cast<qsizetype>(message.step),
        QImage::Format_RGB32, &giveBack, held.get());
    if (frame.isNull())
        return {};
    [[maybe_unused]] const auto* const owned = held.release();
    return frame;
}

SharedBuffers::Lease FrameLoans::takeBack(std::uint64_t number)
{
    // What was lent before this one has not been drawn into since.
    std::erase_if(mEarlier, [number](const Loan& loan) { return loan.number < number; });
    if (mLoan && mLoan->isSent && mLoan->number == number)
        return std::exchange(mLoan, std::nullopt)->memory;
    const auto found = std::find_if(mEarlier.begin(), mEarlier.end(),
        [number](const Loan& loan) { return loan.isSent && loan.number == number; });
    if (found == mEarlier.end())
        return nullptr;
    auto lease = std::move(found->memory);
    mEarlier.erase(found);
    return lease;
}

} // namespace quorvane
