// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/SlideItem.h"

#include "platform/PathRules.h"
#include "platform/TextRules.h"

namespace quorvane {

namespace {

/// How long a file must have been left alone to count as finished.
constexpr Duration kSettled = std::chrono::seconds(1);

bool isSettled(const std::optional<FileTime>& modified, FileTime now)
{
    return modified && now - *modified >= kSettled;
}

int sign(FileTime a, FileTime b) { return a < b ? -1 : (a > b ? 1 : 0); }

/// The text that urlCompare() compares.
QByteArray urlKey(const FileURL& url)
{
    if (url.parameterString().isNull())
        return url.path();
    return url.path() + ';' + url.parameterString();
}

} // namespace

std::shared_ptr<SlideItem> SlideItem::itemWithURL(const FileURL& url, SlideKind kind)
{
    return std::shared_ptr<SlideItem>(new SlideItem(url, kind));
}

std::shared_ptr<SlideItem> SlideItem::itemWithURL(
    const FileURL& url, const FileStatus& status, SlideKind kind)
{
    return std::shared_ptr<SlideItem>(new SlideItem(url, status, kind));
}

SlideItem::SlideItem(const FileURL& url, const FileStatus& status, SlideKind kind)
    : mUrl(url)
    , mHash(std::hash<FileURL>()(url))
    , mName(lastPathComponent(url.path()).toByteArray())
    , mKind(kind)
    , mStatus(status)
{
}

SlideItem::SlideItem(const FileURL& url, SlideKind kind)
    : mUrl(url)
    , mHash(std::hash<FileURL>()(url))
    , mKind(kind)
{
    refreshAttributes();
}

void SlideItem::refreshAttributes()
{
    const QByteArray resolved = resolvingLinks(mUrl.path());
    mName = lastPathComponent(resolved).toByteArray();
    mStatus = linkStatus(resolved);
}

std::optional<FileTime> SlideItem::fileModificationDate() const
{
    if (!mStatus)
        return {};
    return mStatus->modified;
}

bool SlideItem::isReady(const Clock& clock)
{
    if (isSettled(fileModificationDate(), clock.fileTime()))
        return true;
    refreshAttributes();
    return isSettled(fileModificationDate(), clock.fileTime());
}

bool SlideItem::isJPG() const
{
    return pathExtension(mUrl.path()).compare("jpg", Qt::CaseInsensitive) == 0;
}

int SlideItem::dateCompare(const SlideItem& other) const
{
    return sign(fileModificationDate().value_or(FileTime::min()),
        other.fileModificationDate().value_or(FileTime::min()));
}

int SlideItem::nameCompare(const SlideItem& other) const
{
    return compareNumericCaseless(mName, other.mName);
}

int SlideItem::baseCompare(const SlideItem& other) const
{
    return comparePlain(deletingPathExtension(mName), deletingPathExtension(other.mName));
}

int SlideItem::urlCompare(const SlideItem& other) const
{
    return comparePlain(urlKey(mUrl), urlKey(other.mUrl));
}

} // namespace quorvane
