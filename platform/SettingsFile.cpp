// SPDX-License-Identifier: GPL-3.0-or-later
// Reading, merging and setting aside of the settings file.
#include "platform/SettingsFile.h"

#include "platform/FileDescriptor.h"
#include "platform/FileLock.h"
#include "platform/FileReplacement.h"
#include "platform/FileURL.h"
#include "platform/PropertyList.h"

#include <QFile>

#include <sys/stat.h>

#include <utility>

namespace quorvane {

Q_LOGGING_CATEGORY(settingsLog, "quorvane.settings")

namespace {

constexpr int kMaxSetAside = 1000; ///< More damaged files than that are no accident.

tl::unexpected<Error> failFor(const QByteArray& path, ErrorKind kind, const QString& reason)
{
    return fail(kind, QStringLiteral("%1: %2").arg(QFile::decodeName(path), reason));
}

/// What a look into the file found.
struct Contents {
    QVariantMap values;
    QString damage; ///< Why there are no values; empty if the file is sound or there is none.
};

Contents parse(const Result<QByteArray>& bytes)
{
    if (!bytes)
        return { {}, bytes.error().message };
    const auto list = readPropertyList(*bytes);
    if (!list)
        return { {}, list.error().message };
    if (list->typeId() != QMetaType::QVariantMap)
        return { {}, QStringLiteral("no dictionary") };
    return { list->toMap(), {} };
}

Result<Contents> read(const QByteArray& path)
{
    const auto file = openForReading(FileURL(path));
    if (!file && file.error().kind == ErrorKind::NotFound)
        return Contents {};
    if (!file)
        return failFor(path, file.error().kind, file.error().message);
    const auto bytes = readAll(*file, SettingsFile::kMaxBytes);
    if (!bytes && bytes.error().kind != ErrorKind::TooLarge)
        return failFor(path, bytes.error().kind, bytes.error().message);
    return parse(bytes);
}

/// Whether we may put another file in the place of `path`. The bits are looked at, not the access:
/// a user who took them away means it, whoever runs the program.
Result<void> mayReplace(const QByteArray& path)
{
    struct stat status { };
    if (stat(path.constData(), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode))
        return failFor(path, ErrorKind::Unsupported, QStringLiteral("not a regular file"));
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        return failFor(path, ErrorKind::NotWritable, QStringLiteral("is write-protected"));
    return {};
}

Result<void> setAside(const QByteArray& path, const QString& damage)
{
    for (int number = 1; number <= kMaxSetAside; ++number) {
        const QByteArray name
            = path + ".damaged" + (number == 1 ? QByteArray() : '-' + QByteArray::number(number));
        auto renamed = renameToFreeName(path, name);
        if (renamed) {
            qCWarning(settingsLog, "%s cannot be understood (%s); it is kept as %s",
                qUtf8Printable(QFile::decodeName(path)), qUtf8Printable(damage),
                qUtf8Printable(QFile::decodeName(name)));
            return {};
        }
        if (renamed.error().kind != ErrorKind::InvalidArgument)
            return renamed;
    }
    return failFor(
        path, ErrorKind::NotWritable, QStringLiteral("too many damaged files beside it"));
}

/// With the lock held. \param fallback  the values if the file had to be set aside.
Result<QVariantMap> readOrSetAside(const QByteArray& path, const QVariantMap& fallback)
{
    const auto contents = read(path);
    if (!contents)
        return tl::make_unexpected(contents.error());
    if (contents->damage.isEmpty())
        return contents->values;
    if (auto may = mayReplace(path); !may)
        return tl::make_unexpected(may.error());
    if (auto done = setAside(path, contents->damage); !done)
        return tl::make_unexpected(done.error());
    return fallback;
}

QByteArray lockOf(const QByteArray& path) { return path + ".lock"; }

void apply(const QVariantMap& changes, QVariantMap& values)
{
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (change.value().isValid())
            values.insert(change.key(), change.value());
        else
            values.remove(change.key());
    }
}

} // namespace

SettingsFile::SettingsFile(QByteArray path)
    : mPath(std::move(path))
{
}

Result<QVariantMap> SettingsFile::load() const
{
    const auto path = endOfLinks(mPath);
    if (!path)
        return tl::make_unexpected(path.error());
    const auto contents = read(*path);
    if (!contents)
        return tl::make_unexpected(contents.error());
    if (contents->damage.isEmpty())
        return contents->values;

    // Looked at once more with the lock: another viewer may be replacing it by a sound one just
    // now. If one holds the lock, the first change that we write sets the file aside.
    if (const auto lock = FileLock::take(lockOf(*path), FileLock::Patience::Try))
        return readOrSetAside(*path, {});
    return failFor(*path, ErrorKind::Damaged, contents->damage);
}

Result<QVariantMap> SettingsFile::merge(
    const QVariantMap& changes, const QVariantMap& lastKnown) const
{
    const auto path = endOfLinks(mPath);
    if (!path)
        return tl::make_unexpected(path.error());
    if (auto may = mayReplace(*path); !may)
        return tl::make_unexpected(may.error());
    if (auto made = makeFolder(folderOf(mPath)); !made)
        return tl::make_unexpected(made.error());
    const auto lock = FileLock::take(lockOf(*path), FileLock::Patience::Wait);
    if (!lock)
        return tl::make_unexpected(lock.error());

    auto values = readOrSetAside(*path, lastKnown);
    if (!values)
        return values;
    apply(changes, *values);
    const QByteArray text = writePropertyList(*values);
    if (text.isEmpty() || text.size() > kMaxBytes)
        return failFor(*path, ErrorKind::TooLarge, QStringLiteral("the settings are too large"));
    if (auto written = replaceFile(*path, text); !written)
        return tl::make_unexpected(written.error());
    return values;
}

} // namespace quorvane
