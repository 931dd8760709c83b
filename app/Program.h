// SPDX-License-Identifier: GPL-3.0-or-later
// All that lives as long as the windows' library.
#pragma once

#include "app/ApplicationService.h"
#include "app/MediaPlayerService.h"
#include "app/SlideController.h"
#include "platform/ReducedMotion.h"
#include "platform/SystemClock.h"
#include "platform/UserDefaults.h"

#include <memory>
#include <optional>

class QApplication;

namespace quorvane {

class Neighbours;

/// The parts of the program, and who talks to whom. Thread: main.
class Program {
public:
    /// \param neighbours  null for a program of its own; else must outlive this, as the others.
    Program(QApplication& application, Neighbours* neighbours, const Launch& launch);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Until the person quits. \return the exit status.
    int run();

private:
    using Role = ApplicationService::Role;

    void askBus(Neighbours& neighbours);
    void begin();
    void activate();
    std::unique_ptr<SVImageDisplay> makeDisplay();
    ApplicationActions applicationActions();
    PlayerActions playerActions();
    void connectAll();

    QApplication& mApplication;
    const Launch& mLaunch;
    SystemClock mClock;
    std::optional<Role> mRole; ///< Set once it is decided.
    bool mIsReady = false; ///< All below is made.
    bool mAwaitsCall; ///< The bus started the program, and nobody has asked for anything yet.
    std::optional<ApplicationService> mService; ///< None for a program of its own, and at the end.
    const ReducedMotion mMotion;
    std::optional<UserDefaults> mDefaults;
    std::optional<SlideController> mController;
    std::optional<MediaPlayerService> mPlayer;
};

} // namespace quorvane
