// SPDX-License-Identifier: GPL-3.0-or-later
// Which pictures speak for a folder.
#pragma once

#include "platform/FileURL.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace quorvane {

/// The first still pictures of a folder by name, judged by their names alone. Where the folder
/// itself has none, those of its sub-folders, which are taken by name as well, but nothing deeper.
/// Hidden entries do not count. No more than 2000 entries are looked at, so that an archive of a
/// hundred thousand files takes no longer than an album. Waits for the disk. Thread: any.
/// \param folder  a link to a folder will do.
/// \return twelve at most, since some may turn out to be damaged; nothing when there is no such
///         folder.
std::optional<std::vector<FileURL>> firstPicturesOf(const QByteArray& folder);

} // namespace quorvane
