// SPDX-License-Identifier: GPL-3.0-or-later
// The program that opens files which anybody may have made. The viewer starts it; nobody else does.
#include "decoder/Confinement.h"
#include "decoder/FormatsModule.h"
#include "decoder/PictureFormats.h"
#include "decoder/Session.h"
#include "platform/DecoderProtocol.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

/// Memory that one picture may take, in bytes: half of the machine's, within these bounds.
constexpr qint64 kLeastMemory = qint64(2) << 30;
constexpr qint64 kMostMemory = qint64(8) << 30;

qint64 memoryLimit()
{
    const qint64 machine = qint64(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
    return std::clamp(machine / 2, kLeastMemory, kMostMemory);
}

/// Memory that was touched once is kept for the next picture: fresh pages cost more than decoding
/// into them.
void keepMemory()
{
    constexpr int kLargestKept = 1 << 29;
    mallopt(M_MMAP_THRESHOLD, kLargestKept);
    mallopt(M_TRIM_THRESHOLD, kLargestKept);
}

/// When memory is short, the kernel is to end this program rather than the viewer.
void volunteerToBeEnded()
{
    const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    [[maybe_unused]] const ssize_t written = write(file, "800", 3);
    close(file);
}

/// Ends the program where it stands: the viewer starts another one.
[[noreturn]] void endForLackOfMemory() { std::_Exit(EXIT_FAILURE); }

bool isSocket(int descriptor) { return lseek(descriptor, 0, SEEK_CUR) < 0 && errno == ESPIPE; }

void ignoreMessage(QtMsgType, const QMessageLogContext&, const QString&) { }

} // namespace

int main(int argc, char** argv)
{
    using quorvane::kDecoderSocket;

    if (!isSocket(kDecoderSocket)) {
        std::fputs("quorvane-decoder: only quorvane starts this program\n", stderr);
        return EXIT_FAILURE;
    }
    std::set_new_handler(endForLackOfMemory);
    keepMemory();
    volunteerToBeEnded();
    qInstallMessageHandler(ignoreMessage);
    QCoreApplication application(argc, argv);
    QCoreApplication::setLibraryPaths({}); // No plugin is ever looked for.
    const bool isForPhotographs = argc > 1 && qstrcmp(argv[1], quorvane::kPhotographsOption) == 0;
    const quorvane::Formats* const formats
        = isForPhotographs ? &quorvane::photographFormats() : quorvane::loadFormatsModule();
    if (!formats)
        return EXIT_FAILURE;
    if (formats->warmUp)
        formats->warmUp();
    const QStringList missing = quorvane::confine({ kDecoderSocket, memoryLimit() });
    quorvane::Session(kDecoderSocket, *formats).run(missing.join(QStringLiteral(", ")).toUtf8());
    // The end of the libraries is not worth waiting for.
    std::_Exit(EXIT_SUCCESS);
}
