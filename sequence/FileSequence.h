// SPDX-License-Identifier: GPL-3.0-or-later
// The ordered list of slides that the show walks through.
#pragma once

#include "platform/Trash.h"
#include "sequence/SlideItem.h"
#include "sequence/SlideOrder.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>

namespace quorvane {

class UserDefaults;
struct DirectoryEntry;

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

/// Collects displayable files, keeps them in order and knows the current one. Settings are read at
/// the moment of use. Nothing is ever reported: what cannot be read is not in the list, what cannot
/// be answered is nothing.
///
/// Thread: any. A lock guards the list, never while the file system is asked, the list is sorted or
/// the delegate is called; so looking at it costs the main thread no wait while a queue fills it.
class FileSequence {
public:
    using Trash = std::function<bool(const FileURL&)>;

    /// Position after a step back in an empty list; a step forward from it leads to the first
    /// slide, a step back nowhere.
    static constexpr size_t kBeforeFirst = static_cast<size_t>(-1);

    /// \param defaults  must outlive the sequence.
    /// \param trash     moves a file to the trash; false when it could not.
    explicit FileSequence(const UserDefaults& defaults, Trash trash = quorvane::moveToTrash,
        RandomBelow random = systemRandomBelow);

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
    /// is what begins with a dot, with all below it; further down such files are taken.
    void addDirectory(const QByteArray& path);

    /// Ends a collection that is under way on another thread as soon as it notices, and lets none
    /// begin before the next clear().
    void stopCollecting() { mStopCollecting = true; }

    /// Whether the file's type is one that this machine can display. PDF and PostScript never are.
    static bool displayableURL(const FileURL& url);

    // The position.

    size_t count() const;
    size_t currentIndex() const;
    std::optional<FileURL> current() const;

    /// Goes to the first slide.
    std::optional<FileURL> first();

    /// Steps on. At the end under "EndModeRewind" it rewinds; under any other mode the position
    /// stays on the last slide and the answer is nothing.
    std::optional<FileURL> next();

    /// Steps back; from the first slide to the last, whatever the end mode.
    std::optional<FileURL> previous();

    /// The slide at `index`, without moving; nothing beyond the end.
    std::optional<FileURL> URLAtIndex(size_t index) const;

    /// Goes to `index`; nothing, and no move, beyond the end.
    std::optional<FileURL> gotoIndex(size_t index);

    /// The slide `offset` places on, or back if negative, without moving; wraps once at either end.
    std::optional<FileURL> atOffset(qint64 offset) const;

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

    /// What was taken out for good, in the order in which it was.
    std::vector<FileURL> mRemovedURLs() const;

private:
    void beginCollecting() { mCollectedClearings = mClearings.load(); }
    bool isCollectingEnded() const;
    void addEntry(const FileURL& url);
    void walk(const QByteArray& path);
    void addKnownFile(const QByteArray& path, const DirectoryEntry& entry);
    void addItem(const std::shared_ptr<SlideItem>& item);
    void checkFirstFile(size_t count);
    void replaceItems(const std::function<void(SlideItems&)>& change);
    std::optional<FileURL> at(size_t index) const;
    void rewindFromEnd();

    const UserDefaults& mDefaults;
    const Trash mTrash;
    const RandomBelow mRandom;
    FileSequenceDelegate* myDelegate = nullptr;
    bool mAddDirectories = true; ///< Whether a folder that is met is entered. Collecting thread.
    std::atomic<bool> mStopCollecting = false;
    std::atomic<quint64> mClearings = 0; ///< Written with the lock.
    quint64 mCollectedClearings = 0; ///< When the collection began. Collecting thread.

    mutable std::mutex mGuard; // Of all below.
    SlideItems mItems; ///< In show order.
    quint64 mGeneration = 0; ///< Counts the changes of mItems other than additions.
    /// Below the count, or kBeforeFirst, or 0 in an empty list; beyond the end only while
    /// removeDuplicates() has left fewer slides than lay before it.
    size_t mCurrentFileIndex = 0;
    std::vector<FileURL> mTakenOut; ///< For good.
};

} // namespace quorvane
