// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/SVImageCache.h"

#include "platform/Assertion.h"
#include "platform/DispatchQueue.h"
#include "platform/FileStability.h"
#include "platform/MainQueue.h"
#include "platform/SystemClock.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace quorvane {

namespace {

/// Two slides back, two ahead and the one on screen.
constexpr size_t kCapacity = 5;

bool isPreparedFor(const SVImage& image, const SVImageCache::TargetSize& target)
{
    return image.getCGImage().size() == target(image.pictureSize());
}

DispatchQueue::Priority queuePriority(DecodeRequest::Priority priority)
{
    return priority == DecodeRequest::Priority::OnScreen ? DispatchQueue::Priority::Urgent
                                                         : DispatchQueue::Priority::Ahead;
}

} // namespace

/// One file being opened and decoded. Owned by mJobs and by whoever works on it.
struct SVImageCache::Job : std::enable_shared_from_this<Job> {
    using Finish = std::function<void(Result<DecodeAnswer>, FileState)>;

    FileURL url;
    std::atomic<DecodeRequest::Priority> priority;

    std::atomic<bool> hasBegun = false;
    std::atomic<bool> isCancelled = false;
    std::atomic<DecodeTicket> ticket = 0; ///< Once it is in the decoder's hands.

    std::vector<Completion> waiting; ///< Main thread.
    bool isStale = false; ///< Main thread: the file changed meanwhile.

    /// On the global queue: opening may take its time. \param finish  called on any thread.
    void begin(const Finish& finish)
    {
        if (isCancelled || hasBegun.exchange(true))
            return;
        auto file = openForReading(url);
        if (!file) {
            finish(fail(ErrorKind::NotReadable, {}), FileState::Settled);
            return;
        }
        const auto opened = std::make_shared<OpenedFile>(std::move(*file));
        ticket = decodeAsync(opened->file,
            { DecodeRequest::What::Picture,
                [job = shared_from_this()](QSize picture) { return job->sizeFor(picture); },
                priority },
            [job = shared_from_this(), opened, finish](
                Result<DecodeAnswer> answer) { job->check(opened, std::move(answer), finish); });
        // What happened before there was a ticket.
        setDecodingPriority(ticket, priority);
        if (isCancelled)
            cancelDecoding(ticket);
    }

    void cancel()
    {
        isCancelled = true;
        cancelDecoding(ticket);
    }

    void setPriority(DecodeRequest::Priority wanted)
    {
        priority = wanted;
        setDecodingPriority(ticket, wanted);
    }

    /// The last one counts: it knows the screen as it is now.
    void setTarget(TargetSize target)
    {
        const std::lock_guard lock(mMutex);
        mTarget = std::move(target);
    }

    QSize sizeFor(QSize picture) const
    {
        const auto target = [this] {
            const std::lock_guard lock(mMutex);
            return mTarget;
        }();
        return target(picture);
    }

private:
    struct OpenedFile {
        explicit OpenedFile(FileDescriptor opened)
            : file(std::move(opened))
            , version(versionOf(file).value_or(FileVersion()))
            , wasAtRest(isAtRest(file, version, SystemClock().fileTime()))
        {
        }

        FileDescriptor file;
        FileVersion version;
        bool wasAtRest;
    };

    /// A file that somebody writes meanwhile may be read half, and make sense all the same. To ask
    /// about it takes its time, and the decoder's thread has none.
    void check(const std::shared_ptr<OpenedFile>& opened, Result<DecodeAnswer> answer,
        const Finish& finish) const
    {
        if (answer && opened->wasAtRest) {
            finish(std::move(answer), FileState::Settled);
            return;
        }
        DispatchQueue::global().async(
            [opened, path = url.path(), answer = std::move(answer), finish] {
                const bool mayBeHalf = mayBeIncomplete(opened->file, opened->version, path,
                    answer.has_value(), SystemClock().fileTime());
                finish(answer, mayBeHalf ? FileState::Changing : FileState::Settled);
            },
            queuePriority(priority));
    }

    mutable std::mutex mMutex; // Guards the target.
    TargetSize mTarget;
};

SVImageCache& SVImageCache::instance()
{
    static SVImageCache* const shared = new SVImageCache;
    return *shared;
}

SVImageCache::Image SVImageCache::imageWithURL(const FileURL& url)
{
    SVImageCache& cache = instance();
    if (Image found = cache.findImageWithURL(url))
        return found;
    Image image = SVImage::imageWithURL(url);
    if (image)
        cache.addImage(image);
    return image;
}

void SVImageCache::cacheImageWithURL(const FileURL& url) { imageWithURL(url); }

void SVImageCache::removeImageWithURL(const FileURL& url) { instance().forget(url); }

void SVImageCache::purge()
{
    instance().cancelRequests();
    instance().removeAll();
}

void SVImageCache::requestImageWithURL(
    const FileURL& url, const TargetSize& target, Completion done)
{
    const Image found = findImageWithURL(url);
    if (found && isPreparedFor(*found, target)) {
        done(found, FileState::Settled);
        return;
    }
    dropReadAhead(url);
    startJob(url, target, DecodeRequest::Priority::OnScreen);
    mJobs.at(url)->waiting.push_back(std::move(done));
}

