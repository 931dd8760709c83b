// SPDX-License-Identifier: GPL-3.0-or-later
// The program that opens files which anybody may have made. The viewer starts it; nobody else does.
#include "decoder/Confinement.h"
#include "decoder/FormatsModule.h"
#include "decoder/PictureFormats.h"
#include "decoder/Session.h"
#include "platform/DecoderProtocol.h"
#include "platform/ServiceProcess.h"
#include "platform/ServiceProgram.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

/// Memory that was touched once is kept for the next picture: fresh pages cost more than decoding
/// into them.
void keepMemory()
{
    constexpr int kLargestKept = 1 << 29;
    mallopt(M_MMAP_THRESHOLD, kLargestKept);
    mallopt(M_TRIM_THRESHOLD, kLargestKept);
}

/// Ends the program where it stands: the viewer starts another one.
[[noreturn]] void endForLackOfMemory() { std::_Exit(EXIT_FAILURE); }

void ignoreMessage(QtMsgType, const QMessageLogContext&, const QString&) { }

} // namespace

int main(int argc, char** argv)
{
    using quorvane::kServiceSocket;

    if (!quorvane::isService()) {
        std::fputs("quorvane-decoder: only quorvane starts this program\n", stderr);
        return EXIT_FAILURE;
    }
    std::set_new_handler(endForLackOfMemory);
    keepMemory();
    quorvane::volunteerToBeEnded();
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
    const QStringList missing
        = quorvane::confine({ kServiceSocket, quorvane::serviceMemoryLimit() });
    quorvane::Session(kServiceSocket, *formats).run(missing.join(QStringLiteral(", ")).toUtf8());
    // The end of the libraries is not worth waiting for.
    std::_Exit(EXIT_SUCCESS);
}
