// SPDX-License-Identifier: GPL-3.0-or-later
// The thread that writes the settings file.
#include "platform/SettingsWriter.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <utility>

namespace quorvane {

/// Changes are counted as they come: "up to which one" says what has been tried and what is safe.
struct SettingsWriter::Shared {
    Shared(SettingsFile settingsFile, QVariantMap known, QString problem)
        : file(std::move(settingsFile))
        , lastKnown(std::move(known))
        , loggedProblem(std::move(problem))
    {
    }

    void work();
    void report(const Result<QVariantMap>& written);

    const SettingsFile file;
    QVariantMap lastKnown; ///< The thread's own.
    QString loggedProblem; ///< The thread's own; empty when the last attempt went well.

    std::mutex mutex; ///< Guards all below.
    std::condition_variable wake; ///< A change has come, or the end.
    std::condition_variable progress; ///< An attempt is over, or the thread.
    QVariantMap pending; ///< Not on the disk and not in the thread's hands.
    quint64 posted = 0;
    quint64 attempted = 0;
    quint64 saved = 0;
    bool stopping = false;
    bool ended = false;
};

/// The body of the thread.
void SettingsWriter::Shared::work()
{
    std::unique_lock lock(mutex);
    for (;;) {
        wake.wait(lock, [this] { return stopping || attempted < posted; });
        if (attempted == posted)
            break;
        const quint64 upTo = posted;
        QVariantMap changes = std::exchange(pending, {});

        lock.unlock();
        const auto written = file.merge(changes, lastKnown);
        report(written);
        lock.lock();

        if (!written) {
            // What has come meanwhile is newer.
            changes.insert(pending);
            pending = changes;
        }
        attempted = upTo;
        saved = written ? upTo : saved;
        progress.notify_all();
    }
    ended = true;
    progress.notify_all();
}

void SettingsWriter::Shared::report(const Result<QVariantMap>& written)
{
    if (written) {
        lastKnown = *written;
        loggedProblem.clear();
    } else if (written.error().message != loggedProblem) {
        loggedProblem = written.error().message;
        qCWarning(settingsLog, "settings are not kept: %s", qUtf8Printable(loggedProblem));
    }
}

SettingsWriter::SettingsWriter(SettingsFile file, QVariantMap lastKnown, QString loggedProblem)
    : mShared(
        std::make_shared<Shared>(std::move(file), std::move(lastKnown), std::move(loggedProblem)))
{
}

SettingsWriter::~SettingsWriter() { stop(kStopLimit); }

void SettingsWriter::post(const QString& key, const QVariant& value)
{
    {
        const std::lock_guard lock(mShared->mutex);
        mShared->pending.insert(key, value);
        ++mShared->posted;
    }
    mShared->wake.notify_one();
    if (mThread.joinable())
        return;
    try {
        mThread = std::thread([shared = mShared] { shared->work(); });
    } catch (const std::system_error& error) { // No more threads: tried again at the next change.
        qCWarning(settingsLog, "settings are not kept: %s", error.what());
    }
}

bool SettingsWriter::flush(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mShared->mutex);
    const quint64 upTo = mShared->posted;
    if (mThread.joinable())
        mShared->progress.wait_for(lock, limit, [&] { return mShared->attempted >= upTo; });
    return mShared->saved >= upTo;
}

bool SettingsWriter::stop(std::chrono::milliseconds limit)
{
    if (!mThread.joinable())
        return true;
    std::unique_lock lock(mShared->mutex);
    mShared->stopping = true;
    mShared->wake.notify_one();
    const bool ended = mShared->progress.wait_for(lock, limit, [&] { return mShared->ended; });
    lock.unlock();
    if (ended)
        mThread.join();
    else
        mThread.detach();
    return ended;
}

} // namespace quorvane
