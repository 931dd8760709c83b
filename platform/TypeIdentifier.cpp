// SPDX-License-Identifier: GPL-3.0-or-later
// What kind of file a file is, and whether it can be a slide.
#include "platform/TypeIdentifier.h"

#include "platform/FileDescriptor.h"
#include "platform/FileStatus.h"
#include "platform/MoviePlayer.h"
#include "platform/PathRules.h"
#include "platform/TypeTable.h"

#include <QHash>
#include <QMimeDatabase>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <optional>

namespace quorvane {

namespace {

/// Enough for every signature of the shared MIME database that matters here.
constexpr size_t kSniffedBytes = 4096;

/// Longer extensions are none that anybody knows: the shared MIME database has 14 letters at most.
constexpr qsizetype kLongestExtension = 24;

/// What a name says.
struct NameVerdict {
    bool known; ///< Whether it says anything.
    const TypeRow* row; ///< nullptr: a type that the table lacks.
};

/// By name or alias, never by inheritance: camera files inherit TIFF, but are none.
const TypeRow* rowOfMimeType(const QMimeType& type)
{
    if (const TypeRow* const row = typeRowForMimeType(type.name()))
        return row;
    for (const QString& alias : type.aliases()) {
        if (const TypeRow* const row = typeRowForMimeType(alias))
            return row;
    }
    return nullptr;
}

/// What the shared MIME database makes of a name.
NameVerdict verdictOfMimeDatabase(const QString& name)
{
    const QList<QMimeType> types = QMimeDatabase().mimeTypesForFileName(name);
    if (types.isEmpty())
        return { false, nullptr };
    // A name that may also be something else is not taken for a picture.
    return { true, types.size() == 1 ? rowOfMimeType(types.first()) : nullptr };
}

/// Remembers what the shared MIME database made of an extension: asking it costs some microseconds,
/// and a folder has few extensions. Thread: any.
class ExtensionMemory {
public:
    NameVerdict verdict(const QByteArray& extension)
    {
        const std::lock_guard lock(mMutex);
        if (const auto known = mVerdicts.constFind(extension); known != mVerdicts.constEnd())
            return *known;
        // Names numbered behind the dot would fill it without end.
        if (mVerdicts.size() >= kLimit)
            mVerdicts.clear();
        const NameVerdict answer
            = verdictOfMimeDatabase(QStringLiteral("x.") + QString::fromUtf8(extension));
        mVerdicts.insert(extension, answer);
        return answer;
    }

private:
    static constexpr qsizetype kLimit = 512;

