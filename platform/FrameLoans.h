// SPDX-License-Identifier: GPL-3.0-or-later
// The memory that a player of movies draws its frames into.
#pragma once

#include "platform/PlayerProtocol.h"
#include "platform/SharedBuffers.h"

#include <QImage>

#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

class ServiceProcess;

/// Lends one player memory, and makes images of what comes back. A frame that somebody still holds
/// is never lent again, so nothing is drawn over it. Thread: one; the images any.
class FrameLoans {
public:
    FrameLoans() = default;

    /// The images stay as they are.
    ~FrameLoans() { mBuffers->close(); }

    FrameLoans(const FrameLoans&) = delete;
    FrameLoans& operator=(const FrameLoans&) = delete;

    /// Frames will have this size.
    void setSize(QSize size);

    /// Sends what the player has not been told. \return false when there is no memory.
    bool send(ServiceProcess& player);

    /// Whether the player has to hear more, once it listens again.
    bool isUnsent() const { return !mForgotten.empty() || (mLoan && !mLoan->isSent); }

    /// The frame that a message of the player tells of. \return nothing if that cannot be.
    std::optional<QImage> take(const FromPlayer& message);

private:
    struct Loan {
        std::uint64_t number = 0;
        SharedBuffers::Lease memory;
        bool isNew = false; ///< The player has not seen this memory.
        bool isSent = false;
    };

    bool lend();
    SharedBuffers::Lease takeBack(std::uint64_t number);

    std::shared_ptr<SharedBuffers> mBuffers = std::make_shared<SharedBuffers>();
    std::size_t mBytes = 0; ///< Of a frame; 0 for none.
    std::optional<Loan> mLoan; ///< The one that counts.
    std::vector<Loan> mEarlier; ///< Void, but the player may not have known when it drew.
    std::vector<std::uint64_t> mForgotten; ///< Buffers that the player has to forget.
    std::uint64_t mLastNumber = 0;
};

} // namespace quorvane
