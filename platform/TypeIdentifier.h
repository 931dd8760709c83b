// SPDX-License-Identifier: GPL-3.0-or-later
// What kind of file a file is, and whether it can be a slide.
//
// A type is named by its uniform type identifier, "public.jpeg". It follows from the name; only
// when the name says nothing at all are the first bytes of the file looked at. What lies in a file
// that is named wrongly is the decoders' business.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace quorvane {

struct DisplayableTypes;

/// How a slide comes on screen.
enum class SlideKind : quint8 {
    Picture,
    Movie, ///< It takes its own time. Sound without a picture, too.
};

/// Answers about types. Thread: any. The empty identifier means "unknown, and not displayable".
class TypeIdentifier {
public:
    class DecodersForTesting;

    TypeIdentifier() = delete;

    /// By the last extension, in any case; from the table, else from the shared MIME database.
    /// \param fileName  a name or a path, in bytes.
    /// \return empty when the name says nothing, and for a name of a type that the table lacks.
    static QString typeIdentifierForName(const QByteArray& fileName);

    /// A link is judged by what it leads to, a folder is "public.folder".
    /// \return empty also for a missing file and a broken link, and for a pipe, a socket or a
    /// device,
    ///         which is never opened.
    static QString typeIdentifierForFile(const QByteArray& path);

    /// The same for a path that the caller knows to be a regular file and no link, as a walk
    /// through a folder does: asks nothing of the file system if the name says enough.
    static QString typeIdentifierForRegularFile(const QByteArray& path);

    /// \param mimeType  a name or an alias of the shared MIME database.
    static QString typeIdentifierForMimeType(const QString& mimeType);

    /// The still picture types that a decoder of this build and machine opens.
    static QStringList imageTypes();

    /// The movie and sound types that a decoder of this build and machine opens.
    static QStringList audiovisualTypes();

    /// Whether it is in one of the two lists. PDF and PostScript never are.
    static bool isDisplayable(const QString& identifier);

    /// Nothing when it is not displayable.
    static std::optional<SlideKind> slideKindOf(const QString& identifier);

    /// Everything conforms to itself, pictures to "public.image", movies to "public.movie", sound
    /// to "public.audio". Sub-types are not followed further.
    static bool conformsTo(const QString& identifier, const QString& parent);

    /// The type's MIME types, that of the shared MIME database first. May be empty.
    static QStringList mimeTypesOf(const QString& identifier);

    /// The type's extensions without the dot, in lower case, the usual one first. May be empty.
    static QStringList extensionsOf(const QString& identifier);
};

/// While it lives, says which decoders are there. Thread: main, while no other thread asks for
/// types; those that live at the same time end in the reverse order of their beginning.
class TypeIdentifier::DecodersForTesting {
public:
    enum class Audiovisual {
        None,
        All,
    };

    /// \param imageExtensions  "jpg": each opens its type with all the type's extensions.
    explicit DecodersForTesting(
        const QStringList& imageExtensions, Audiovisual audiovisual = Audiovisual::None);
    ~DecodersForTesting();

    DecodersForTesting(const DecodersForTesting&) = delete;
    DecodersForTesting& operator=(const DecodersForTesting&) = delete;

private:
    std::unique_ptr<const DisplayableTypes> mTypes;
    const DisplayableTypes* mBefore; ///< nullptr for the real ones.
};

} // namespace quorvane
