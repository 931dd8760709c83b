// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MoviePlayer.h"

#include "platform/DecoderProgram.h"
#include "platform/FileURL.h"
#include "platform/MovieAvailability.h"
#include "platform/MoviePool.h"
#include "platform/SessionPlayer.h"

#include <QDebug>

#include <algorithm>

namespace quorvane {

namespace {

MoviePool& pool()
{
    // Never destroyed, as movies may go after everything else. The kernel ends the players.
    static auto* const instance = new MoviePool({ .program = playerProgram() });
    return *instance;
}

bool findOut()
{
    const auto reason = reasonAgainstMovies(playerProgram(), QUORVANE_MOVIE_LIBRARY);
    if (reason)
        qWarning("Movies are not played: %s", reason->toLocal8Bit().constData());
    return !reason;
}

} // namespace

bool MoviePlayer::isAvailable()
{
    static const bool isThere = findOut();
    return isThere;
}

std::unique_ptr<MoviePlayer> MoviePlayer::playerWithURL(
    const FileURL& url, const MoviePlayerOptions& options)
{
    if (url.isEmpty() || !isAvailable())
        return nullptr;
    auto player = std::make_unique<SessionPlayer>(pool(), url, options);
    player->MoviePlayer::setURL(url);
    return player;
}

void MoviePlayer::prepare()
{
    if (isAvailable())
        pool().prepare();
}

bool MoviePlayer::tell(const std::function<void(MovieObserver&)>& news)
{
    const std::weak_ptr<const Observers> list = mObservers;
    const Observers present = *mObservers;
    for (MovieObserver* const observer : present) {
        auto now = list.lock();
        if (!now || std::find(now->begin(), now->end(), observer) == now->end())
            continue;
        now.reset();
        news(*observer);
    }
    return !list.expired();
}

} // namespace quorvane
