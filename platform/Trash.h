// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop's trash.
#pragma once

namespace quorvane {

class FileURL;

/// Moves a file to the trash of the person or of the file's own disk. \return false when that
/// cannot be done, as for a name that is not UTF-8; the file is where it was then. Thread: any.
bool moveToTrash(const FileURL& url);

} // namespace quorvane
