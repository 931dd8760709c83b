// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/MoviePlayback.h"

#include "platform/FileURL.h"
#include "player/MovieOptions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

namespace quorvane {

namespace {

// The library's levels, of which 100 is what the file has.
constexpr double kFullVolume = 100;

/// How often a length grows that is none. The last frame of a movie may reach beyond the length
/// that its file says, and its sound a bit further.
constexpr int kGrowing = 3;

enum Property : std::uint64_t { Position, Duration, Shape, Turn, Track, Title, Held };

/// A few frames of the codec that most movies have.
constexpr char kWarmUp[] = ":/warm-up.mp4";

// For it, in seconds; altogether many times what it takes.
constexpr double kLookAgain = 0.002;
constexpr int kMostLooks = 5000;

// The name of what was asked for, in the library's replies.
constexpr std::uint64_t kHold = 1;

constexpr char kHeld[] = "pause";

struct Observed {
    Property property;
    const char* name;
    mpv_format format;
};

constexpr Observed kObserved[] = {
    { Position, "time-pos", MPV_FORMAT_DOUBLE },
    { Duration, "duration", MPV_FORMAT_DOUBLE },
    { Shape, "video-out-params", MPV_FORMAT_NODE },
    { Turn, "current-tracks/video", MPV_FORMAT_NODE },
    { Track, "vid", MPV_FORMAT_STRING },
    { Title, "metadata/by-key/title", MPV_FORMAT_STRING },
    { Held, kHeld, MPV_FORMAT_FLAG },
};

void set(mpv_handle* library, const char* name, double value)
{
    mpv_set_property_async(library, 0, name, MPV_FORMAT_DOUBLE, &value);
}

void set(mpv_handle* library, const char* name, bool isSet, std::uint64_t request = 0)
{
    int value = isSet ? 1 : 0;
    mpv_set_property_async(library, request, name, MPV_FORMAT_FLAG, &value);
}

/// \return 0 if it is no map with such a number.
int numberIn(const mpv_node& map, const char* key)
{
    if (map.format != MPV_FORMAT_NODE_MAP)
        return 0;
    const mpv_node_list& list = *map.u.list;
    for (int i = 0; i < list.num; ++i) {
        if (std::strcmp(list.keys[i], key) == 0 && list.values[i].format == MPV_FORMAT_INT64)
            return static_cast<int>(list.values[i].u.int64);
    }
    return 0;
}

/// Whether what is upright at this angle is as wide as it was high.
bool isSideways(int degrees) { return degrees % 180 == 90; }

/// \param track  "auto" before one is chosen, a number, or "no".
MovieNews::Picture pictureOf(const char* track)
{
    if (std::strcmp(track, "auto") == 0)
        return MovieNews::Picture::Unknown;
    return std::strcmp(track, "no") == 0 ? MovieNews::Picture::None : MovieNews::Picture::There;
}

/// \param title  UTF-8, which may be cut within a letter.
void copyTitle(const char* title, MovieNews& news)
{
    news.title = {};
    std::memcpy(news.title.data(), title, std::min(std::strlen(title), news.title.size() - 1));
}

void load(mpv_handle* library, const FileDescriptor& file)
{
    // Not by its name: that need not be text, and beside it lie other files.
    const std::string address = "fd://" + std::to_string(file.get());
    const char* command[] = { "loadfile", address.c_str(), nullptr };
    mpv_command_async(library, 0, command);
}

void stop(mpv_handle* library)
{
    const char* command[] = { "stop", nullptr };
    mpv_command_async(library, 0, command);
}

double momentFrom(double seconds) { return std::isfinite(seconds) ? std::max(seconds, 0.) : 0; }

template <typename T> const T& as(const mpv_event_property& value)
{
    return *static_cast<const T*>(value.data);
}

} // namespace

void MoviePlayback::CloseRenderer::operator()(mpv_render_context* renderer) const
{
    mpv_render_context_set_update_callback(renderer, nullptr, nullptr);
    mpv_render_context_free(renderer);
}

std::unique_ptr<MoviePlayback> MoviePlayback::make(
    const Doorbell& bell, const std::function<bool()>& isAwaited)
{
    std::unique_ptr<MoviePlayback> playback(new MoviePlayback);
    if (!playback->makeLibrary() || !playback->warmUp(isAwaited))
        return nullptr;
    playback->ringWhenAwake(bell);
    playback->observe();
    return playback;
}

bool MoviePlayback::makeLibrary()
{
    mLibrary.reset(mpv_create());
    return mLibrary && setOptions(mLibrary.get()) && mpv_initialize(mLibrary.get()) >= 0
        && makeRenderer();
}

void MoviePlayback::ringWhenAwake(const Doorbell& bell)
{
    const auto ring = [](void* heard) { static_cast<const Doorbell*>(heard)->ring(); };
    auto* const told = const_cast<Doorbell*>(&bell); // The library hands it back as it is.
    mpv_set_wakeup_callback(mLibrary.get(), ring, told);
    mpv_render_context_set_update_callback(mRenderer.get(), ring, told);
}

bool MoviePlayback::makeRenderer()
{
    // Which the library only reads.
    std::array<char, 3> type {};
    static_assert(sizeof MPV_RENDER_API_TYPE_SW == type.size());
    std::memcpy(type.data(), MPV_RENDER_API_TYPE_SW, type.size());
    mpv_render_param parameters[]
        = { { MPV_RENDER_PARAM_API_TYPE, type.data() }, { MPV_RENDER_PARAM_INVALID, nullptr } };
    mpv_render_context* renderer = nullptr;
    const int code = mpv_render_context_create(&renderer, mLibrary.get(), parameters);
    mRenderer.reset(renderer);
    return code >= 0;
}

bool MoviePlayback::warmUp(const std::function<bool()>& isAwaited)
{
    const auto file = openForReading(FileURL(kWarmUp));
    if (!file || isAwaited())
        return file.has_value();
    setDevices(mLibrary.get(), false, false);
    load(mLibrary.get(), *file);
    enum class Stage { Loading, Playing, Stopping } stage = Stage::Loading;
    for (int i = 0; i < kMostLooks; ++i) {
        const mpv_event_id event = mpv_wait_event(mLibrary.get(), kLookAgain)->event_id;
        if (event == MPV_EVENT_END_FILE)
            return true;
        if (event == MPV_EVENT_START_FILE)
            stage = Stage::Playing;
        const bool isDrawn = drawAside();
        // What is stopped before it has begun has no end that one could wait for.
        if (stage == Stage::Playing && (isDrawn || isAwaited())) {
            stop(mLibrary.get());
            stage = Stage::Stopping;
        }
    }
    return false;
}

/// \return whether a frame was due.
bool MoviePlayback::drawAside()
{
    if ((mpv_render_context_update(mRenderer.get()) & MPV_RENDER_UPDATE_FRAME) == 0)
        return false;
    constexpr int side = 16;
    std::vector<std::byte> memory(frameBytes(side, side));
    draw(Pixels<std::byte> { memory.data(), frameStep(side), side, side });
    return true;
}

void MoviePlayback::observe()
{
    for (const Observed& observed : kObserved)
        mpv_observe_property(mLibrary.get(), observed.property, observed.name, observed.format);
}

void MoviePlayback::open(const ToPlayer& message, FileDescriptor file)
{
    mFile = std::move(file);
    setDevices(mLibrary.get(), message.hasSound != 0, message.hasGraphicsCard != 0);
    load(mLibrary.get(), mFile);
}

std::optional<MoviePlayback::Frame> MoviePlayback::work(FrameMemory& memory)
{
    if (mFile.get() < 0)
        return {};
    hearEvents();
    applyWishes();
    auto frame = drawWhatIsDue(memory);
    // The last frame comes before the end.
    if (isAtEnd() && mApplied.isPlaying != 0 && !mOwesFrame && mNews.end == MovieNews::End::None)
        mNews.end = MovieNews::End::Finished;
    return frame;
}

void MoviePlayback::applyWishes()
{
    // Before it is loaded, the library would refuse.
    const bool isMoment = mIsLoaded && mWishes.momentNumber != mApplied.momentNumber;
    if (isMoment)
        seek(mWishes.moment);
    const bool isOtherwise = mWishes.isPlaying != mApplied.isPlaying;
    // After a seek, too: the library may have come to the end just now, and holds it there.
    if (isMoment || isOtherwise)
        hold(mWishes.isPlaying == 0);
    if (mWishes.isMuted != mApplied.isMuted)
        set(mLibrary.get(), "mute", mWishes.isMuted != 0);
    if (mWishes.volume < mApplied.volume || mApplied.volume < mWishes.volume)
        set(mLibrary.get(), "volume", mWishes.volume * kFullVolume);
    const auto momentNumber = isMoment ? mWishes.momentNumber : mApplied.momentNumber;
    mApplied = mWishes;
    mApplied.momentNumber = momentNumber;
}

void MoviePlayback::seek(double seconds)
{
    std::array<char, 40> text {};
    std::snprintf(text.data(), text.size(), "%.6f", seconds);
    const char* command[] = { "seek", text.data(), "absolute+exact", nullptr };
    mpv_command_async(mLibrary.get(), 0, command);
}

/// Nothing else makes the library hold a movie by itself. It says earlier that the end is reached:
/// when the device has got all of the sound, a third of a second before that is heard.
bool MoviePlayback::isAtEnd() const { return mIsHeld && mHoldsOnTheWay == 0; }

void MoviePlayback::hold(bool isHeld)
{
    set(mLibrary.get(), kHeld, isHeld, kHold);
    ++mHoldsOnTheWay;
}

void MoviePlayback::learnThatWishIsDone()
{
    --mHoldsOnTheWay;
    mIsHeld = false; // What was seen before the wish counts no more.
    // It says only what differs from what it said last.
    mpv_unobserve_property(mLibrary.get(), Held);
    mpv_observe_property(mLibrary.get(), Held, kHeld, MPV_FORMAT_FLAG);
}

void MoviePlayback::hearEvents()
{
    for (;;) {
        const mpv_event* const event = mpv_wait_event(mLibrary.get(), 0);
        if (event->event_id == MPV_EVENT_NONE)
            return;
        hear(*event);
    }
}

void MoviePlayback::hear(const mpv_event& event)
{
    switch (event.event_id) {
    case MPV_EVENT_FILE_LOADED:
        mIsLoaded = true;
        break;
    case MPV_EVENT_SET_PROPERTY_REPLY:
        if (event.reply_userdata == kHold)
            learnThatWishIsDone();
        break;
    case MPV_EVENT_END_FILE: // Only when it cannot be played: at its end it stays open.
        if (mNews.end == MovieNews::End::None)
            mNews.end = MovieNews::End::Failed;
        break;
    case MPV_EVENT_PROPERTY_CHANGE:
        hear(event.reply_userdata, *static_cast<const mpv_event_property*>(event.data));
        break;
    default:
        break;
    }
}

void MoviePlayback::hear(std::uint64_t property, const mpv_event_property& value)
{
    if (value.format == MPV_FORMAT_NONE)
        return; // Not known now; what was known still holds.
    switch (property) {
    case Position:
        mNews.position = momentFrom(as<double>(value));
        break;
    case Duration:
        learnDuration(momentFrom(as<double>(value)));
        break;
    case Shape: // With square pixels.
        mShapeWidth = numberIn(as<mpv_node>(value), "dw");
        mShapeHeight = numberIn(as<mpv_node>(value), "dh");
        learnSize();
        break;
    case Turn:
        mDegrees = numberIn(as<mpv_node>(value), "demux-rotation");
        learnSize();
        break;
    case Track:
        if (const auto picture = pictureOf(as<const char*>(value));
            picture != MovieNews::Picture::Unknown)
            mNews.picture = picture;
        break;
    case Title:
        copyTitle(as<char*>(value), mNews);
        break;
    case Held:
        mIsHeld = as<int>(value) != 0;
        break;
    default:
        break;
    }
}

/// Of a file that does not say how long it is, the library says how far it has read, again and
/// again.
void MoviePlayback::learnDuration(double seconds)
{
    if (mNews.duration > 0 && seconds > mNews.duration)
        ++mDurationGrowths;
    mNews.duration = seconds;
    mNews.isDurationKnown = mDurationGrowths < kGrowing ? 1 : 0;
}

void MoviePlayback::learnSize()
{
    // At its end the library no longer knows it.
    if (mShapeWidth <= 0 || mShapeHeight <= 0 || !mDegrees)
        return;
    mNews.width = isSideways(*mDegrees) ? mShapeHeight : mShapeWidth;
    mNews.height = isSideways(*mDegrees) ? mShapeWidth : mShapeHeight;
}

std::optional<MoviePlayback::Frame> MoviePlayback::drawWhatIsDue(FrameMemory& memory)
{
    mpv_render_frame_info next = {};
    mpv_render_context_get_info(mRenderer.get(), { MPV_RENDER_PARAM_NEXT_FRAME_INFO, &next });
    const bool isDue = (mpv_render_context_update(mRenderer.get()) & MPV_RENDER_UPDATE_FRAME) != 0;
    mHasFrame = mHasFrame || (next.flags & MPV_RENDER_FRAME_INFO_PRESENT) != 0;
    const bool isWanted = mHasFrame && mNews.width > 0 && mApplied.width > 0 && mApplied.height > 0;
    const bool isOfThatSize = mApplied.width == mDrawnWidth && mApplied.height == mDrawnHeight;
    if (isWanted && (isDue || mOwesFrame || !isOfThatSize)) {
        auto frame = draw(memory);
        mOwesFrame = !frame;
        if (frame || !isDue)
            return frame;
    }
    if (isDue)
        skip();
    return {};
}

void MoviePlayback::skip()
{
    int yes = 1;
    mpv_render_param parameters[]
        = { { MPV_RENDER_PARAM_SKIP_RENDERING, &yes }, { MPV_RENDER_PARAM_INVALID, nullptr } };
    mpv_render_context_render(mRenderer.get(), parameters); // The library waits for it.
}

std::optional<MoviePlayback::Frame> MoviePlayback::draw(FrameMemory& memory)
{
    const int width = mApplied.width;
    const int height = mApplied.height;
    std::byte* const place = memory.place(frameBytes(width, height));
    if (!place)
        return {};
    const Pixels<std::byte> pixels { place, frameStep(width), width, height };
    const int degrees = mDegrees.value_or(0);
    const bool isTurned = degrees % 90 == 0 && degrees > 0 && degrees < 360;
    if (!(isTurned ? drawTurned(pixels, degrees) : draw(pixels)))
        return {};
    mDrawnWidth = width;
    mDrawnHeight = height;
    return Frame { memory.giveBack(), width, height };
}

bool MoviePlayback::drawTurned(const Pixels<std::byte>& pixels, int degrees)
{
    const int width = isSideways(degrees) ? pixels.height : pixels.width;
    const int height = isSideways(degrees) ? pixels.width : pixels.height;
    mNotTurned.resize(frameBytes(width, height));
    const Pixels<std::byte> drawn { mNotTurned.data(), frameStep(width), width, height };
    if (!draw(drawn))
        return false;
    turn({ drawn.data, drawn.step, width, height }, pixels, degrees);
    return true;
}

bool MoviePlayback::draw(const Pixels<std::byte>& pixels)
{
    int size[] = { pixels.width, pixels.height };
    std::size_t step = pixels.step;
    std::array<char, 5> format = { 'b', 'g', 'r', '0', '\0' };
    int no = 0;
    mpv_render_param parameters[] = { { MPV_RENDER_PARAM_SW_SIZE, size },
        { MPV_RENDER_PARAM_SW_FORMAT, format.data() }, { MPV_RENDER_PARAM_SW_STRIDE, &step },
        { MPV_RENDER_PARAM_SW_POINTER, pixels.data },
        { MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &no }, { MPV_RENDER_PARAM_INVALID, nullptr } };
    return mpv_render_context_render(mRenderer.get(), parameters) >= 0;
}

} // namespace quorvane
