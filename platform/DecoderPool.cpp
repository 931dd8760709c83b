// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecoderPool.h"

#include "platform/DecoderProcess.h"
#include "platform/Polling.h"

#include <QLoggingCategory>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace quorvane {

namespace {

using std::chrono::steady_clock;

/// A file is tried on two decoders; one that breaks both is not tried again.
constexpr int kBreakLimit = 2;

/// A decoder that somebody else ends is not the file's fault, but not for ever.
constexpr int kKillLimit = 100;

/// One that is killed with more than this in use is the file's fault: it was the kernel, short of
/// memory. Most photographs need a tenth.
constexpr qint64 kModestMemory = qint64(1) << 30;

/// Decoders that end before they are ready, in a row, before the pool stops trying.
constexpr int kFailedStartLimit = 3;

/// Pictures after which a decoder is replaced by a fresh one: what a library loses or spoils does
/// not add up for ever.
constexpr int kServiceLimit = 1000;

/// Between the end of a decoder's socket and the end of the decoder.
constexpr std::chrono::seconds kEndLimit { 1 };

/// What a decoder gets to finish a file that nobody wants any more, when it stands in the way of
/// the next one: about as long as a new decoder takes to start.
constexpr std::chrono::milliseconds kGrace { 100 };

/// Pixels of the largest picture handed over: two gigabytes.
constexpr qint64 kPixelLimit = qint64(1) << 29;

/// Pixels of the longer side of a picture: beyond it there are no photographs, only broken headers.
constexpr int kSideLimit = 1 << 24;

constexpr int kBytesPerPixel = 4;

Error errorIn(const FromDecoder& message)
{
    const auto last = static_cast<std::uint32_t>(ErrorKind::Other);
    return { static_cast<ErrorKind>(std::min(message.error, last)),
        QString::fromUtf8(message.text.data()) };
}

/// \return nothing when it cannot be meant.
std::optional<MovieInformation> informationIn(const FromDecoder& message)
{
    const QSize size(message.width, message.height);
    const bool isSize = size == QSize(0, 0)
        || (!size.isEmpty() && std::max(size.width(), size.height()) <= kSideLimit);
    if (!isSize || message.pictureTracks < 0 || message.soundTracks < 0
        || !std::isfinite(message.seconds))
        return {};
    return MovieInformation { message.pictureTracks, message.soundTracks, size,
        message.seconds < 0 ? std::nullopt : std::optional(message.seconds),
        QString::fromUtf8(message.text.data()).simplified() };
}

} // namespace

/// A decoder and what it is doing.
struct DecoderPool::Worker {
    enum class State {
        Starting,
        Idle,
        Opening,
        Rendering,
        Ending, ///< Its socket is closed already.
    };

    std::unique_ptr<DecoderProcess> process;
    DecoderProcess::Kind kind;
    State state = State::Starting;
    DecodeQueue::JobPointer job; ///< While Opening or Rendering, or when it ended doing so.
    Moment deadline; ///< Unless Idle.
    Moment begun; ///< When the job was begun.
    int served = 0; ///< Files that it was given.
    int targetNumber = 0; ///< Of the target that it knows.

    QSize pictureSize; ///< Of the job.
    int orientation = 1;
    QSize wantedSize;
    SharedBuffers::Lease buffer;

    DecoderAbility ability() const
    {
        return { served == 0, kind == DecoderProcess::Kind::Everything };
    }
    bool isWorking() const { return state == State::Opening || state == State::Rendering; }
    bool isDescribing() const
    {
        return state == State::Opening
            && job->request.what == DecodeRequest::What::MovieInformation;
    }
    bool isUnwanted() const { return isWorking() && job->isCancelled; }

    bool expects(FromDecoder::Kind message) const
    {
        switch (message) {
        case FromDecoder::Kind::Ready:
            return state == State::Starting;
        case FromDecoder::Kind::Opened:
            return state == State::Opening && !isDescribing();
        case FromDecoder::Kind::Described:
            return isDescribing();
        case FromDecoder::Kind::Unknown:
            return state == State::Opening;
        case FromDecoder::Kind::Rendered:
            return state == State::Rendering;
        case FromDecoder::Kind::Failed:
            return isWorking();
        }
        return false; // No kind at all.
    }
};

DecoderPool::DecoderPool(Options options)
    : mOptions(std::move(options))
    , mQueue([this] { mWake.ring(); })
{
}

DecoderPool::~DecoderPool()
{
    mIsEnding = true;
    mWake.ring();
    const std::lock_guard lock(mThreadMutex);
    if (mThread.joinable())
        mThread.join();
}

void DecoderPool::warmUp() { startThread(); }

