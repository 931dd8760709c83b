// SPDX-License-Identifier: GPL-3.0-or-later
// One file of the show.
#pragma once

#include "platform/Clock.h"
#include "platform/FileStatus.h"
#include "platform/FileURL.h"
#include "platform/TypeIdentifier.h"

#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

/// A file, with a snapshot of its attributes and the name by which it is sorted. Two items are
/// equal exactly when their URLs are; attributes and names play no part in it.
///
/// Thread: any; not changed once it is in a list.
class SlideItem {
public:
    /// Reads the attributes from the file system.
    static std::shared_ptr<SlideItem> itemWithURL(
        const FileURL& url, SlideKind kind = SlideKind::Picture);

    /// Spares that, for a file that is known to be no link and whose status was just read.
    static std::shared_ptr<SlideItem> itemWithURL(
        const FileURL& url, const FileStatus& status, SlideKind kind = SlideKind::Picture);

    /// Reads the attributes and the name again.
    void refreshAttributes();

    /// Nothing when the attributes could not be read.
    std::optional<FileTime> fileModificationDate() const;

    /// Whether the file has been left alone for at least one second. An item that was changed
    /// later, or is dated in the future, is read again once.
    bool isReady(const Clock& clock);

    /// Whether the file's extension is "jpg", in capitals or not. A "jpeg" does not count.
    bool isJPG() const;

    const FileURL& mURL() const { return mUrl; }

    SlideKind kind() const { return mKind; }

    /// Attributes of the file that links lead to; nothing when they could not be read.
    const std::optional<FileStatus>& mAttributes() const { return mStatus; }

    /// Of the URL; kept, since in a long list the URLs lie all over the memory.
    size_t hash() const { return mHash; }

    /// Last component of the path that links lead to: a link is named by its target.
    const QByteArray& mFileName() const { return mName; }

    friend bool operator==(const SlideItem& a, const SlideItem& b) { return a.mUrl == b.mUrl; }

    // Orders of this item against another: negative, 0 for the same, or positive.

    /// The older file first; a file of unknown date is older than all.
    int dateCompare(const SlideItem& other) const;

    /// By name: runs of digits by their value, letters without regard to case, no locale.
    int nameCompare(const SlideItem& other) const;

    /// By name without extension, letter for letter.
    int baseCompare(const SlideItem& other) const;

    /// By path, letter for letter, and by the parameter of the address where either has one.
    int urlCompare(const SlideItem& other) const;

private:
    SlideItem(const FileURL& url, const FileStatus& status, SlideKind kind);
    SlideItem(const FileURL& url, SlideKind kind);

    FileURL mUrl;
    size_t mHash;
    QByteArray mName;
    SlideKind mKind;
    std::optional<FileStatus> mStatus;
};

using SlideItems = std::vector<std::shared_ptr<SlideItem>>;

} // namespace quorvane

template <> struct std::hash<quorvane::SlideItem> {
    size_t operator()(const quorvane::SlideItem& item) const noexcept { return item.hash(); }
};
