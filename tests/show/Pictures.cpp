// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the pictures and the odd things that lie beside them.
#include "Pictures.h"

#include <QBuffer>
#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace quorvane::show {

namespace {

/// Given a test that cannot be set up, no test may pass.
void require(bool done, const QByteArray& what)
{
    if (!done)
        qFatal("cannot make %s", what.constData());
}

} // namespace

QImage solidPicture(Pixel colour, QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(0xff000000U | colour.rgb);
    return image;
}

QByteArray encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    constexpr int kBestJpeg = 100;
    constexpr int kFastPng = 80; // Qt's scale for PNG: the less it is packed, the higher.
    const int quality = qstrcmp(format, "jpg") == 0 ? kBestJpeg : kFastPng;
    require(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, format, quality), format);
    return bytes;
}

// Qt's own removal leaves names behind that are not UTF-8.
PictureFolder::PictureFolder() { mFolder.setAutoRemove(false); }

PictureFolder::~PictureFolder()
{
    std::error_code error;
    std::filesystem::remove_all(path().constData(), error);
}

QByteArray PictureFolder::path() const { return QFile::encodeName(mFolder.path()); }

QByteArray PictureFolder::path(const QByteArray& name) const { return path() + '/' + name; }

void PictureFolder::write(const QByteArray& name, const QByteArray& bytes) const
{
    const int file = open(path(name).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    require(file >= 0
            && ::write(file, bytes.constData(), static_cast<size_t>(bytes.size())) == bytes.size(),
        name);
    // As if long ago: a file that was just written may not be finished.
    constexpr timespec kLongAgo { 1'000'000'000, 0 };
    const timespec times[] = { kLongAgo, kLongAgo };
    require(futimens(file, times) == 0, name);
    close(file);
}

void PictureFolder::writeSolid(const QByteArray& name, Pixel colour, QSize size) const
{
    write(name, encoded(solidPicture(colour, size), "png"));
}

void PictureFolder::makeFolder(const QByteArray& name) const
{
    require(mkdir(path(name).constData(), 0700) == 0, name);
}

void PictureFolder::makeLink(const QByteArray& name, const QByteArray& target) const
{
    require(symlink(target.constData(), path(name).constData()) == 0, name);
}

void PictureFolder::makeNode(const QByteArray& name, mode_t type) const
{
    require(mknod(path(name).constData(), type | 0600U, 0) == 0, name);
}

void PictureFolder::remove(const QByteArray& name) const
{
    require(unlink(path(name).constData()) == 0, name);
}

void PictureFolder::removeAll() const
{
    std::error_code error;
    std::filesystem::remove_all(path().constData(), error);
    require(!error, path());
}

} // namespace quorvane::show
