// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Neighbours.h"

#include <QCryptographicHash>

#include <fcntl.h>

namespace quorvane {

namespace {

/// One for each bus: a person may have several in one session. Never removed: whoever removes it
/// splits those who hold it.
QByteArray lockFile()
{
    const QByteArray bus
        = QCryptographicHash::hash(qgetenv("DBUS_SESSION_BUS_ADDRESS"), QCryptographicHash::Sha1);
    return qgetenv("XDG_RUNTIME_DIR") + "/quorvane-" + bus.toHex() + ".lock";
}

/// Of the whole file.
struct flock lockOf(short type)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

Neighbours::Neighbours()
{
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        return;
    FileDescriptor file(open(lockFile().constData(),
        O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600));
    // Owned by the open file, unlike older locks: it asks without letting go of its own.
    struct flock share = lockOf(F_RDLCK);
    if (file.get() >= 0 && fcntl(file.get(), F_OFD_SETLK, &share) == 0)
        mFile = std::move(file);
}

bool Neighbours::areThere() const
{
    struct flock whole = lockOf(F_WRLCK);
    return mFile.get() >= 0 && fcntl(mFile.get(), F_OFD_GETLK, &whole) == 0
        && whole.l_type != F_UNLCK;
}

void Neighbours::leave() { mFile = FileDescriptor(); }

} // namespace quorvane
