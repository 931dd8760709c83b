// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Bookmark.h"

#include "platform/FileStatus.h"

#include <QtEndian>

#include <sys/stat.h>

#include <atomic>
#include <utility>

namespace quorvane {

namespace {

// A byte for the version, then numbers in network order: device, inode, length of the path; then
// the path. The length makes sure that no part of a path is taken for a path.
constexpr char kVersion = 1;
constexpr qsizetype kDeviceAt = 1;
constexpr qsizetype kInodeAt = kDeviceAt + 8;
constexpr qsizetype kLengthAt = kInodeAt + 8;
constexpr qsizetype kPathAt = kLengthAt + 4;

template <typename T> QByteArray bytesOf(T number)
{
    QByteArray bytes(sizeof(T), '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

template <typename T> T numberAt(const QByteArray& data, qsizetype place)
{
    return qFromBigEndian<T>(data.constData() + place);
}

bool isAbsolutePath(const QByteArray& path) { return path.startsWith('/') && !path.contains('\0'); }

QByteArray tidied(const QByteArray& path)
{
    QByteArray result;
    for (const QByteArray& component : path.split('/')) {
        if (component == "..")
            return resolvingLinks(path); // What lies above a link only the disk knows.
        if (!component.isEmpty() && component != ".")
            result += '/' + component;
    }
    return result.isEmpty() ? QByteArrayLiteral("/") : result;
}

bool isFolder(const QByteArray& path, struct stat& status)
{
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::atomic<int>& accessCount()
{
    static std::atomic<int> count = 0;
    return count;
}

} // namespace

std::optional<Bookmark> Bookmark::bookmarkForPath(const QByteArray& path)
{
    struct stat status = {};
    if (!isAbsolutePath(path) || !isFolder(path, status))
        return {};
    Bookmark bookmark;
    bookmark.mPath = tidied(path);
    bookmark.mDevice = status.st_dev;
    bookmark.mInode = status.st_ino;
    return bookmark;
}

std::optional<Bookmark> Bookmark::fromData(const QByteArray& data)
{
    if (data.size() <= kPathAt || data[0] != kVersion)
        return {};
    Bookmark bookmark;
    bookmark.mPath = data.mid(kPathAt);
    bookmark.mDevice = numberAt<quint64>(data, kDeviceAt);
    bookmark.mInode = numberAt<quint64>(data, kInodeAt);
    if (bookmark.mPath.size() != numberAt<quint32>(data, kLengthAt)
        || !isAbsolutePath(bookmark.mPath))
        return {};
    return bookmark;
}

QByteArray Bookmark::data() const
{
    return QByteArray(1, kVersion) + bytesOf(mDevice) + bytesOf(mInode)
        + bytesOf(static_cast<quint32>(mPath.size())) + mPath;
}

std::optional<ResolvedBookmark> Bookmark::resolve() const
{
    struct stat status = {};
    if (!isFolder(mPath, status))
        return {};
    return ResolvedBookmark { FileURL(mPath), false };
}

FolderAccess::FolderAccess(FileURL url)
    : mURL(std::move(url))
{
    ++accessCount();
}

FolderAccess::FolderAccess(FolderAccess&& other) noexcept
    : mURL(std::exchange(other.mURL, FileURL()))
{
}

FolderAccess& FolderAccess::operator=(FolderAccess&& other) noexcept
{
    if (this != &other) {
        stop();
        mURL = std::exchange(other.mURL, FileURL());
    }
    return *this;
}

FolderAccess::~FolderAccess() { stop(); }

int FolderAccess::count() { return accessCount(); }

void FolderAccess::stop()
{
    if (!mURL.isEmpty())
        --accessCount();
}

} // namespace quorvane
