// SPDX-License-Identifier: GPL-3.0-or-later
// The program that plays a movie which anybody may have made. The viewer starts it; nobody else
// does.
#include "platform/PlayerProtocol.h"
#include "platform/ServiceProcess.h"
#include "platform/ServiceProgram.h"
#include "player/MoviePlayback.h"
#include "player/Restrictions.h"
#include "player/Session.h"

#include <alsa/asoundlib.h>

extern "C" {
#include <libavutil/log.h>
}

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void ignoreSoundError(const char*, int, const char*, int, const char*, ...) { }

/// What the libraries think of a file or of a missing loudspeaker is for nobody's terminal.
void silenceLibraries()
{
    av_log_set_level(AV_LOG_QUIET);
    snd_lib_error_set_handler(&ignoreSoundError);
}

bool hasOption(int argc, char** argv, const char* option)
{
    return argc > 1 && std::strcmp(argv[1], option) == 0;
}

bool canPlay()
{
    const quorvane::Doorbell bell;
    return quorvane::MoviePlayback::make(bell, [] { return false; }) != nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    silenceLibraries();
    if (hasOption(argc, argv, quorvane::kCheckOption))
        std::_Exit(canPlay() ? EXIT_SUCCESS : EXIT_FAILURE);
    if (!quorvane::isService()) {
        std::fputs("quorvane-movies: only quorvane starts this program\n", stderr);
        return EXIT_FAILURE;
    }
    quorvane::volunteerToBeEnded();
    quorvane::restrictPlayer();
    quorvane::Session session(quorvane::kServiceSocket);
    const bool isUsable = session.run();
    // The end of the libraries is not worth waiting for.
    std::_Exit(isUsable ? EXIT_SUCCESS : EXIT_FAILURE);
}
