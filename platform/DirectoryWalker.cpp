// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DirectoryWalker.h"

#include "platform/PathRules.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <deque>

namespace quorvane {

namespace {

/// Folders held open at a time. In a deeper tree the outer ones are read to their end and closed,
/// so that no tree uses up the descriptors that the program may have (1024 as a rule).
constexpr size_t kOpenFolders = 64;

struct NamedKind {
    QByteArray name;
    FileKind kind;
};

FileKind kindOf(DIR* folder, const dirent& entry)
{
    switch (entry.d_type) {
    case DT_REG:
        return FileKind::Regular;
    case DT_DIR:
        return FileKind::Folder;
    case DT_LNK:
        return FileKind::Link;
    case DT_UNKNOWN: // Some file systems do not tell.
        break;
    default:
        return FileKind::Special;
    }
    struct stat status = {};
    if (fstatat(dirfd(folder), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return FileKind::Special;
    if (S_ISDIR(status.st_mode))
        return FileKind::Folder;
    if (S_ISLNK(status.st_mode))
        return FileKind::Link;
    return S_ISREG(status.st_mode) ? FileKind::Regular : FileKind::Special;
}

bool isSelfOrParent(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

/// The entries of one folder, one after the other.
class DirectoryWalker::Stream {
public:
    Stream(DIR* folder, QByteArray relativePath, int level)
        : mFolder(folder)
        , mRelativePath(std::move(relativePath))
        , mLevel(level)
    {
    }

    ~Stream() { close(); }

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    std::optional<NamedKind> next()
    {
        if (mFolder)
            return read();
        if (mRest.empty())
            return {};
        NamedKind entry = std::move(mRest.front());
        mRest.pop_front();
        return entry;
    }

    /// Reads what is left into memory and gives the descriptor back.
    void release()
    {
        while (mFolder) {
            if (auto entry = read())
                mRest.push_back(std::move(*entry));
        }
    }

    const QByteArray& relativePath() const { return mRelativePath; }
    int level() const { return mLevel; } ///< Of the entries.

private:
    std::optional<NamedKind> read()
    {
        while (const dirent* entry = readdir(mFolder)) {
            if (!isSelfOrParent(entry->d_name))
                return NamedKind { entry->d_name, kindOf(mFolder, *entry) };
        }
        close();
        return {};
    }

    void close()
    {
        if (mFolder)
            closedir(mFolder);
        mFolder = nullptr;
    }

    DIR* mFolder; ///< Null once it is read to the end.
    std::deque<NamedKind> mRest;
    const QByteArray mRelativePath;
    const int mLevel;
};

DirectoryWalker::DirectoryWalker(QByteArray folder)
    : mFolder(std::move(folder))
{
    enter({}, 1);
}

DirectoryWalker::~DirectoryWalker() = default;

std::optional<DirectoryEntry> DirectoryWalker::next()
{
    if (mEntersLast)
        enter(mLastFolder, mLastLevel + 1);
    mEntersLast = false;

    while (!mStreams.empty()) {
        Stream& stream = *mStreams.back();
        const auto found = stream.next();
        if (!found) {
            mStreams.pop_back();
            continue;
        }
        DirectoryEntry entry { stream.relativePath().isEmpty()
                ? found->name
                : stream.relativePath() + '/' + found->name,
            stream.level(), found->kind };
        if (entry.kind == FileKind::Folder) {
            mLastFolder = entry.relativePath;
            mLastLevel = entry.level;
            mEntersLast = true;
        }
        return entry;
    }
    return {};
}

void DirectoryWalker::enter(const QByteArray& relativePath, int level)
{
    if (mStreams.size() >= kOpenFolders)
        mStreams[mStreams.size() - kOpenFolders]->release();

    const bool isStart = relativePath.isEmpty();
    const QByteArray path = isStart ? mFolder : joinPath(mFolder, relativePath);
    // Not through a link: a sub-folder may have been replaced by one since it was met.
    const int descriptor = open(path.constData(),
        O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | (isStart ? 0 : O_NOFOLLOW));
    if (descriptor < 0)
        return;
    if (DIR* folder = fdopendir(descriptor))
        mStreams.push_back(std::make_unique<Stream>(folder, relativePath, level));
    else
        close(descriptor);
}

} // namespace quorvane