DecodeTicket DecoderPool::decode(
    const FileDescriptor& file, DecodeRequest request, const DecodeDone& done)
{
    startThread();
    const DecodeTicket ticket = mQueue.add(file, std::move(request), done);
    if (ticket == 0)
        done(fail(ErrorKind::Other, QStringLiteral("too many open files")));
    return ticket;
}

void DecoderPool::cancel(DecodeTicket ticket) { mQueue.cancel(ticket); }

void DecoderPool::setPriority(DecodeTicket ticket, DecodeRequest::Priority priority)
{
    mQueue.setPriority(ticket, priority);
}

void DecoderPool::setTarget(const QByteArray& profile)
{
    auto memory
        = profile.isEmpty() ? nullptr : SharedMemory::create(static_cast<size_t>(profile.size()));
    if (memory
        && pwrite(memory->descriptor(), profile.constData(), memory->size(), 0)
            != static_cast<ssize_t>(memory->size()))
        memory = nullptr;
    const std::lock_guard lock(mTargetMutex);
    mTarget = std::move(memory);
    ++mTargetNumber;
}

void DecoderPool::drain() { mQueue.drain(); }

void DecoderPool::suspend() { mQueue.setSuspended(true); }

void DecoderPool::resume() { mQueue.setSuspended(false); }

void DecoderPool::startThread()
{
    const std::lock_guard lock(mThreadMutex);
    if (mThread.joinable())
        return;
    mThread = std::thread([this] {
        pthread_setname_np(pthread_self(), "decoder pool");
        work();
    });
}

void DecoderPool::work()
{
    while (!mIsEnding) {
        replaceWorkers();
        assignJobs();
        wait();
        for (const auto& worker : mWorkers)
            serve(*worker);
        std::erase_if(mWorkers, [](const auto& worker) { return !worker->process; });
        std::erase_if(
            mEndingProcesses, [](const auto& process) { return process->end().has_value(); });
    }
    mWorkers.clear();
    mEndingProcesses.clear();
}

void DecoderPool::wait()
{
    std::vector<pollfd> watched { pollFor(mWake.descriptor()) };
    for (const auto& worker : mWorkers) {
        watched.push_back(pollFor(worker->process->processDescriptor()));
        if (worker->state != Worker::State::Ending)
            watched.push_back(pollFor(worker->process->socket()));
    }
    for (const auto& process : mEndingProcesses)
        watched.push_back(pollFor(process->processDescriptor()));
    pollUntil(watched, nextDeadline());
    mWake.silence();
}

DecoderPool::Moment DecoderPool::nextDeadline() const
{
    Moment next = Moment::max();
    for (const auto& worker : mWorkers) {
        if (worker->state != Worker::State::Idle)
            next = std::min(next, worker->deadline);
        if (worker->isUnwanted() && worker->begun + kGrace > steady_clock::now())
            next = std::min(next, worker->begun + kGrace);
    }
    return next;
}

void DecoderPool::serve(Worker& worker)
{
    FromDecoder message;
    while (worker.process && worker.state != Worker::State::Ending) {
        const Received received = worker.process->receive(message);
        if (received == Received::Nothing)
            break;
        if (received == Received::Message) {
            handle(worker, message);
        } else if (received == Received::End) {
            worker.state = Worker::State::Ending;
            worker.deadline = steady_clock::now() + kEndLimit;
        } else {
            handleSilence(worker);
        }
    }
    if (!worker.process)
        return;
    if (const auto end = worker.process->end())
        handleEnd(worker, *end);
    else if (worker.state != Worker::State::Idle && steady_clock::now() >= worker.deadline)
        handleSilence(worker);
}

void DecoderPool::handle(Worker& worker, const FromDecoder& message)
{
    using Kind = FromDecoder::Kind;
    if (!worker.expects(message.kind)) {
        handleSilence(worker); // It talks, but not sense.
        return;
    }
    switch (message.kind) {
    case Kind::Ready:
        handleReady(worker, message);
        break;
    case Kind::Opened:
        worker.orientation = std::clamp(message.orientation, 1, 8);
        handleOpened(worker, { message.width, message.height });
        break;
    case Kind::Described:
        handleDescribed(worker, message);
        break;
    case Kind::Rendered:
        handleRendered(worker, message.isOpaque != 0);
        break;
    case Kind::Unknown:
        handOn(worker);
        break;
    case Kind::Failed:
        answer(worker, tl::make_unexpected(errorIn(message)));
        break;
    }
}

void DecoderPool::handleReady(Worker& worker, const FromDecoder& message)
{
    worker.state = Worker::State::Idle;
    mFailedStarts = 0;
    if (message.text.front() != '\0' && !std::exchange(mHasToldProtections, true))
        qInfo("This kernel cannot confine the decoder by: %s", message.text.data());
}

