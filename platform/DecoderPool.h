// SPDX-License-Identifier: GPL-3.0-or-later
// The decoders that are kept running, and who gets which.
#pragma once

#include "platform/DecodeQueue.h"
#include "platform/DecoderProtocol.h"
#include "platform/Decoding.h"
#include "platform/Doorbell.h"
#include "platform/FileDescriptor.h"
#include "platform/SharedMemory.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvane {

struct ServiceEnd;
class DecoderProcess;

/// Hands files to decoders, one at a time each, the most urgent first. One decoder more than may
/// work is kept ready: it takes the place of one that breaks. One thread does all that.
class DecoderPool {
public:
    struct Options {
        QByteArray program; ///< The decoder's path.
        int workers = 2; ///< Decoders that may work at the same time.
        std::chrono::milliseconds answerLimit { 10'000 }; ///< For each answer of a decoder.
        std::chrono::milliseconds startLimit { 10'000 }; ///< Until it is ready.
    };

    explicit DecoderPool(Options options);

    /// Ends the decoders. Nobody is called any more.
    ~DecoderPool();

    DecoderPool(const DecoderPool&) = delete;
    DecoderPool& operator=(const DecoderPool&) = delete;

    void warmUp();
    DecodeTicket decode(const FileDescriptor& file, DecodeRequest request, const DecodeDone& done);
    void cancel(DecodeTicket ticket);
    void setPriority(DecodeTicket ticket, DecodeRequest::Priority priority);

    /// See setDecodingTarget().
    void setTarget(const QByteArray& profile);

    /// Waits until every request has been answered. Thread: any but the pool's.
    void drain();

    /// Between the two no request is begun; those under way go on. For tests.
    void suspend();
    void resume();

private:
    struct Worker;
    using Moment = std::chrono::steady_clock::time_point;

    void startThread();

    // All of these run on the pool's thread.
    void work();
    void wait();
    Moment nextDeadline() const;
    void serve(Worker& worker);
    void handle(Worker& worker, const FromDecoder& message);
    void handleReady(Worker& worker, const FromDecoder& message);
    void handleOpened(Worker& worker, QSize size);
    void handleDescribed(Worker& worker, const FromDecoder& message);
    void handleRendered(Worker& worker, bool isOpaque);
    void answer(Worker& worker, Result<DecodeAnswer> result);
    void handleSilence(Worker& worker);
    void handleEnd(Worker& worker, const ServiceEnd& end);
    void tryAgain(Worker& worker, bool wasKilled);
    void assignJobs();
    Worker* idleWorkerFor(const DecodeJob& job) const;
    void handOn(Worker& worker);
    void begin(Worker& worker, const DecodeQueue::JobPointer& job);
    void tellTarget(Worker& worker);
    void makeRoom();
    void retire(Worker& worker);
    void replaceWorkers();
    void giveUpStarting();

    const Options mOptions;
    Doorbell mWake; ///< Rung when the thread has to look again.
    DecodeQueue mQueue;
    std::atomic<bool> mIsEnding = false;

    // The thread's own.
    std::vector<std::unique_ptr<Worker>> mWorkers;
    std::vector<std::unique_ptr<DecoderProcess>> mEndingProcesses; ///< Killed, not gone yet.
    bool mHasStarted = false; ///< The first decoder, which is for photographs.
    bool mHasServed = false; ///< A file.
    int mFailedStarts = 0; ///< In a row.
    bool mHasToldProtections = false;
    bool mHasToldFailure = false; ///< That no decoder can be started.

    std::mutex mTargetMutex; // Guards the next two.
    std::unique_ptr<SharedMemory> mTarget; ///< The bytes of the profile; none for sRGB.
    int mTargetNumber = 0; ///< Counts the changes.

    std::mutex mThreadMutex; // Guards the next one.
    std::thread mThread;
};

} // namespace quorvane
