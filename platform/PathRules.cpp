// SPDX-License-Identifier: GPL-3.0-or-later
// What a path says: its last component, its extension, and how paths are joined.
#include "platform/PathRules.h"

#include <algorithm>
#include <string_view>

namespace quorvane {

namespace {

/// Keeps the slash of the root.
QByteArrayView withoutTrailingSlashes(QByteArrayView path)
{
    while (path.size() > 1 && path.back() == '/')
        path.chop(1);
    return path;
}

/// In UTF-8: ARABIC LETTER MARK, LEFT-TO-RIGHT and RIGHT-TO-LEFT MARK, the embeddings and overrides
/// U+202A to U+202E, the isolates U+2066 to U+2069.
constexpr std::string_view kDirectionControls[] = { "\u061C", "\u200E", "\u200F", "\u202A",
    "\u202B", "\u202C", "\u202D", "\u202E", "\u2066", "\u2067", "\u2068", "\u2069" };

bool mayBeExtension(QByteArrayView candidate)
{
    if (candidate.isEmpty() || candidate.contains(' '))
        return false;
    const bool isASCII = std::all_of(
        candidate.begin(), candidate.end(), [](char byte) { return (byte & 0x80) == 0; });
    if (isASCII)
        return true; // None of the characters below: this is asked for every file of a show.
    const std::string_view text(candidate.data(), static_cast<size_t>(candidate.size()));
    return std::none_of(std::begin(kDirectionControls), std::end(kDirectionControls),
        [text](std::string_view control) { return text.find(control) != std::string_view::npos; });
}

} // namespace

QByteArrayView lastPathComponent(QByteArrayView path)
{
    const QByteArrayView trimmed = withoutTrailingSlashes(path);
    if (trimmed == QByteArrayView("/"))
        return trimmed;
    return trimmed.sliced(trimmed.lastIndexOf('/') + 1);
}

QByteArrayView pathExtension(QByteArrayView path)
{
    const QByteArrayView name = lastPathComponent(path);
    const qsizetype dot = name.lastIndexOf('.');
    if (dot <= 0)
        return {};
    const QByteArrayView stem = name.first(dot);
    if (stem == QByteArrayView(".") || stem == QByteArrayView(".."))
        return {};
    const QByteArrayView candidate = name.sliced(dot + 1);
    return mayBeExtension(candidate) ? candidate : QByteArrayView();
}

QByteArray deletingPathExtension(const QByteArray& path)
{
    QByteArrayView rest = withoutTrailingSlashes(path);
    if (const QByteArrayView extension = pathExtension(rest); !extension.isEmpty())
        rest.chop(extension.size() + 1);
    return rest.toByteArray();
}

QByteArray joinPath(const QByteArray& folder, const QByteArray& relative)
{
    if (folder.isEmpty() || relative.isEmpty())
        return folder.isEmpty() ? relative : folder;
    QByteArrayView rest = relative;
    while (!rest.isEmpty() && rest.front() == '/')
        rest = rest.sliced(1);

    QByteArray path;
    path.reserve(folder.size() + 1 + rest.size());
    path += folder;
    if (!path.endsWith('/'))
        path += '/';
    path += rest;
    return path;
}

} // namespace quorvane