void DecoderPool::handleOpened(Worker& worker, QSize size)
{
    if (size.isEmpty() || std::max(size.width(), size.height()) > kSideLimit) {
        handleSilence(worker);
        return;
    }
    if (worker.job->isCancelled) {
        answer(worker, fail(ErrorKind::Other, {}));
        return;
    }
    const auto& sizeFor = worker.job->request.sizeFor;
    const QSize wanted = sizeFor ? sizeFor(size) : size;
    const qint64 pixels = qint64(wanted.width()) * wanted.height();
    bool isNew = false;
    if (!wanted.isEmpty() && pixels <= kPixelLimit)
        worker.buffer = worker.process->buffers().take(size_t(pixels) * kBytesPerPixel, isNew);
    if (!worker.buffer) {
        answer(worker,
            fail(ErrorKind::TooLarge,
                QStringLiteral("%1x%2").arg(wanted.width()).arg(wanted.height())));
        return;
    }
    worker.pictureSize = size;
    worker.wantedSize = wanted;
    worker.state = Worker::State::Rendering;
    worker.deadline = steady_clock::now() + mOptions.answerLimit;
    ToDecoder message { ToDecoder::Kind::Forget };
    for (const std::uint64_t number : worker.process->buffers().takeForgotten()) {
        message.buffer = number;
        worker.process->send(message);
    }
    message = { ToDecoder::Kind::Render, 0, wanted.width(), wanted.height(), worker.buffer->number,
        worker.buffer->memory->size() };
    worker.process->send(message, isNew ? worker.buffer->memory->descriptor() : -1);
}

void DecoderPool::handleDescribed(Worker& worker, const FromDecoder& message)
{
    auto information = informationIn(message);
    if (!information) {
        handleSilence(worker);
        return;
    }
    DecodeAnswer described;
    described.movie = std::move(*information);
    answer(worker, std::move(described));
}

void DecoderPool::handleRendered(Worker& worker, bool isOpaque)
{
    const auto* const bits = reinterpret_cast<const uchar*>(worker.buffer->memory->data());
    const auto format = isOpaque ? PixelBuffer::Format::Opaque : PixelBuffer::Format::Premultiplied;
    const QSize size = worker.wantedSize;
    answer(worker,
        DecodeAnswer { PixelBuffer(worker.buffer, bits, size,
                           qsizetype(size.width()) * kBytesPerPixel, format),
            worker.pictureSize, worker.orientation, {} });
}

/// To a decoder that knows more.
void DecoderPool::handOn(Worker& worker)
{
    if (worker.kind == DecoderProcess::Kind::Everything) {
        answer(worker, fail(ErrorKind::Unsupported, QStringLiteral("not a picture")));
        return;
    }
    worker.state = Worker::State::Idle;
    const auto job = std::exchange(worker.job, nullptr);
    job->needsEverything = true;
    mQueue.putBack(job);
}

void DecoderPool::answer(Worker& worker, Result<DecodeAnswer> result)
{
    mHasServed = true;
    const auto job = std::exchange(worker.job, nullptr);
    worker.buffer = nullptr;
    worker.state = Worker::State::Idle;
    if (worker.served >= kServiceLimit)
        retire(worker);
    if (!job->isCancelled)
        job->done(std::move(result));
    mQueue.finish(job);
}

/// It says nothing, or nothing sensible.
void DecoderPool::handleSilence(Worker& worker)
{
    if (worker.state == Worker::State::Starting)
        ++mFailedStarts;
    tryAgain(worker, false);
    retire(worker);
}

void DecoderPool::handleEnd(Worker& worker, const ServiceEnd& end)
{
    const bool wasKilled
        = (end.signal == SIGKILL || end.signal == SIGTERM) && end.mostMemory < kModestMemory;
    if (worker.state == Worker::State::Starting || (worker.served == 0 && !worker.job))
        mFailedStarts += wasKilled ? 0 : 1;
    tryAgain(worker, wasKilled);
    worker.process = nullptr;
}

void DecoderPool::tryAgain(Worker& worker, bool wasKilled)
{
    worker.buffer = nullptr;
    const auto job = std::exchange(worker.job, nullptr);
    if (!job || job->isCancelled)
        return;
    ++(wasKilled ? job->kills : job->breaks);
    if (job->breaks < kBreakLimit && job->kills < kKillLimit) {
        job->needsFresh = job->breaks > 0;
        mQueue.putBack(job);
        return;
    }
    job->done(fail(ErrorKind::Damaged, QStringLiteral("it breaks the decoder")));
    mQueue.finish(job);
}

void DecoderPool::assignJobs()
{
    auto working = std::count_if(
        mWorkers.begin(), mWorkers.end(), [](const auto& worker) { return worker->isWorking(); });
    while (working < mOptions.workers) {
        const auto next = mQueue.first();
        Worker* const worker = next ? idleWorkerFor(*next) : nullptr;
        if (!worker)
            break;
        const auto job = mQueue.take(worker->ability());
        if (!job)
            break; // Cancelled meanwhile.
        begin(*worker, job);
        ++working;
    }
    makeRoom();
}

