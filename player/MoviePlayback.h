// SPDX-License-Identifier: GPL-3.0-or-later
// One movie, played by libmpv.
//
// Nothing here waits for the library: it is told what is wanted, says what has happened, and draws
// the frames that are due. A frame that is late is dropped. The library draws with the processor,
// into memory.
#pragma once

#include "platform/Doorbell.h"
#include "platform/FileDescriptor.h"
#include "platform/PlayerProtocol.h"
#include "player/FrameMemory.h"
#include "player/Turning.h"

#include <mpv/client.h>
#include <mpv/render.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

/// Thread: one.
class MoviePlayback {
public:
    /// A frame that was drawn.
    struct Frame {
        std::uint64_t loan;
        int width;
        int height;
    };

    /// Has the library ready, and lets it play a tiny movie, which spares the real one the half of
    /// its time that goes into touching and preparing things.
    /// \param bell       rung when there is something to do.
    /// \param isAwaited  whether the real one is there already; then the tiny one is left out.
    /// \return nullptr when the library is not one that we know how to use.
    static std::unique_ptr<MoviePlayback> make(
        const Doorbell& bell, const std::function<bool()>& isAwaited);

    /// Once. \param message  of the kind Open.
    void open(const ToPlayer& message, FileDescriptor file);

    void setWishes(const MovieWishes& wishes) { mWishes = wishes; }

    /// Does what there is to do. \return a frame, if one was drawn.
    std::optional<Frame> work(FrameMemory& memory);

    const MovieNews& news() const { return mNews; }

private:
    struct CloseLibrary {
        void operator()(mpv_handle* library) const { mpv_terminate_destroy(library); }
    };
    struct CloseRenderer {
        void operator()(mpv_render_context* renderer) const;
    };

    MoviePlayback() = default;

    bool makeLibrary();
    void ringWhenAwake(const Doorbell& bell);
    bool makeRenderer();
    bool warmUp(const std::function<bool()>& isAwaited);
    bool drawAside();
    void observe();

    void applyWishes();
    void seek(double seconds);
    bool isAtEnd() const;
    void hold(bool isHeld);
    void learnThatWishIsDone();
    void hearEvents();
    void hear(const mpv_event& event);
    void hear(std::uint64_t property, const mpv_event_property& value);
    void learnDuration(double seconds);
    void learnSize();
    std::optional<Frame> drawWhatIsDue(FrameMemory& memory);
    std::optional<Frame> draw(FrameMemory& memory);
    bool draw(const Pixels<std::byte>& pixels);
    bool drawTurned(const Pixels<std::byte>& pixels, int degrees);
    void skip();

    std::unique_ptr<mpv_handle, CloseLibrary> mLibrary;
    std::unique_ptr<mpv_render_context, CloseRenderer> mRenderer; ///< Goes before the library.
    FileDescriptor mFile;
    MovieNews mNews;
    MovieWishes mWishes;
    MovieWishes mApplied;
    bool mIsLoaded = false;
    bool mIsHeld = false; ///< As far as it is known: not while a wish is on its way.
    int mHoldsOnTheWay = 0;
    int mDurationGrowths = 0;
    int mShapeWidth = 0; ///< With square pixels, but not upright.
    int mShapeHeight = 0;
    std::optional<int> mDegrees; ///< By which it is to be turned to the right.
    bool mHasFrame = false;
    bool mOwesFrame = false; ///< There was no memory for the last one.
    int mDrawnWidth = 0;
    int mDrawnHeight = 0;
    std::vector<std::byte> mNotTurned; ///< A frame on its way.
};

} // namespace quorvane
