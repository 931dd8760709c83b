// SPDX-License-Identifier: GPL-3.0-or-later
// The ordered list of slides that the show walks through.
#pragma once

#include "platform/Clock.h"
#include "platform/LifeGuard.h"
#include "platform/Trash.h"
#include "sequence/SlideList.h"
#include "sequence/SlideOrder.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>

namespace quorvane {

class FolderEvents;
class UserDefaults;
struct DirectoryEntry;
struct FolderEvent;
struct FolderLook;
struct FolderWatch;
struct UnfinishedFiles;

/// Hears from a FileSequence; on any thread.
class FileSequenceDelegate {
public:
    virtual ~FileSequenceDelegate() = default;

    /// The list holds its first file: the show can start before collecting ends.
    virtual void firstFileFound() = 0;

    /// A look at the watched folder added files to the show.
    virtual void newFilesFound() = 0;

    /// The file at the current position changed on disk.
    virtual void currentFileChanged() = 0;
};

/// Collects displayable files, keeps them in order and knows the current one. A single folder is
/// watched: files that come join the list, files that go leave it. Settings are read at the moment
/// of use. Nothing is ever reported: what cannot be read is not in the list, what cannot be
/// answered is nothing.
///
/// Thread: made and destroyed on the main one, used on any. A lock guards the list, never while the
/// file system is asked, the list is sorted or the delegate is called; so looking at it costs the
/// main thread no wait while a queue fills it.
class FileSequence {
public:
    using Trash = std::function<bool(const FileURL&)>;

    /// Position after a step back in an empty list; a step forward from it leads to the first
    /// slide, a step back nowhere.
    static constexpr size_t kBeforeFirst = SlideList::kBeforeFirst;

    /// \param defaults, clock  must outlive the sequence.
    /// \param trash            moves a file to the trash; false when it could not.
    FileSequence(const UserDefaults& defaults, Clock& clock, Trash trash = quorvane::moveToTrash,
        RandomBelow random = systemRandomBelow);
    ~FileSequence();

    FileSequence(const FileSequence&) = delete;
    FileSequence& operator=(const FileSequence&) = delete;

    /// Not owned; nullptr for none. Set before anything is collected.
    void setDelegate(FileSequenceDelegate* delegate) { myDelegate = delegate; }

    // Collecting. Slow: on a queue, one at a time.

    /// Adds files and folders, each folder with all that is in it, and sorts the list.
    void addURLs(const std::vector<FileURL>& urls);
    void addFiles(const std::vector<QByteArray>& paths);

    /// Adds one file if it can be displayed, or a folder. Does not sort. What is in the list
    /// already is added once more.
    void addURL(const FileURL& url);
    void addFile(const QByteArray& path);

    /// Adds what is in a folder, as deep as "MaxFolderLevel" says. Hidden at the top of the folder
    /// is what begins with a dot, with all below it; further down such files are taken. The first
    /// folder of a list is watched, if it was opened alone; a second one ends that.
    void addDirectory(const QByteArray& path);

    /// Ends a collection that is under way on another thread as soon as it notices, and lets none
    /// begin before the next clear().
    void stopCollecting() { mStopCollecting = true; }

    /// Whether the file's type is one that this machine can display. PDF and PostScript never are.
    static bool displayableURL(const FileURL& url);

    // The position.

    size_t count() const { return mList->count(); }
    size_t currentIndex() const { return mList->currentIndex(); }
    std::optional<FileURL> current() const { return mList->current(); }

    /// Whether one of the slides is a movie, or sound. Asks the list, no file.
    bool isMovie(const FileURL& url) const { return mList->isMovie(url); }

    /// Goes to the first slide.
    std::optional<FileURL> first() { return mList->first(); }

    /// Steps on. At the end under "EndModeRewind" it rewinds; under any other mode the position
    /// stays on the last slide and the answer is nothing.
    std::optional<FileURL> next();

    /// Steps back; from the first slide to the last, whatever the end mode.
    std::optional<FileURL> previous() { return mList->previous(); }

    /// The slide at `index`, without moving; nothing beyond the end.
    std::optional<FileURL> URLAtIndex(size_t index) const { return mList->URLAtIndex(index); }

    /// Goes to `index`; nothing, and no move, beyond the end.
    std::optional<FileURL> gotoIndex(size_t index) { return mList->gotoIndex(index); }

    /// The slide `offset` places on, or back if negative, without moving; wraps once at either end.
    std::optional<FileURL> atOffset(qint64 offset) const { return mList->atOffset(offset); }

    /// Goes to the first place and sorts: a random order is dealt anew.
    void rewind();

    // Changing the list.

    /// Moves the current file to the trash and gives the slide that takes its place. Nothing, and
    /// nothing is changed, when that fails; nothing as well when the list is empty then.
    std::optional<FileURL> trash();

