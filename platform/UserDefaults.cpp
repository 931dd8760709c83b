// SPDX-License-Identifier: GPL-3.0-or-later
// The store of settings in memory, and the lenient reading of its values.
#include "platform/UserDefaults.h"

#include "platform/NumberParsing.h"
#include "platform/PropertyListValue.h"
#include "platform/SettingsFile.h"
#include "platform/SettingsWriter.h"

#include <QLocale>

#include <limits>
#include <optional>
#include <utility>

namespace quorvane {

namespace {

bool isText(const QVariant& value) { return value.typeId() == QMetaType::QString; }

bool isNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

/// Towards zero; what is no number is 0, what is out of range its nearest end.
qint64 wholePart(double number)
{
    constexpr double kEnd = 9223372036854775808.0; // 2 to the 63rd: the first that does not fit.
    if (number >= kEnd)
        return std::numeric_limits<qint64>::max();
    if (number < -kEnd)
        return std::numeric_limits<qint64>::min();
    return number == number ? static_cast<qint64>(number) : 0;
}

/// `values` as a property list gives them back; nothing if none can hold them.
std::optional<QVariantMap> canonicalValues(const QVariantMap& values)
{
    const auto list = canonicalPropertyList(values);
    if (!list)
        return {};
    return list->toMap();
}

} // namespace

UserDefaults::UserDefaults(const QByteArray& filePath)
{
    if (filePath.isEmpty())
        return;
    const SettingsFile file(filePath);
    const auto loaded = file.load();
    QString problem;
    if (loaded) {
        mUser = *loaded;
    } else {
        problem = loaded.error().message;
        qCWarning(settingsLog, "settings are not read: %s", qUtf8Printable(problem));
    }
    mWriter = std::make_unique<SettingsWriter>(file, mUser, problem);
}

UserDefaults::~UserDefaults() = default;

QByteArray UserDefaults::standardPath()
{
    QByteArray folder = qgetenv("XDG_CONFIG_HOME");
    if (!folder.startsWith('/')) {
        const QByteArray home = qgetenv("HOME");
        if (home.isEmpty())
            return {};
        folder = home + "/.config";
    }
    return folder + "/quorvane/settings.plist";
}

void UserDefaults::registerDefaults(const QVariantMap& defaults)
{
    const auto kept = canonicalValues(defaults);
    if (!kept) {
        qCWarning(settingsLog, "defaults that no property list can hold are refused");
        return;
    }
    {
        const std::lock_guard lock(mMutex);
        mRegistered.insert(*kept);
    }
    for (auto entry = kept->begin(); entry != kept->end(); ++entry)
        mObservers.notify(entry.key());
}

QVariant UserDefaults::value(QLatin1String key) const
{
    const QString name(key);
    const std::lock_guard lock(mMutex);
    const auto user = mUser.constFind(name);
    return user != mUser.constEnd() ? *user : mRegistered.value(name);
}

bool UserDefaults::hasValue(QLatin1String key) const { return value(key).isValid(); }

bool UserDefaults::boolValue(QLatin1String key) const
{
    const QVariant found = value(key);
    if (isText(found))
        return quorvane::boolValue(found.toString());
    return isNumber(found) && found.toDouble() != 0;
}

qint64 UserDefaults::integerValue(QLatin1String key) const
{
    const QVariant found = value(key);
    switch (found.typeId()) {
    case QMetaType::QString:
        return quorvane::integerValue(found.toString());
    case QMetaType::Double:
    case QMetaType::ULongLong: // Beyond the range by definition.
        return wholePart(found.toDouble());
    case QMetaType::Bool:
    case QMetaType::LongLong:
        return found.toLongLong();
    default:
        return 0;
    }
}

double UserDefaults::floatValue(QLatin1String key) const
{
    const QVariant found = value(key);
    if (isText(found))
        return quorvane::floatValue(found.toString());
    return isNumber(found) ? found.toDouble() : 0;
}

QString UserDefaults::stringValue(QLatin1String key) const
{
    const QVariant found = value(key);
    switch (found.typeId()) {
    case QMetaType::Bool:
        return found.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Double:
        return QString::number(found.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QString:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return found.toString();
    default:
        return {};
    }
}

QVariantList UserDefaults::arrayValue(QLatin1String key) const
{
    const QVariant found = value(key);
    return found.typeId() == QMetaType::QVariantList ? found.toList() : QVariantList();
}

QByteArray UserDefaults::dataValue(QLatin1String key) const
{
    const QVariant found = value(key);
    return found.typeId() == QMetaType::QByteArray ? found.toByteArray() : QByteArray();
}

void UserDefaults::setValue(QLatin1String key, const QVariant& value)
{
    if (!value.isValid())
        return removeValue(key);
    // Inside a dictionary, as it will lie in the file: the depth counts, and so does the key.
    const auto kept = canonicalValues({ { QString(key), value } });
    if (!kept) {
        qCWarning(settingsLog, "a value that no property list can hold is refused for %s",
            qUtf8Printable(QString(key)));
        return;
    }
    change(kept->firstKey(), kept->first());
}

void UserDefaults::removeValue(QLatin1String key) { change(QString(key), {}); }

Observation UserDefaults::observe(QLatin1String key, std::function<void()> changed)
{
    return mObservers.add(QString(key), std::move(changed));
}

bool UserDefaults::flush(std::chrono::milliseconds limit)
{
    return !mWriter || mWriter->flush(limit);
}

/// \param value  an invalid one removes.
void UserDefaults::change(const QString& key, const QVariant& value)
{
    {
        const std::lock_guard lock(mMutex);
        if (value.isValid())
            mUser.insert(key, value);
        else
            mUser.remove(key);
    }
    if (mWriter)
        mWriter->post(key, value);
    mObservers.notify(key);
}

} // namespace quorvane
