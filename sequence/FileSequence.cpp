// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/FileSequence.h"

#include "platform/DirectoryWalker.h"
#include "platform/FolderEvents.h"
#include "platform/MainQueue.h"
#include "platform/PathRules.h"
#include "platform/TypeIdentifier.h"
#include "platform/UserDefaults.h"
#include "sequence/FolderLook.h"
#include "settings/SettingsCatalogue.h"

namespace quorvane {

namespace {

/// Nothing for what cannot be displayed.
std::optional<SlideKind> kindOf(const FileURL& url)
{
    return TypeIdentifier::slideKindOf(TypeIdentifier::typeIdentifierForFile(url.path()));
}

} // namespace

/// While files are being collected, a look at the folder would list them twice. One that was asked
/// for meanwhile is made up for.
class FileSequence::Collecting {
public:
    explicit Collecting(FileSequence& sequence)
        : mSequence(sequence)
    {
        ++mSequence.mCollections;
        mSequence.mCollectedClearings = mSequence.mClearings;
    }

    ~Collecting()
    {
        if (--mSequence.mCollections == 0 && mSequence.mOwesLook.exchange(false))
            MainQueue::async(mSequence.mLifeGuard.wrap(
                [sequence = &mSequence] { sequence->updateHotFolder(); }));
    }

    Collecting(const Collecting&) = delete;
    Collecting& operator=(const Collecting&) = delete;

private:
    FileSequence& mSequence;
};

FileSequence::FileSequence(
    const UserDefaults& defaults, Clock& clock, Trash trash, RandomBelow random)
    : mDefaults(defaults)
    , mClock(clock)
    , mTrash(std::move(trash))
    , mRandom(std::move(random))
    , mUnfinished(std::make_shared<UnfinishedFiles>())
{
}

FileSequence::~FileSequence()
{
    if (const auto watch = currentWatch())
        watch->isOver = true; // A look that is under way ends.
}

void FileSequence::addURLs(const std::vector<FileURL>& urls)
{
    const Collecting collecting(*this);
    mAllowHotFolder = urls.size() == 1;
    for (const FileURL& url : urls)
        addEntry(url);
    sort();
}

void FileSequence::addFiles(const std::vector<QByteArray>& paths)
{
    const Collecting collecting(*this);
    mAllowHotFolder = paths.size() == 1;
    mAddDirectories = true;
    for (const QByteArray& path : paths)
        addEntry(FileURL(path));
    sort();
}

void FileSequence::addFile(const QByteArray& path) { addURL(FileURL(path)); }

void FileSequence::addURL(const FileURL& url)
{
    const Collecting collecting(*this);
    addEntry(url);
}

void FileSequence::addDirectory(const QByteArray& path)
{
    const Collecting collecting(*this);
    walk(path);
}

bool FileSequence::isCollectingEnded() const
{
    return mStopCollecting || mCollectedClearings != mClearings;
}

void FileSequence::addEntry(const FileURL& url)
{
    if (isCollectingEnded())
        return;
    const auto status = fileStatus(url.path());
    if (!status)
        return;
    if (status->kind == FileKind::Folder) {
        if (mAddDirectories)
            walk(url.path());
        return;
    }
    if (const auto kind = kindOf(url))
        addItem(SlideItem::itemWithURL(url, *kind));
}

void FileSequence::walk(const QByteArray& path)
{
    mAddDirectories = false;
    const auto watch = watchFirstFolder(path);
    const auto watches = watch ? watch->watches : nullptr;
    if (watches)
        watches->watch(path);
    const qint64 maxLevel = mDefaults.integerValue(kMaxFolderLevel);
    DirectoryWalker walker(path);
    while (!isCollectingEnded()) {
        const auto entry = walker.next();
        if (!entry)
            break;
        const bool isHidden = entry->relativePath.startsWith('.');
        if (isHidden || (maxLevel > 0 && entry->level > maxLevel))
            walker.skipDescendants();
        else if (entry->kind != FileKind::Folder)
            addKnownFile(joinPath(path, entry->relativePath), *entry);
        else if (watches && (maxLevel <= 0 || entry->level < maxLevel))
            watches->watch(joinPath(path, entry->relativePath));
    }
    mAddDirectories = true;
}

void FileSequence::addKnownFile(const QByteArray& path, const DirectoryEntry& entry)
{
    if (entry.kind == FileKind::Link) {
        addEntry(FileURL(path));
        return;
    }
    if (entry.kind != FileKind::Regular)
        return;
    const auto kind
        = TypeIdentifier::slideKindOf(TypeIdentifier::typeIdentifierForRegularFile(path));
    if (!kind)
        return;
    if (const auto status = linkStatus(path))
        addItem(SlideItem::itemWithURL(FileURL(path), *status, *kind));
}

bool FileSequence::displayableURL(const FileURL& url) { return kindOf(url).has_value(); }

void FileSequence::addItem(const std::shared_ptr<SlideItem>& item)
{
    if (const auto count = mList->append(item, [this] { return isCollectingEnded(); }))
        checkFirstFile(*count);
}

void FileSequence::checkFirstFile(size_t count)
{
    if (count == 1 && myDelegate)
        myDelegate->firstFileFound();
}

std::optional<FileURL> FileSequence::next()
{
    const auto isPastEnd = mList->advance();
    if (!isPastEnd)
        return {};
    if (*isPastEnd && mDefaults.stringValue(kEndMode) == kEndModeRewind)
        rewind();
    return mList->currentBeforeEnd(); // Or nothing, if it was cleared meanwhile.
}

void FileSequence::rewind()
{
    mList->gotoStart();
    sort();
}

std::optional<FileURL> FileSequence::trash()
{
    const auto url = current();
    return url && moveToTrash(*url) ? takeOutTrashed(*url) : std::nullopt;
}

bool FileSequence::moveToTrash(const FileURL& url) const { return !url.isEmpty() && mTrash(url); }

std::optional<FileURL> FileSequence::takeOutTrashed(const FileURL& url)
{
    mList->takeOutOne(url);
    rewindFromEnd();
    return current();
}

void FileSequence::remove(const FileURL& url)
{
    mList->takeOut(url, true);
    rewindFromEnd();
}

void FileSequence::putOff(const FileURL& url)
{
    mList->takeOut(url, false);
    rewindFromEnd();
    mPutOff.insert(url);
    lookSoon();
}

void FileSequence::rewindFromEnd()
{
    if (mList->isPastEnd())
        rewind();
}

void FileSequence::clear()
{
    stopHotfolder();
    mList->clear([this] {
        ++mClearings;
        mStopCollecting = false;
    });
    mAllowHotFolder = true;
    MainQueue::async(mLifeGuard.wrap([this] { forgetUnfinished(); }));
}

void FileSequence::sort()
{
    mList->change([this](SlideItems& items) { sortArray(items); });
}

void FileSequence::sortArray(SlideItems& items) const
{
    sortItems(items, mDefaults.stringValue(kSort), mRandom);
}

void FileSequence::shuffle()
{
    mList->change([this](SlideItems& items) { shuffleItems(items, mRandom); });
}

void FileSequence::removeDuplicates()
{
    std::vector<FileURL> removed;
    mList->change([&removed](SlideItems& items) { removed = removeCompanions(items); });
    mList->addTakenOut(removed);
}

void FileSequence::removeDuplicates(SlideItems& items)
{
    mList->addTakenOut(removeCompanions(items));
}

} // namespace quorvane
