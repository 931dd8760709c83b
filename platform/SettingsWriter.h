// SPDX-License-Identifier: GPL-3.0-or-later
// Brings changed settings to the disk while the main thread goes on.
#pragma once

#include "platform/SettingsFile.h"

#include <QString>
#include <QVariantMap>

#include <chrono>
#include <memory>
#include <thread>

namespace quorvane {

/// Hands changes to one thread, which writes them at once and all together that have come while it
/// was writing. What cannot be written is said once in the log and tried again with the next
/// change. Thread: the one that made it, normally the main one.
class SettingsWriter {
public:
    /// How long the end of the program may be held up by a disk or another viewer that stands
    /// still.
    static constexpr std::chrono::milliseconds kStopLimit { 2000 };

    /// \param lastKnown      what the file held when it was loaded.
    /// \param loggedProblem  a problem that the log knows already, in its own words; may be empty.
    SettingsWriter(SettingsFile file, QVariantMap lastKnown, QString loggedProblem);

    /// As stop(kStopLimit).
    ~SettingsWriter();

    SettingsWriter(const SettingsWriter&) = delete;
    SettingsWriter& operator=(const SettingsWriter&) = delete;

    /// Takes a change to write; returns at once.
    /// \param value  invalid to remove the key.
    void post(const QString& key, const QVariant& value);

    /// Waits until all that was posted is on the disk, has failed, or `limit` is over.
    /// \return whether it is on the disk.
    bool flush(std::chrono::milliseconds limit);

    /// Waits as flush() and ends the thread; one that is still busy then is left to itself and ends
    /// with its work. Nothing may be posted afterwards.
    /// \return whether the thread has ended.
    bool stop(std::chrono::milliseconds limit);

private:
    struct Shared;

    std::shared_ptr<Shared> mShared; ///< Shared with the thread, which may outlive this object.
    std::thread mThread; ///< Started by the first change: most runs change no setting.
};

} // namespace quorvane
