// SPDX-License-Identifier: GPL-3.0-or-later
// What a test hears of the settings' log, and files as a test makes and sees them.
#pragma once

#include "platform/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

#include <cstring>
#include <functional>
#include <mutex>
#include <utility>

namespace quorvane::tests {

/// Collects the lines of "quorvane.settings" while it lives, of all threads. One at a time.
class SettingsLog {
public:
    /// \param onLine  runs at every line, on the thread that wrote it.
    explicit SettingsLog(std::function<void()> onLine = {})
    {
        {
            const std::lock_guard lock(sMutex);
            sLines.clear();
            sOnLine = std::move(onLine);
        }
        mBefore = qInstallMessageHandler(&SettingsLog::hear);
    }

    ~SettingsLog() { qInstallMessageHandler(mBefore); }

    SettingsLog(const SettingsLog&) = delete;
    SettingsLog& operator=(const SettingsLog&) = delete;

    QStringList lines() const
    {
        const std::lock_guard lock(sMutex);
        return sLines;
    }

private:
    static void hear(QtMsgType, const QMessageLogContext& context, const QString& text)
    {
        if (!context.category || std::strcmp(context.category, "quorvane.settings") != 0)
            return;
        std::unique_lock lock(sMutex);
        sLines.append(text);
        const auto onLine = sOnLine;
        lock.unlock();
        if (onLine)
            onLine();
    }

    static inline std::mutex sMutex;
    static inline QStringList sLines; ///< Guarded by the mutex, as the next.
    static inline std::function<void()> sOnLine;

    QtMessageHandler mBefore = nullptr;
};

/// A folder of its own, and settings in it.
class SettingsFolder {
public:
    /// \param pattern  where, ending in XXXXXX; empty for the usual temporary folder.
    explicit SettingsFolder(const QString& pattern = {})
        : mFolder(
            pattern.isEmpty() ? QDir::tempPath() + QStringLiteral("/settings-XXXXXX") : pattern)
    {
    }

    QByteArray path(const QByteArray& name = "settings.plist") const
    {
        return QFile::encodeName(mFolder.path()) + '/' + name;
    }

    void write(const QByteArray& contents, const QByteArray& name = "settings.plist") const
    {
        QFile file(QFile::decodeName(path(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
            qFatal("the test cannot write its file");
    }

    /// Null if there is no such file.
    QByteArray read(const QByteArray& name = "settings.plist") const
    {
        QFile file(QFile::decodeName(path(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Empty if there is no sound list.
    QVariantMap values(const QByteArray& name = "settings.plist") const
    {
        return readPropertyList(read(name)).value_or(QVariant()).toMap();
    }

    /// All names, hidden ones included, sorted.
    QStringList names() const
    {
        return QDir(mFolder.path())
            .entryList(
                QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

private:
    QTemporaryDir mFolder;
};

} // namespace quorvane::tests
