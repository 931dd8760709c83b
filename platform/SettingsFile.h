// SPDX-License-Identifier: GPL-3.0-or-later
// The file that the user's settings are kept in, which several running viewers share.
#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QVariantMap>

namespace quorvane {

/// "quorvane.settings": one line for whatever keeps settings from being read or kept.
Q_DECLARE_LOGGING_CATEGORY(settingsLog)

/// An XML property list whose root is a dictionary. A path that is a symbolic link stays one: the
/// file at its end is read, replaced and set aside, the lock file "….lock" lies beside that one.
///
/// Contents that cannot be understood (broken, binary, no dictionary, beyond kMaxBytes) are set
/// aside: renamed to "….damaged", or "….damaged-2" and so on where that is taken, with one line in
/// the log. What is no regular file or has no write permission at all is left as it is.
/// Thread: any; the object never changes.
class SettingsFile {
public:
    /// No settings are near this size; a file that is was not written by us.
    static constexpr qint64 kMaxBytes = qint64 { 16 } * 1024 * 1024;

    /// \param path  bytes as the kernel takes them. Nothing is opened.
    explicit SettingsFile(QByteArray path);

    /// What the file holds; nothing if there is no file, or one that was set aside. Never waits for
    /// another process.
    /// \return NotReadable and others if there is something that neither can be read nor set aside.
    Result<QVariantMap> load() const;

    /// Changes some keys of the file, leaving to all others whatever value they have by now.
    /// Waits for other processes that are doing the same. The old file stays until the new one is
    /// whole and on the disk.
    /// \param changes    an invalid value removes its key.
    /// \param lastKnown  what to begin with if the contents must be set aside now.
    /// \return what the file holds now; NotWritable and others with the file as it was.
    Result<QVariantMap> merge(const QVariantMap& changes, const QVariantMap& lastKnown) const;

private:
    QByteArray mPath;
};

} // namespace quorvane
