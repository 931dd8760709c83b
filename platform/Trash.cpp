// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Trash.h"

#include "platform/FileURL.h"

#include <QFile>

namespace quorvane {

bool moveToTrash(const FileURL& url)
{
    // Qt takes paths as text. One that does not survive that is another file, or none.
    const QString path = QFile::decodeName(url.path());
    return QFile::encodeName(path) == url.path() && QFile::moveToTrash(path);
}

} // namespace quorvane
