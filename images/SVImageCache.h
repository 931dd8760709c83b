// SPDX-License-Identifier: GPL-3.0-or-later
// The few pictures that were shown last, or will be shown next.
#pragma once

#include "images/SVImage.h"
#include "platform/Decoding.h"
#include "platform/LifeGuard.h"
#include "platform/Result.h"

#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace quorvane {

/// Keeps at most five decoded pictures, the most recently used first, found by their URL. A file
/// that cannot be decoded is never kept: each request tries again.
///
/// There is one, shared. Thread: main; files are opened on the global queue and decoded by the
/// decoder.
class SVImageCache {
public:
    using Image = std::shared_ptr<SVImage>;

    /// Whether the file was left alone while it was decoded.
    enum class FileState {
        Settled,
        Changing, ///< It is still being written: there is no picture of it yet.
    };

    /// Called on the main thread; the picture is nullptr when the file cannot be decoded, or not
    /// yet.
    using Completion = std::function<void(const Image&, FileState)>;

    /// The device pixels at which a picture of the given size will be shown; called on any thread.
    using TargetSize = std::function<QSize(QSize)>;

    SVImageCache() = default;

    static SVImageCache& instance();

    /// The kept picture, or the file decoded here and now, which takes its time.
    static Image imageWithURL(const FileURL& url);

    /// The same with the result dropped: decodes ahead of need.
    static void cacheImageWithURL(const FileURL& url);

    /// Forgets the picture of a file that has changed, also one that is being decoded right now.
    static void removeImageWithURL(const FileURL& url);

    /// Forgets everything, and what is still being decoded.
    static void purge();

    /// Asks for a picture without waiting, in the pixels that the screen needs. `done` is called
    /// before this returns if it is kept in its target size already; else later, once it is
    /// decoded. A kept picture whose file cannot be decoded again keeps the pixels that it has.
    /// Several requests for one file are answered together, in the size that the last one wants.
    void requestImageWithURL(const FileURL& url, const TargetSize& target, Completion done);

    /// Decodes ahead of need, when no request is waiting for a decoder.
    void readAhead(const FileURL& url, const TargetSize& target);

    /// Calls nobody who waits for the file, and stops decoding it.
    void abandonRequest(const FileURL& url);

    /// Lets go of everything asked for, and calls nobody any more.
    void cancelRequests();

    /// Puts a picture in front, in place of the last one if there are five.
    void addImage(const Image& image);

    /// The first picture of that URL, moved to the front; nullptr if there is none.
    Image findImageWithURL(const FileURL& url);

    void removeAll() { mCache.clear(); }

    /// Most recently used first.
    const std::vector<Image>& images() const { return mCache; }

private:
    struct Job;

    void startJob(const FileURL& url, const TargetSize& target, DecodeRequest::Priority priority);
    void join(const std::shared_ptr<Job>& job, const TargetSize& target,
        DecodeRequest::Priority priority);
    void enqueue(const std::shared_ptr<Job>& job);
    void finishJob(
        const std::shared_ptr<Job>& job, const Result<DecodeAnswer>& decoded, FileState state);
    void dropReadAhead(const FileURL& wanted);
    void forget(const FileURL& url);

    std::vector<Image> mCache;
    std::unordered_map<FileURL, std::shared_ptr<Job>> mJobs; ///< Under way or waiting.
    LifeGuard mLifeGuard;
};

} // namespace quorvane
