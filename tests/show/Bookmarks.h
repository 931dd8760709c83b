// SPDX-License-Identifier: GPL-3.0-or-later
// Bookmarks of folders, as they lie in the settings file.
#pragma once

#include <QByteArray>
#include <QtEndian>

namespace quorvane::show {

/// The bookmark of a folder whose identity nobody has noted.
inline QByteArray bookmarkOf(const QByteArray& path)
{
    QByteArray length(4, '\0');
    qToBigEndian(static_cast<quint32>(path.size()), length.data());
    return QByteArray(1, '\x01') + QByteArray(16, '\0') + length + path;
}

/// The path in a bookmark.
inline QByteArray pathOf(const QByteArray& bookmark)
{
    constexpr qsizetype kPathAt = 1 + 16 + 4;
    return bookmark.mid(kPathAt);
}

} // namespace quorvane::show