/// For a file that may have any decoder one that has worked already, so that fresh ones remain.
DecoderPool::Worker* DecoderPool::idleWorkerFor(const DecodeJob& job) const
{
    Worker* found = nullptr;
    for (const auto& worker : mWorkers) {
        const DecoderAbility ability = worker->ability();
        const bool suits = worker->process && worker->state == Worker::State::Idle
            && (ability.isFresh || !job.needsFresh)
            && (ability.knowsEverything || !job.needsEverything);
        if (suits && (!found || worker->served > found->served))
            found = worker.get();
    }
    return found;
}

void DecoderPool::begin(Worker& worker, const DecodeQueue::JobPointer& job)
{
    worker.job = job;
    worker.state = Worker::State::Opening;
    worker.begun = steady_clock::now();
    worker.deadline = worker.begun + mOptions.answerLimit;
    ++worker.served;
    tellTarget(worker);
    ToDecoder message { ToDecoder::Kind::Open, static_cast<std::uint32_t>(job->request.what) };
    message.seconds = job->request.seconds;
    // If it is gone already, its end is the next that is heard of it.
    worker.process->send(message, job->file.get());
}

void DecoderPool::tellTarget(Worker& worker)
{
    const std::lock_guard lock(mTargetMutex);
    if (std::exchange(worker.targetNumber, mTargetNumber) == mTargetNumber)
        return;
    worker.process->send({ ToDecoder::Kind::Target }, mTarget ? mTarget->descriptor() : -1);
}

/// Ends a decoder that stands in the way of the next file: one whose work nobody wants any more,
/// or, when a fresh one is needed, one that is not.
void DecoderPool::makeRoom()
{
    const auto next = mQueue.first();
    const bool isSomeStarting = std::any_of(mWorkers.begin(), mWorkers.end(),
        [](const auto& worker) { return worker->state == Worker::State::Starting; });
    if (!next || isSomeStarting || idleWorkerFor(*next))
        return;
    for (const auto& worker : mWorkers) {
        const bool isUnwanted
            = worker->isUnwanted() && worker->begun + kGrace <= steady_clock::now();
        const bool isUsedUp = (next->needsFresh || next->needsEverything)
            && worker->state == Worker::State::Idle && worker->served > 0;
        if (isUnwanted || isUsedUp) {
            worker->job = nullptr;
            retire(*worker);
            mWake.ring();
            break;
        }
    }
    std::erase_if(mWorkers, [](const auto& worker) { return !worker->process; });
}

void DecoderPool::retire(Worker& worker)
{
    worker.process->buffers().close();
    worker.process->kill();
    mEndingProcesses.push_back(std::move(worker.process));
}

/// The first one starts quickly and knows photographs; the others start one after the other when a
/// first picture is there, or needs them: nothing is to take the processors from that.
void DecoderPool::replaceWorkers()
{
    const bool isSomeStarting = std::any_of(mWorkers.begin(), mWorkers.end(),
        [](const auto& worker) { return worker->state == Worker::State::Starting; });
    if (isSomeStarting || mWorkers.size() > static_cast<size_t>(mOptions.workers))
        return;
    const auto next = mQueue.first();
    const bool isFirstAtWork
        = !mWorkers.empty() && !mHasServed && (!next || !next->needsEverything);
    if (isFirstAtWork)
        return;
    if (mFailedStarts >= kFailedStartLimit) {
        giveUpStarting();
        return;
    }
    auto worker = std::make_unique<Worker>();
    worker->kind = std::exchange(mHasStarted, true) ? DecoderProcess::Kind::Everything
                                                    : DecoderProcess::Kind::Photographs;
    worker->process = DecoderProcess::start(mOptions.program, worker->kind);
    worker->deadline = steady_clock::now() + mOptions.startLimit;
    if (worker->process) {
        mWorkers.push_back(std::move(worker));
    } else {
        ++mFailedStarts;
        mWake.ring();
    }
}

/// Until somebody wants something again: then there is one more attempt.
void DecoderPool::giveUpStarting()
{
    const auto takeHopeless = [this] {
        return mWorkers.empty() ? mQueue.take({ .isFresh = true, .knowsEverything = true })
                                : mQueue.takeDemanding();
    };
    auto job = takeHopeless();
    if (!job)
        return;
    if (!std::exchange(mHasToldFailure, true))
        qWarning("The decoder %s cannot be started.", mOptions.program.constData());
    for (; job; job = takeHopeless()) {
        job->done(fail(ErrorKind::Other, QStringLiteral("the decoder cannot be started")));
        mQueue.finish(job);
    }
    mFailedStarts = kFailedStartLimit - 1;
}

} // namespace quorvane
