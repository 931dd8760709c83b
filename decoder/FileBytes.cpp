// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FileBytes.h"

#include <unistd.h>

namespace quorvane {

namespace {

constexpr qsizetype kHeadSize = qsizetype(256) * 1024;
constexpr qint64 kFileLimit = qint64(1) << 30;

QByteArray beginningOf(const FileDescriptor& file, qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < size) {
        const ssize_t got
            = pread(file.get(), bytes.data() + filled, static_cast<size_t>(size - filled), filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        filled += got;
    }
    bytes.truncate(filled);
    return bytes;
}

} // namespace

FileBytes::FileBytes(const FileDescriptor& file)
    : mFile(&file)
{
}

FileBytes::FileBytes(QByteArray bytes)
    : mAll(std::move(bytes))
{
}

const QByteArray& FileBytes::head()
{
    if (!mHead)
        mHead = mAll ? mAll->first(std::min(kHeadSize, mAll->size()))
                     : beginningOf(*mFile, kHeadSize);
    return *mHead;
}

Result<QByteArray> FileBytes::all()
{
    if (!mAll) {
        auto bytes = readAll(*mFile, kFileLimit);
        if (!bytes)
            return tl::unexpected(bytes.error());
        mAll = std::move(*bytes);
    }
    return *mAll;
}

int FileBytes::descriptor() const { return mFile ? mFile->get() : -1; }

} // namespace quorvane
