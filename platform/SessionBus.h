// SPDX-License-Identifier: GPL-3.0-or-later
// The way to the services of the person's session.
#pragma once

#include "platform/LifeGuard.h"

#include <functional>

class QDBusConnection;

namespace quorvane {

/// A share in the program's one connection to the session bus. The last share that goes closes it;
/// what services keep for a connection ends then. A bus that has gone away, which is the end of the
/// session, stays away as long as anybody has a share. Thread: main.
class SessionBus {
public:
    SessionBus();
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// Connects in the background where nobody has yet, which may take long.
    /// \param reached  runs later, in the main thread, with whether the bus is there; not at all
    ///                 once this share is gone.
    void reach(std::function<void(bool isThere)> reached);

    /// Not connected unless reach() said so.
    static QDBusConnection connection();

private:
    LifeGuard mLifeGuard;
};

} // namespace quorvane
