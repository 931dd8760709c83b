// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/SVImageCache.h"

#include "platform/Assertion.h"
#include "platform/MainQueue.h"

#include <algorithm>
#include <atomic>

namespace quorvane {

namespace {

/// Two slides back, two ahead and the one on screen.
constexpr size_t kCapacity = 5;

bool isPreparedFor(const SVImage& image, const SVImageCache::TargetSize& target)
{
    return image.preparedImage().size() == target(image);
}

} // namespace

/// One file being decoded and prepared.
struct SVImageCache::Job {
    FileURL url;
    TargetSize target;
    Image kept; ///< Set when the picture is kept and only has to be prepared.

    std::atomic<bool> taken = false; ///< By the thread that does it, or by whoever cancelled it.
    Image image; ///< Result; nullptr when the file cannot be decoded.
    QImage prepared; ///< Result.

    std::vector<Completion> waiting; ///< Main thread.
    bool isStale = false; ///< Main thread: the file changed meanwhile.

    void run()
    {
        image = kept ? kept : SVImage::imageWithURL(url);
        if (image)
            prepared = image->scaledImage(target(*image));
    }
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
        done(found);
        return;
    }
    dropReadAhead();
    startJob(url, target, DispatchQueue::Priority::Urgent);
    mJobs.at(url)->waiting.push_back(std::move(done));
}

void SVImageCache::readAhead(const FileURL& url, const TargetSize& target)
{
    const Image found = findImageWithURL(url);
    if (found && isPreparedFor(*found, target))
        return;
    startJob(url, target, DispatchQueue::Priority::Ahead);
}

void SVImageCache::abandonRequest(const FileURL& url)
{
    const auto entry = mJobs.find(url);
    if (entry == mJobs.end())
        return;
    entry->second->waiting.clear();
    if (!entry->second->taken.exchange(true))
        mJobs.erase(entry);
}

void SVImageCache::cancelRequests()
{
    for (auto& [url, job] : mJobs)
        job->taken = true;
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
    const FileURL& url, const TargetSize& target, DispatchQueue::Priority priority)
{
    std::vector<Completion> waiting;
    if (const auto entry = mJobs.find(url); entry != mJobs.end()) {
        Job& underWay = *entry->second;
        if (!underWay.isStale)
            return;
        // It reads the file as it was: whoever waits for it gets the file as it is now.
        underWay.taken = true;
        waiting.swap(underWay.waiting);
    }
    auto job = std::make_shared<Job>();
    job->url = url;
    job->target = target;
    job->kept = findImageWithURL(url);
    job->waiting = std::move(waiting);
    mJobs.insert_or_assign(url, job);
    DispatchQueue::global().async(
        [job, finish = mLifeGuard.wrap([this](const std::shared_ptr<Job>& done) {
            finishJob(done);
        })]() mutable {
            if (job->taken.exchange(true))
                return;
            job->run();
            MainQueue::async([job, finish]() mutable { finish(job); });
        },
        priority);
}

void SVImageCache::finishJob(const std::shared_ptr<Job>& job)
{
    const auto entry = mJobs.find(job->url);
    if (entry == mJobs.end() || entry->second != job)
        return; // Cancelled meanwhile.
    mJobs.erase(entry);
    if (job->image) {
        job->image->setPreparedImage(job->prepared);
        if (!job->isStale && !findImageWithURL(job->url))
            addImage(job->image);
    }
    for (const Completion& done : job->waiting)
        done(job->image);
}

void SVImageCache::dropReadAhead()
{
    std::erase_if(mJobs, [](const auto& entry) {
        const auto& job = entry.second;
        return job->waiting.empty() && !job->taken.exchange(true);
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