void SVImageCache::readAhead(const FileURL& url, const TargetSize& target)
{
    const Image found = findImageWithURL(url);
    if (found && isPreparedFor(*found, target))
        return;
    startJob(url, target, DecodeRequest::Priority::Next);
}

void SVImageCache::abandonRequest(const FileURL& url)
{
    const auto entry = mJobs.find(url);
    if (entry == mJobs.end())
        return;
    entry->second->cancel();
    mJobs.erase(entry);
}

void SVImageCache::cancelRequests()
{
    for (auto& [url, job] : mJobs)
        job->cancel();
    mJobs.clear();
}

void SVImageCache::addImage(const Image& image)
{
    if (!image)
        Assertion::fail("the image may not be nil", "SVImageCache", 17);
    if (mCache.size() == kCapacity)
        mCache.pop_back();
    mCache.push_back(image);
    std::rotate(mCache.begin(), mCache.end() - 1, mCache.end());
}

SVImageCache::Image SVImageCache::findImageWithURL(const FileURL& url)
{
    const auto found = std::find_if(
        mCache.begin(), mCache.end(), [&](const Image& image) { return image->mURL() == url; });
    if (found == mCache.end())
        return nullptr;
    std::rotate(mCache.begin(), found, found + 1);
    return mCache.front();
}

void SVImageCache::startJob(
    const FileURL& url, const TargetSize& target, DecodeRequest::Priority priority)
{
    auto job = std::make_shared<Job>();
    job->url = url;
    job->priority = priority;
    job->setTarget(target);
    if (const auto entry = mJobs.find(url); entry != mJobs.end()) {
        Job& underWay = *entry->second;
        if (!underWay.isStale) {
            join(entry->second, target, priority);
            return;
        }
        // It reads the file as it was: whoever waits for it gets the file as it is now.
        underWay.cancel();
        if (!underWay.waiting.empty())
            job->priority = std::min<DecodeRequest::Priority>(priority, underWay.priority);
        job->waiting.swap(underWay.waiting);
    }
    mJobs.insert_or_assign(url, job);
    enqueue(job);
}

void SVImageCache::join(
    const std::shared_ptr<Job>& job, const TargetSize& target, DecodeRequest::Priority priority)
{
    job->setTarget(target);
    if (priority >= job->priority)
        return;
    job->setPriority(priority);
    enqueue(job); // It may still wait to be opened, behind all that is urgent.
}

void SVImageCache::enqueue(const std::shared_ptr<Job>& job)
{
    auto finish = mLifeGuard.wrap([this, job](const Result<DecodeAnswer>& answer, FileState state) {
        finishJob(job, answer, state);
    });
    auto finishOnMain = [finish](Result<DecodeAnswer> answer, FileState state) {
        MainQueue::async(
            [finish, answer = std::move(answer), state]() mutable { finish(answer, state); });
    };
    DispatchQueue::global().async(
        [job, finishOnMain] { job->begin(finishOnMain); }, queuePriority(job->priority));
}

void SVImageCache::finishJob(
    const std::shared_ptr<Job>& job, const Result<DecodeAnswer>& decoded, FileState state)
{
    const auto entry = mJobs.find(job->url);
    if (entry == mJobs.end() || entry->second != job)
        return; // Cancelled meanwhile.
    const bool isWhole = state == FileState::Settled;
    const auto answer = isWhole ? decoded : Result<DecodeAnswer>(fail(ErrorKind::Damaged, {}));
    Image image = job->isStale ? nullptr : findImageWithURL(job->url);
    if (image && answer) {
        image->setPixels(*answer);
    } else if (answer) {
        image = SVImage::imageWithPixels(job->url, *answer);
        if (image && !job->isStale)
            addImage(image);
    }
    const bool isOutgrown = answer && !job->isStale && !job->waiting.empty()
        && answer->pixels.size() != job->sizeFor(answer->pictureSize);
    if (isOutgrown) { // Somebody came for another size once it was opened.
        job->hasBegun = false;
        enqueue(job);
        return;
    }
    mJobs.erase(entry);
    for (const Completion& done : job->waiting)
        done(image, image ? FileState::Settled : state); // One that is kept is whole.
}

void SVImageCache::dropReadAhead(const FileURL& wanted)
{
    std::erase_if(mJobs, [&](const auto& entry) {
        const auto& [url, job] = entry;
        const bool isInTheWay = job->waiting.empty() && !(url == wanted);
        if (isInTheWay)
            job->cancel();
        return isInTheWay;
    });
}

void SVImageCache::forget(const FileURL& url)
{
    const auto found = std::find_if(
        mCache.begin(), mCache.end(), [&](const Image& image) { return image->mURL() == url; });
    if (found != mCache.end())
        mCache.erase(found);
    const auto job = mJobs.find(url);
    if (job != mJobs.end())
        job->second->isStale = true;
}

} // namespace quorvane
