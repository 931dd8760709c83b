// SPDX-License-Identifier: GPL-3.0-or-later
// The identity of a file: the bytes of its path.
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>

namespace quorvane {

/// Names a file or folder by the bytes of its path, as it was opened: a Linux name need not be
/// UTF-8, and no two spellings of a path are taken for the same file. A value; thread: any.
class FileURL {
public:
    /// The empty URL, which names nothing.
    FileURL() = default;

    /// \param path       absolute path, kept byte for byte.
    /// \param parameter  what stood behind ";" in the last segment of an address; null for none.
    explicit FileURL(QByteArray path, QByteArray parameter = {});

    /// Reads "file:///a%20b;x" and the like.
    /// \return the empty URL for any other scheme, a host that is not this one, or no absolute
    /// path.
    static FileURL fromEncoded(const QByteArray& encoded);

    bool isEmpty() const { return mPath.isEmpty(); }
    const QByteArray& path() const { return mPath; }

    /// Null when there is none, as for every file that was not opened by an address.
    const QByteArray& parameterString() const { return mParameter; }

    /// Percent-encoded address; every byte outside the unreserved characters and "/" is escaped.
    QByteArray encoded() const;

    /// For people to read: bytes that are not UTF-8 show as replacement characters.
    QString displayPath() const;

    /// For Qt interfaces that take an address. Loses nothing: the bytes travel percent-encoded.
    QUrl toUrl() const;

    friend bool operator==(const FileURL& a, const FileURL& b)
    {
        return a.mPath == b.mPath && a.mParameter == b.mParameter
            && a.mParameter.isNull() == b.mParameter.isNull();
    }

private:
    QByteArray mPath;
    QByteArray mParameter;
};

inline size_t qHash(const FileURL& url, size_t seed = 0)
{
    return qHashMulti(seed, url.path(), url.parameterString());
}

} // namespace quorvane

template <> struct std::hash<quorvane::FileURL> {
    size_t operator()(const quorvane::FileURL& url) const noexcept { return quorvane::qHash(url); }
};
