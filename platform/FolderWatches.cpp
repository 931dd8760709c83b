// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderWatches.h"

#include "platform/PathRules.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace quorvane {

namespace {

/// Not IN_MODIFY: what is being written is of interest when its writer is done.
constexpr quint32 kAsked = IN_CREATE | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO
    | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

constexpr quint32 kFolderIsGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT;

/// A few thousand events of files with short names.
constexpr size_t kBufferSize = size_t(128) << 10;

/// More would only take memory; who is forgotten is found a little later, by a look at the folder.
constexpr size_t kMostUnfinished = 10'000;

} // namespace

/// An event as the kernel has it.
struct FolderWatches::Message {
    int folder = -1;
    quint32 mask = 0;
    QByteArray name; ///< Empty for the folder itself.
};

FolderWatches::FolderWatches(FileDescriptor inotify)
    : mInotify(std::move(inotify))
{
}

std::shared_ptr<FolderWatches> FolderWatches::create()
{
    FileDescriptor inotify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (inotify.get() < 0)
        return nullptr;
    return std::shared_ptr<FolderWatches>(new FolderWatches(std::move(inotify)));
}

void FolderWatches::beginRound()
{
    const std::lock_guard lock(mGuard);
    ++mRound;
}

void FolderWatches::watch(const QByteArray& folder)
{
    // Without the lock: a folder on a disk that does not answer must hold up nobody who reads. A
    // folder that is watched already keeps its number.
    const int number = inotify_add_watch(mInotify.get(), folder.constData(), kAsked);
    if (number < 0)
        return;
    const std::lock_guard lock(mGuard);
    mFolders[number] = { folder, mRound };
}

void FolderWatches::endRound()
{
    const std::lock_guard lock(mGuard);
    std::vector<int> unmet;
    for (const auto& [number, folder] : mFolders) {
        if (folder.round != mRound)
            unmet.push_back(number);
    }
    for (const int number : unmet)
        letGo(number);
}

void FolderWatches::letGo(int number)
{
    inotify_rm_watch(mInotify.get(), number);
    mFolders.erase(number);
}

size_t FolderWatches::count() const
{
    const std::lock_guard lock(mGuard);
    return mFolders.size();
}

std::vector<FolderEvent> FolderWatches::read()
{
    const std::lock_guard lock(mGuard);
    alignas(inotify_event) std::array<char, kBufferSize> buffer;
    const ssize_t size = ::read(mInotify.get(), buffer.data(), buffer.size());

    std::vector<FolderEvent> events;
    inotify_event event = {};
    for (ssize_t at = 0; at + ssize_t { sizeof(event) } <= size;) {
        std::memcpy(&event, buffer.data() + at, sizeof(event));
        at += ssize_t { sizeof(event) };
        // Zeros fill the name up.
        add(events, { event.wd, event.mask, event.len > 0 ? QByteArray(buffer.data() + at) : "" });
        at += ssize_t { event.len };
    }
    return events;
}

void FolderWatches::add(std::vector<FolderEvent>& events, const Message& message)
{
    if (message.mask & IN_Q_OVERFLOW) {
        events.push_back({ {}, FolderEvent::Lost });
        return;
    }
    const auto folder = mFolders.find(message.folder);
    if (folder == mFolders.end())
        return;
    const QByteArray path = folder->second.path;
    if (message.mask & IN_IGNORED) {
        mFolders.erase(folder);
    } else if (message.mask & kFolderIsGone) {
        letGo(message.folder);
        events.push_back({ path, FolderEvent::Removed });
    } else if (!message.name.isEmpty()) {
        QByteArray entry = joinPath(path, message.name);
        const FolderEvent::Kinds kinds = kindsOfFile(entry, message.mask);
        events.push_back({ std::move(entry), kinds });
    }
}

FolderEvent::Kinds FolderWatches::kindsOfFile(const QByteArray& path, quint32 mask)
{
    const bool isFolder = mask & IN_ISDIR;
    if (mask & IN_CREATE) {
        if (mUnfinished.size() >= kMostUnfinished)
            mUnfinished.clear();
        if (!isFolder)
            mUnfinished.insert(path);
        return FolderEvent::Created;
    }
    const bool wasUnfinished = mUnfinished.erase(path) > 0;
    if (mask & IN_CLOSE_WRITE) {
        FolderEvent::Kinds kinds = FolderEvent::Modified;
        kinds.setFlag(FolderEvent::Created, wasUnfinished);
        return kinds;
    }
    if (mask & IN_MOVED_TO && !isFolder)
        return FolderEvent::Renamed | FolderEvent::Modified;
    return mask & IN_DELETE ? FolderEvent::Removed : FolderEvent::Renamed;
}

} // namespace quorvane
