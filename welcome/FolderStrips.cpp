// SPDX-License-Identifier: GPL-3.0-or-later
#include "welcome/FolderStrips.h"

#include "images/SVImage.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"

#include <QPainter>

#include <algorithm>
#include <utility>

namespace quorvane {

namespace {

/// As many as the list of recent folders is long.
constexpr int kThreads = 10;

/// Device pixels of a tile for each point. One size for all screens: the window may move.
constexpr int kDensity = 2;

DispatchQueue& queue()
{
    // Never destroyed: its end would wait for a disk that no longer answers.
    static auto* const instance = new DispatchQueue("quorvane.recents", kThreads);
    return *instance;
}

/// The middle of `picture`, in the shape of a tile.
QImage cropped(const QImage& picture)
{
    QRect middle(QPoint(), kTileSize.scaled(picture.size(), Qt::KeepAspectRatio));
    middle.setSize(middle.size().expandedTo({ 1, 1 }));
    middle.moveCenter(picture.rect().center());
    return picture.copy(middle);
}

QImage tileFrom(const QImage& picture)
{
    const QSize size = kTileSize * kDensity;
    const QImage filling
        = cropped(picture).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QImage tile(size, QImage::Format_ARGB32_Premultiplied);
    tile.fill(Qt::transparent);
    QPainter painter(&tile);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(filling));
    painter.drawRoundedRect(tile.rect(), kTileRadius * kDensity, kTileRadius * kDensity);
    return tile;
}

/// What a thread is busy with.
struct Look {
    QByteArray folder;
    FolderStrips::Finder finder;
    std::shared_ptr<const std::atomic<bool>> isWanted;
    std::function<void(const FolderStrip&)> learn;
};

/// Ends early when nobody wants it any more.
void perform(const Look& look)
{
    FolderStrip strip;
    const auto pictures = look.finder(look.folder);
    if (!pictures) {
        strip.state = FolderStrip::State::Gone;
        look.learn(strip);
        return;
    }
    size_t left = pictures->size();
    strip.length = std::min(left, kLongestStrip);
    for (const FileURL& picture : *pictures) {
        if (strip.tiles.size() == kLongestStrip)
            break;
        if (!*look.isWanted)
            return;
        look.learn(strip);
        if (const auto thumbnail = SVImage::imageThumbFromURL(picture))
            strip.tiles.push_back(tileFrom(*thumbnail));
        --left;
        strip.length = std::min(strip.tiles.size() + left, kLongestStrip);
    }
    strip.state = FolderStrip::State::Complete;
    look.learn(strip);
}

} // namespace

FolderStrips::FolderStrips(Finder finder, Changed changed)
    : mFinder(std::move(finder))
    , mChanged(std::move(changed))
{
}

FolderStrips::~FolderStrips()
{
    for (const auto& [folder, entry] : mEntries)
        *entry.isWanted = false;
}

void FolderStrips::setFolders(const std::vector<QByteArray>& folders)
{
    for (auto& [folder, entry] : mEntries) {
        if (std::find(folders.begin(), folders.end(), folder) != folders.end())
            continue;
        *entry.isWanted = false;
        entry.strip = {};
    }
    std::erase_if(mEntries,
        [](const auto& item) { return !*item.second.isWanted && !item.second.isUnderWay; });
    for (const QByteArray& folder : folders) {
        Entry& entry = mEntries[folder];
        *entry.isWanted = true;
        if (!entry.isUnderWay && entry.strip.tiles.empty())
            look(folder, entry);
    }
}

const FolderStrip& FolderStrips::stripOf(const QByteArray& folder) const
{
    static const FolderStrip unknown;
    const auto found = mEntries.find(folder);
    return found != mEntries.end() ? found->second.strip : unknown;
}

void FolderStrips::drain() { queue().drain(); }

void FolderStrips::look(const QByteArray& folder, Entry& entry)
{
    entry.isUnderWay = true;
    const std::function<void(const FolderStrip&)> learn
        = mLifeGuard.wrap([this, folder](const FolderStrip& strip) { this->learn(folder, strip); });
    const std::function<void()> finish = mLifeGuard.wrap([this, folder] { this->finish(folder); });
    const auto report
        = [learn](const FolderStrip& strip) { MainQueue::async([learn, strip] { learn(strip); }); };
    const Look task { folder, mFinder, entry.isWanted, report };
    queue().async([task, finish] {
        perform(task);
        MainQueue::async(finish);
    });
}

void FolderStrips::learn(const QByteArray& folder, const FolderStrip& strip)
{
    Entry& entry = mEntries.at(folder); // It stays while it is under way.
    if (!*entry.isWanted)
        return;
    entry.strip = strip;
    mChanged(folder);
}

void FolderStrips::finish(const QByteArray& folder)
{
    const auto found = mEntries.find(folder);
    Entry& entry = found->second;
    entry.isUnderWay = false;
    if (!*entry.isWanted)
        mEntries.erase(found);
    else if (entry.strip.state == FolderStrip::State::Looking)
        look(folder, entry); // It had left the list, and is back.
}

} // namespace quorvane
