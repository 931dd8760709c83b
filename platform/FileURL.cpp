// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileURL.h"

namespace quorvane {

namespace {

constexpr char kScheme[] = "file://";

/// What stands between the scheme and the path: nothing, or the name of this machine.
bool isLocalHost(const QByteArray& host) { return host.isEmpty() || host == "localhost"; }

} // namespace

FileURL::FileURL(QByteArray path, QByteArray parameter)
    : mPath(std::move(path))
    , mParameter(std::move(parameter))
{
}

FileURL FileURL::fromEncoded(const QByteArray& encoded)
{
    if (!encoded.startsWith(kScheme))
        return {};
    const QByteArray rest = encoded.mid(qstrlen(kScheme));
    const auto pathStart = rest.indexOf('/');
    if (pathStart < 0 || !isLocalHost(rest.left(pathStart)))
        return {};

    const QByteArray address = rest.mid(pathStart);
    const auto semicolon = address.indexOf(';', address.lastIndexOf('/'));
    if (semicolon < 0)
        return FileURL(QByteArray::fromPercentEncoding(address));
    const QByteArray parameter = QByteArray::fromPercentEncoding(address.mid(semicolon + 1));
    return FileURL(QByteArray::fromPercentEncoding(address.left(semicolon)),
        parameter.isNull() ? QByteArray("") : parameter);
}

QByteArray FileURL::encoded() const
{
    if (isEmpty())
        return {};
    QByteArray result = kScheme + mPath.toPercentEncoding("/");
    if (!mParameter.isNull())
        result += ';' + mParameter.toPercentEncoding();
    return result;
}

QString FileURL::displayPath() const { return QString::fromUtf8(mPath); }

QUrl FileURL::toUrl() const { return QUrl::fromEncoded(encoded()); }

} // namespace quorvane
