// SPDX-License-Identifier: GPL-3.0-or-later
// Giving up, for ever, all that decoding does not need: a decoder is fed with anybody's files.
#pragma once

#include <QStringList>

namespace quorvane {

/// How a program is to be confined.
struct Confinement {
    /// The socket to the viewer: the only descriptor that stays open beside 0, 1 and 2, and the
    /// only one that messages go through.
    int socket = -1;

    /// Bytes of address space, RLIMIT_AS. Not applied in builds with a sanitizer, which reserve
    /// terabytes.
    qint64 memory = qint64(6) << 30;

    /// As on a kernel whose Landlock is of this version; 0 for one without. For tests.
    int newestLandlock = 1000;

    /// Whether this kernel is one that can filter system calls. For tests.
    bool filtersCalls = true;
};

/// Confines this process: no file can be opened any more, nothing connected, no process started,
/// signalled or looked into, no memory made executable. What remains is to compute, to start
/// threads, to talk through the socket and to use the descriptors that come through it. A refused
/// call fails with an error number; it never ends the process. The process ends with the thread
/// that started it: the viewer starts it from one that lasts.
///
/// Standard input and output become /dev/null; standard error stays for messages.
///
/// Called once, on the main thread, when all libraries are loaded. Threads that exist already are
/// confined too, except by Landlock, whose part the filter of system calls covers.
///
/// \return  what this kernel lacks, in English, for the log: the other protections hold.
QStringList confine(const Confinement& confinement);

} // namespace quorvane