    std::mutex mMutex;
    QHash<QByteArray, NameVerdict> mVerdicts; ///< By extension in lower case.
};

/// A name without an extension is asked about as a whole: "Makefile".
NameVerdict verdictOfName(QByteArrayView path)
{
    const QByteArrayView extension = pathExtension(path);
    if (extension.isEmpty())
        return verdictOfMimeDatabase(QString::fromUtf8(lastPathComponent(path)));
    if (extension.size() > kLongestExtension)
        return { false, nullptr };

    std::array<char, kLongestExtension> buffer {};
    const auto end
        = std::transform(extension.begin(), extension.end(), buffer.begin(), [](char byte) {
              return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
          });
    const std::string_view lower(buffer.data(), static_cast<size_t>(end - buffer.begin()));
    if (const TypeRow* const row = typeRowForExtension(lower))
        return { true, row };

    static ExtensionMemory memory;
    return memory.verdict(QByteArray(lower.data(), static_cast<qsizetype>(lower.size())));
}

QString identifierOf(const TypeRow* row) { return row ? row->identifier : QString(); }

/// The first bytes of a file; none if it cannot be read.
QByteArray headOf(const QByteArray& path)
{
    const Result<FileDescriptor> file = openForReading(FileURL(path));
    if (!file)
        return {};
    QByteArray head(kSniffedBytes, Qt::Uninitialized);
    ssize_t got = -1;
    do {
        got = read(file->get(), head.data(), kSniffedBytes);
    } while (got < 0 && errno == EINTR);
    head.truncate(std::max<ssize_t>(got, 0));
    return head;
}

QString identifierOfContents(const QByteArray& path)
{
    const QByteArray head = headOf(path);
    if (head.isEmpty())
        return {};
    const TypeRow* const row = rowOfMimeType(QMimeDatabase().mimeTypeForData(head));
    // A Targa picture has no signature: half of all binary data may pass for one.
    if (row && row->identifier == QLatin1String("com.truevision.tga-image"))
        return {};
    return identifierOf(row);
}

/// Types of the table that no library of the decoder reads: textures of games, drawings of an old
/// system, pictures that are coded as a movie of an uncommon kind.
constexpr std::array kUnreadTypes { "public.avci", "public.avcs", "public.pvr", "org.khronos.ktx",
    "org.khronos.ktx2", "org.khronos.astc", "com.apple.atx", "com.apple.pict",
    "com.dxo.raw-image" };

bool isRead(const TypeRow& row)
{
    return std::none_of(kUnreadTypes.begin(), kUnreadTypes.end(),
        [&](const char* type) { return row.identifier == QLatin1String(type); });
}

bool canBeOpened(const TypeRow& row)
{
    return row.kind == TypeKind::Image ? isRead(row) : MoviePlayer::isAvailable();
}

} // namespace

/// Which types of the table can be opened.
struct DisplayableTypes {
    QStringList images;
    QStringList audiovisuals;
    QHash<QString, SlideKind> kinds; ///< Of all in both lists.
};

namespace {

/// \param opens  asked about pictures, movies and sound only: no plugin makes a PDF a slide.
template <typename Opens> DisplayableTypes typesThat(const Opens& opens)
{
    DisplayableTypes types;
    for (const TypeRow& row : typeRows()) {
        if (row.kind == TypeKind::Other || !opens(row))
            continue;
        const bool isImage = row.kind == TypeKind::Image;
        (isImage ? types.images : types.audiovisuals).append(row.identifier);
        types.kinds.insert(row.identifier, isImage ? SlideKind::Picture : SlideKind::Movie);
    }
    return types;
}

/// Of a DecodersForTesting.
std::atomic<const DisplayableTypes*> gTypesForTesting { nullptr };

const DisplayableTypes& displayableTypes()
{
    if (const DisplayableTypes* const types = gTypesForTesting.load(std::memory_order_acquire))
        return *types;
    static const DisplayableTypes real = typesThat(canBeOpened);
    return real;
}

} // namespace

QString TypeIdentifier::typeIdentifierForName(const QByteArray& fileName)
{
    return identifierOf(verdictOfName(fileName).row);
}

QString TypeIdentifier::typeIdentifierForFile(const QByteArray& path)
{
    const std::optional<FileStatus> status = linkStatus(path);
    if (status && status->kind == FileKind::Regular)
        return typeIdentifierForRegularFile(path);

    const std::optional<FileStatus> target = fileStatus(path);
    if (target && target->kind == FileKind::Folder)
        return QStringLiteral("public.folder");
    if (target && target->kind == FileKind::Regular)
        return typeIdentifierForRegularFile(resolvingLinks(path));
    return {};
}

QString TypeIdentifier::typeIdentifierForRegularFile(const QByteArray& path)
{
    const NameVerdict verdict = verdictOfName(path);
    return verdict.known ? identifierOf(verdict.row) : identifierOfContents(path);
}

QString TypeIdentifier::typeIdentifierForMimeType(const QString& mimeType)
{
    if (const TypeRow* const row = typeRowForMimeType(mimeType))
        return row->identifier;
    return identifierOf(rowOfMimeType(QMimeDatabase().mimeTypeForName(mimeType)));
}

QStringList TypeIdentifier::imageTypes() { return displayableTypes().images; }

QStringList TypeIdentifier::audiovisualTypes() { return displayableTypes().audiovisuals; }

bool TypeIdentifier::isDisplayable(const QString& identifier)
{
    return displayableTypes().kinds.contains(identifier);
}

std::optional<SlideKind> TypeIdentifier::slideKindOf(const QString& identifier)
{
    const auto& kinds = displayableTypes().kinds;
    const auto kind = kinds.find(identifier);
    return kind == kinds.end() ? std::nullopt : std::optional(*kind);
}

bool TypeIdentifier::conformsTo(const QString& identifier, const QString& parent)
{
    if (identifier == parent)
        return true;
    const TypeRow* const row = typeRowForIdentifier(identifier);
    if (!row)
        return false;
    switch (row->kind) {
    case TypeKind::Image:
        return parent == QLatin1String("public.image");
    case TypeKind::Movie:
        return parent == QLatin1String("public.movie");
    case TypeKind::Audio:
        return parent == QLatin1String("public.audio");
    case TypeKind::Other:
        break;
    }
    return false;
}

QStringList TypeIdentifier::mimeTypesOf(const QString& identifier)
{
    const TypeRow* const row = typeRowForIdentifier(identifier);
    return row ? row->mimeTypes : QStringList();
}

QStringList TypeIdentifier::extensionsOf(const QString& identifier)
{
    const TypeRow* const row = typeRowForIdentifier(identifier);
    QStringList extensions;
    if (row) {
        for (const QByteArray& extension : row->extensions)
            extensions.append(QString::fromLatin1(extension));
    }
    return extensions;
}

TypeIdentifier::DecodersForTesting::DecodersForTesting(
    const QStringList& imageExtensions, Audiovisual audiovisual)
    : mBefore(gTypesForTesting.load(std::memory_order_acquire))
{
    const auto opens = [&imageExtensions, audiovisual](const TypeRow& row) {
        if (row.kind != TypeKind::Image)
            return audiovisual == Audiovisual::All;
        return std::any_of(row.extensions.cbegin(), row.extensions.cend(),
            [&imageExtensions](const QByteArray& extension) {
                return imageExtensions.contains(QLatin1String(extension));
            });
    };
    mTypes = std::make_unique<const DisplayableTypes>(typesThat(opens));
    gTypesForTesting.store(mTypes.get(), std::memory_order_release);
}

TypeIdentifier::DecodersForTesting::~DecodersForTesting()
{
    gTypesForTesting.store(mBefore, std::memory_order_release);
}

} // namespace quorvane
