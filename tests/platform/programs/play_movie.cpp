// SPDX-License-Identifier: GPL-3.0-or-later
// play_movie DECODER ADDRESS…: plays movies one after the other in a process of its own.
// DECODER is the decoder beside which the player lies; an ADDRESS is file:///…, so that bytes are
// kept. Of each movie it writes "finished ", "failed ", "unfinished " or "none ", and "mapped " if
// a library of movies is in this process afterwards. With QUORVANE_LEAVE set it writes the players'
// numbers of process and leaves with the first movie still playing; with QUORVANE_SOUND set they
// are heard, as loud as QUORVANE_VOLUME says, from 0 to 1, and not with QUORVANE_MUTED set.
#include "platform/DecoderProgram.h"
#include "platform/FileURL.h"
#include "platform/MoviePlayer.h"
#include "support/Processes.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

namespace {

using namespace quorvane;

void tellChildren()
{
    for (const pid_t child : tests::childProcesses())
        std::printf("%d ", child);
}

class Reporter : public MovieObserver {
public:
    void movieFirstFrameReady() override
    {
        if (!qEnvironmentVariableIsSet("QUORVANE_LEAVE"))
            return;
        tellChildren();
        QCoreApplication::exit();
    }

    void movieEnded(MovieEnd end) override
    {
        std::fputs(end == MovieEnd::Finished ? "finished "
                : end == MovieEnd::Failed    ? "failed "
                                             : "unfinished ",
            stdout);
        QCoreApplication::exit();
    }
};

void tellLibraries()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly) || maps.readAll().contains("/libmpv.so"))
        std::fputs("mapped ", stdout);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc < 2)
        return 2;
    setDecoderProgram(argv[1]);
    const MoviePlayerOptions options { .hasSound = qEnvironmentVariableIsSet("QUORVANE_SOUND") };
    for (int i = 2; i < argc; ++i) {
        const auto player = MoviePlayer::playerWithURL(FileURL::fromEncoded(argv[i]), options);
        Reporter reporter;
        if (player) {
            player->addObserver(reporter);
            if (qEnvironmentVariableIsSet("QUORVANE_VOLUME"))
                player->setVolume(qEnvironmentVariable("QUORVANE_VOLUME").toDouble());
            player->setMuted(qEnvironmentVariableIsSet("QUORVANE_MUTED"));
            player->setTargetSize({ 64, 48 });
            player->play();
            QCoreApplication::exec();
        } else {
            std::fputs("none ", stdout);
        }
        tellLibraries();
    }
    return 0;
}
