// SPDX-License-Identifier: GPL-3.0-or-later
#include "welcome/FolderPictures.h"

#include "platform/DirectoryWalker.h"
#include "platform/FileStatus.h"
#include "platform/PathRules.h"
#include "platform/TextRules.h"
#include "platform/TypeIdentifier.h"

#include <algorithm>
#include <utility>

namespace quorvane {

namespace {

constexpr int kMostEntries = 2000;
constexpr size_t kMostPictures = 12;

struct Contents {
    std::vector<QByteArray> pictures; ///< Whole paths, by name.
    std::vector<QByteArray> folders;
};

bool isPicture(const QByteArray& path, FileKind kind)
{
    if (kind != FileKind::Regular && kind != FileKind::Link)
        return false;
    const QString type = kind == FileKind::Link
        ? TypeIdentifier::typeIdentifierForFile(path)
        : TypeIdentifier::typeIdentifierForRegularFile(path);
    return !type.isEmpty() && TypeIdentifier::imageTypes().contains(type);
}

void sortByName(std::vector<QByteArray>& paths)
{
    std::vector<std::pair<QByteArray, QByteArray>> keyed;
    keyed.reserve(paths.size());
    for (const QByteArray& path : paths)
        keyed.emplace_back(numericCaselessKey(path), path);
    std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        const int order = compareNumericCaselessKeys(a.first, b.first);
        return order != 0 ? order < 0 : a.second < b.second;
    });
    std::transform(
        keyed.begin(), keyed.end(), paths.begin(), [](const auto& entry) { return entry.second; });
}

/// \param entriesLeft  how many entries may still be looked at.
Contents contentsOf(const QByteArray& folder, int& entriesLeft)
{
    Contents contents;
    DirectoryWalker walker(folder);
    for (; entriesLeft > 0; --entriesLeft) {
        const auto entry = walker.next();
        if (!entry)
            break;
        walker.skipDescendants();
        if (entry->relativePath.startsWith('.'))
            continue;
        const QByteArray path = joinPath(folder, entry->relativePath);
        if (entry->kind == FileKind::Folder)
            contents.folders.push_back(path);
        else if (isPicture(path, entry->kind))
            contents.pictures.push_back(path);
    }
    sortByName(contents.pictures);
    sortByName(contents.folders);
    return contents;
}

std::vector<FileURL> firstOf(const std::vector<QByteArray>& paths)
{
    const auto count = static_cast<std::ptrdiff_t>(std::min(paths.size(), kMostPictures));
    std::vector<FileURL> urls;
    std::transform(paths.begin(), paths.begin() + count, std::back_inserter(urls),
        [](const QByteArray& path) { return FileURL(path); });
    return urls;
}

} // namespace

std::optional<std::vector<FileURL>> firstPicturesOf(const QByteArray& folder)
{
    const auto status = fileStatus(folder);
    if (!status || status->kind != FileKind::Folder)
        return {};

    int entriesLeft = kMostEntries;
    const Contents contents = contentsOf(folder, entriesLeft);
    if (!contents.pictures.empty())
        return firstOf(contents.pictures);

    std::vector<QByteArray> below;
    for (const QByteArray& subFolder : contents.folders) {
        if (below.size() >= kMostPictures)
            break;
        const auto pictures = contentsOf(subFolder, entriesLeft).pictures;
        below.insert(below.end(), pictures.begin(), pictures.end());
    }
    return firstOf(below);
}

} // namespace quorvane
