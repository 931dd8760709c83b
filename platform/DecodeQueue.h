// SPDX-License-Identifier: GPL-3.0-or-later
// The files that wait for a decoder.
#pragma once

#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace quorvane {

/// One file that is to be decoded.
struct DecodeJob {
    DecodeTicket ticket = 0;
    FileDescriptor file;
    DecodeRequest request;
    DecodeDone done;
    std::atomic<bool> isCancelled = false;

    // The pool's thread's.
    bool needsFresh = false; ///< It broke a decoder: only for one that has opened nothing yet.
    bool needsEverything = false; ///< Not for a decoder that knows photographs only.
    int breaks = 0; ///< Decoders that broke on it, or were silent.
    int kills = 0; ///< Decoders that somebody else ended while they worked on it.
};

/// What a decoder can be given.
struct DecoderAbility {
    bool isFresh; ///< It has opened nothing yet.
    bool knowsEverything; ///< Not photographs only.
};

/// Keeps requests in the order of their priority, and in that of their coming within one. Thread:
/// any.
class DecodeQueue {
public:
    using JobPointer = std::shared_ptr<DecodeJob>;

    /// \param changed  called when there is something new to look at, on any thread.
    explicit DecodeQueue(std::function<void()> changed);

    /// \param file  copied. \return 0 when there is no descriptor left for the copy.
    DecodeTicket add(const FileDescriptor& file, DecodeRequest request, DecodeDone done);
    void cancel(DecodeTicket ticket);
    void setPriority(DecodeTicket ticket, DecodeRequest::Priority priority);

    /// The most urgent one that such a decoder can be given; it is under way from now on.
    /// \return nullptr for none.
    JobPointer take(DecoderAbility ability);

    /// One that not every decoder can be given, under way from now on. \return nullptr for none.
    JobPointer takeDemanding();

    /// The most urgent one, which goes on waiting.
    JobPointer first() const;

    /// To be tried again, before others of its priority.
    void putBack(const JobPointer& job);

    /// It has been answered, or nobody wants it.
    void finish(const JobPointer& job);

    /// Waits until nothing waits or is under way.
    void drain();

    /// While suspended, there is nothing to take.
    void setSuspended(bool isSuspended);

private:
    JobPointer find(DecodeTicket ticket) const;
    JobPointer firstWaiting(DecoderAbility ability) const;
    JobPointer begin(JobPointer job);

    const std::function<void()> mChanged;
    mutable std::mutex mMutex; // Guards all below.
    std::condition_variable mFinished;
    std::vector<JobPointer> mWaiting;
    std::vector<JobPointer> mUnderWay;
    DecodeTicket mLastTicket = 0;
    bool mIsSuspended = false;
};

} // namespace quorvane
