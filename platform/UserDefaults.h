// SPDX-License-Identifier: GPL-3.0-or-later
// The user's settings: values by key, over the defaults that the program registers.
#pragma once

#include "platform/Observation.h"

#include <QByteArray>
#include <QLatin1String>
#include <QString>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

namespace quorvane {

class SettingsWriter;

/// One flat store. Its values are what a property list holds (see PropertyListValue.h) and come
/// back in the types named there: an int that was set is a qlonglong.
///
/// Kept in an XML property list, see SettingsFile and SettingsWriter: every change is on its way to
/// the disk when the call returns. What cannot be read or written costs lines in the log, never
/// more: the values live in memory then.
/// Thread: any for reading values; all else the one that made it, normally the main thread.
class UserDefaults {
public:
    /// Reads the file.
    /// \param filePath  bytes as the kernel takes them; empty to live in memory only.
    explicit UserDefaults(const QByteArray& filePath = {});

    /// Waits for changes that are being written, SettingsWriter::kStopLimit at the most.
    ~UserDefaults();

    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// Where this program's settings lie: quorvane/settings.plist under $XDG_CONFIG_HOME, or under
    /// ~/.config where that is not set or no absolute path. Empty if there is no home either.
    /// Asks the environment: call it before other threads exist.
    static QByteArray standardPath();

    /// Values for keys that the user has not set. They add to those registered before, a later one
    /// wins, and are never written. Observers of these keys are called.
    void registerDefaults(const QVariantMap& defaults);

    /// The user's value, else the registered one, else an invalid one.
    QVariant value(QLatin1String key) const;

    /// Whether value() is a valid one.
    bool hasValue(QLatin1String key) const;

    /// A number other than 0, or a text that says yes: quorvane::boolValue(). Otherwise false.
    bool boolValue(QLatin1String key) const;

    /// A number without its fraction, kept in the range; the one that a text begins with:
    /// quorvane::integerValue(). Otherwise 0.
    qint64 integerValue(QLatin1String key) const;

    /// A number, or the one that a text begins with: quorvane::floatValue(). Otherwise 0.
    double floatValue(QLatin1String key) const;

    /// A text, or a number as text (a truth value is "1" or "0"). Otherwise null.
    QString stringValue(QLatin1String key) const;

    /// An array. Otherwise empty.
    QVariantList arrayValue(QLatin1String key) const;

    /// Data. Otherwise null.
    QByteArray dataValue(QLatin1String key) const;

    /// Keeps a value of the user's, also one that equals the registered default. Observers of the
    /// key have been called when this returns.
    /// \param value  an invalid one removes; one that no property list can hold is refused with a
    /// line in the log, and everything stays as it was.
    void setValue(QLatin1String key, const QVariant& value);

    /// Drops the user's value: the registered one shows again. Observers are called.
    void removeValue(QLatin1String key);

    /// Has `changed` called after every setValue(), removeValue() and registerDefaults() of `key`,
    /// also when the value stays the same, as long as the ticket lives. Observers may be added and
    /// dropped, and values set, from within.
    [[nodiscard]] Observation observe(QLatin1String key, std::function<void()> changed);

    /// Waits until all changes so far are on the disk, have failed to get there, or `limit` is
    /// over. \return whether they are on the disk; true in memory only.
    bool flush(std::chrono::milliseconds limit);

private:
    void change(const QString& key, const QVariant& value);

    mutable std::mutex mMutex; ///< Guards the two maps.
    QVariantMap mRegistered;
    QVariantMap mUser;
    std::unique_ptr<SettingsWriter> mWriter; ///< Null in memory only.
    ObserverList mObservers;
};

} // namespace quorvane
