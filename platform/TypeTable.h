// SPDX-License-Identifier: GPL-3.0-or-later
// The one table that joins type identifiers with file name extensions and MIME types.
//
// It says what a type is, not whether it can be shown: that depends on the decoders (see
// TypeIdentifier.h).
//
// Thread: any. The table is built on first use and never changes.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <string_view>
#include <vector>

namespace quorvane {

enum class TypeKind {
    Image, ///< A still picture.
    Movie, ///< Has a picture track, or may have one.
    Audio,
    Other, ///< Known, so that nobody guesses at it, and never displayable.
};

/// One type.
struct TypeRow {
    QString identifier; ///< "public.jpeg". Each stands in one row only.
    QList<QByteArray> extensions; ///< Lower case, the usual one first. Each in one row only.
    QStringList mimeTypes; ///< Lower case, the present name first. A type may stand in two rows.
    TypeKind kind;
};

/// In the order in which lists are shown: pictures, camera files, movies, audio, the others.
const std::vector<TypeRow>& typeRows();

/// \param extension  without the dot, lower case.
/// \return nullptr if no row has it. Costs a few dozen nanoseconds and allocates nothing.
const TypeRow* typeRowForExtension(std::string_view extension);

/// \param mimeType  in any case.
/// \return the first row that has it, or nullptr.
const TypeRow* typeRowForMimeType(const QString& mimeType);

/// \param identifier  exact.
/// \return nullptr if there is no such row.
const TypeRow* typeRowForIdentifier(const QString& identifier);

} // namespace quorvane
