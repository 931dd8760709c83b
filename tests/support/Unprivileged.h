// SPDX-License-Identifier: GPL-3.0-or-later
// Tests of permissions that also mean something to the superuser.
#pragma once

#include <sys/fsuid.h>
#include <unistd.h>

namespace quorvane::tests {

/// While it lives, the calling thread's access to files is that of nobody in particular. Without
/// effect for an ordinary user, who has no rights to lay down.
class Unprivileged {
public:
    Unprivileged()
        : mUser(static_cast<uid_t>(setfsuid(kNobody)))
    {
    }
    ~Unprivileged() { setfsuid(mUser); }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

    /// False where the superuser cannot lay down any rights (some containers).
    static bool isPossible()
    {
        const Unprivileged unprivileged;
        constexpr uid_t kAsk = static_cast<uid_t>(-1); // No user: the answer tells the present one.
        return geteuid() != 0 || static_cast<uid_t>(setfsuid(kAsk)) == kNobody;
    }

private:
    static constexpr uid_t kNobody = 65534;

    uid_t mUser;
};

} // namespace quorvane::tests
