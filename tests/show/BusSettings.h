// SPDX-License-Identifier: GPL-3.0-or-later
// A session bus that a test starts beside the desktop's, as a program of its own.
#pragma once

#include <QDir>
#include <QFile>

#include <vector>

namespace quorvane::show {

/// As DBUS_SESSION_BUS_ADDRESS wants it. \param folder  where the bus has its socket.
inline QByteArray busAddressIn(const QString& folder)
{
    return "unix:path=" + QFile::encodeName(QDir(folder).filePath(QStringLiteral("own-bus")));
}

/// Writes the settings of a bus for everybody into the folder. \param more  elements of the
/// settings. \return what dbus-daemon is started with; it then says "unix:path=".
inline std::vector<QByteArray> busArguments(const QString& folder, const QByteArray& more = {})
{
    QFile file(QDir(folder).filePath(QStringLiteral("bus.conf")));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("the bus has no settings");
    file.write("<busconfig><type>session</type><listen>" + busAddressIn(folder) + "</listen>" + more
        + "<policy context=\"default\"><allow send_destination=\"*\"/>"
          "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
    return { "--nofork", "--print-address", "--config-file=" + QFile::encodeName(file.fileName()) };
}

} // namespace quorvane::show