    /// The two halves of trash(), for disks that take their time. \param url  what was the current
    /// slide when the person said so. Thread of the first: any.
    bool moveToTrash(const FileURL& url) const;
    std::optional<FileURL> takeOutTrashed(const FileURL& url);

    /// Takes out a file that cannot be shown, for good, as often as it is listed.
    void remove(const FileURL& url);

    /// Empties the list and ends every collection. What was taken out for good is remembered.
    void clear();

    // Order. The position keeps its number: another slide may stand there afterwards.

    void sort();
    void sortArray(SlideItems& items) const;
    void shuffle();

    /// Takes out the files that accompany a JPEG; see removeCompanions().
    void removeDuplicates();
    void removeDuplicates(SlideItems& items);

    /// Takes out a file that is still being written. It comes back as a new one when it is
    /// finished. Thread: main.
    void putOff(const FileURL& url);

    /// Whether files are being written that will join the list. Thread: main.
    bool awaitsFiles() const { return mHasUnfinished || !mPutOff.empty(); }

    /// What was taken out for good, in the order in which it was.
    std::vector<FileURL> mRemovedURLs() const { return mList->takenOut(); }

    // The watched folder.

    /// Its path; empty when none is watched.
    QByteArray mHotFolder() const;

    /// Ends the watch.
    void stopHotfolder();

    /// Looks at the folder, on another thread, and puts what has come and gone into the list, on
    /// the main one. While files are being collected it waits for the end of that. Thread: main.
    void updateHotFolder();

    /// The file was written: if it is the current one, the delegate hears of it. Thread: main.
    void itemChanged(const FileURL& url);

    /// When the folder was last looked at, or before that, five seconds before the watch began.
    /// Nothing depends on it. Thread: main.
    TimePoint mLastHotfolderScan() const { return mLastScan; }
    void setMLastHotfolderScan(TimePoint time) { mLastScan = time; }
    void resetHotFolderScanTime();

private:
    class Collecting;

    bool isCollectingEnded() const;
    void addEntry(const FileURL& url);
    void walk(const QByteArray& path);
    void addKnownFile(const QByteArray& path, const DirectoryEntry& entry);
    void addItem(const std::shared_ptr<SlideItem>& item);
    void checkFirstFile(size_t count);
    void rewindFromEnd();

    // The watch. On the main thread, unless said otherwise.
    std::shared_ptr<FolderWatch> watchFirstFolder(const QByteArray& path); ///< Collecting thread.
    std::shared_ptr<FolderWatch> currentWatch() const; ///< Any thread.
    void adoptWatch();
    void folderChanged(const std::vector<FolderEvent>& events);
    void lookSoon();
    void startLook();
    void lookFinished(
        const std::shared_ptr<FolderWatch>& watch, const std::shared_ptr<const FolderLook>& look);
    void mergeLook(const std::shared_ptr<FolderWatch>& watch,
        const std::shared_ptr<const FolderLook>& look, int triesLeft);
    void lookEnded();
    bool isOver(const FolderWatch& watch) const;
    void forgetUnfinished();

    const UserDefaults& mDefaults;
    Clock& mClock;
    const Trash mTrash;
    const RandomBelow mRandom;
    FileSequenceDelegate* myDelegate = nullptr;
    bool mAddDirectories = true; ///< Whether a folder that is met is entered. Collecting thread.
    /// Whether the next folder that is added may be the watched one.
    std::atomic<bool> mAllowHotFolder = true;
    std::atomic<bool> mStopCollecting = false;
    std::atomic<quint64> mClearings = 0; ///< Written with the list's lock.
    quint64 mCollectedClearings = 0; ///< When the collection began. Collecting thread.

    /// Shared with looks that may outlast the sequence, on a disk that does not answer.
    const std::shared_ptr<SlideList> mList = std::make_shared<SlideList>();

    mutable std::mutex mWatchGuard;
    std::shared_ptr<FolderWatch> mWatch; ///< nullptr while no folder is watched.

    std::atomic<int> mCollections = 0; ///< Under way.
    std::atomic<bool> mOwesLook = false; ///< At the end of them.

    // Of the main thread.
    std::shared_ptr<FolderWatch> mAdoptedWatch; ///< What the stream and the timer belong to.
    std::unique_ptr<FolderEvents> mEventStream;
    std::unique_ptr<Timer> mTimer; ///< Looks every five seconds.
    std::unique_ptr<Timer> mSoonTimer; ///< Looks once, for files that may be finished then.
    TimePoint mLastScan {};
    bool mIsLooking = false;
    bool mLooksAgain = false; ///< Something happened during the look.
    bool mHasUnfinished = false; ///< The last look met files that are being written.
    std::unordered_set<FileURL> mPutOff;
    std::shared_ptr<UnfinishedFiles> mUnfinished; ///< Used by one look at a time.

    LifeGuard mLifeGuard;
};

} // namespace quorvane
