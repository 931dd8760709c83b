// SPDX-License-Identifier: GPL-3.0-or-later
// A display that answers as a test tells it, and keeps what was asked of it.
#pragma once

#include "display/SVImageDisplay.h"
#include "platform/MoviePlayer.h"
#include "platform/PathRules.h"

#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorvane::tests {

/// "1.png" of "/folder/1.png".
inline std::string nameOf(const FileURL& url)
{
    return lastPathComponent(url.path()).toByteArray().toStdString();
}

class FakeDisplay;

/// What the displays of one controller obey, and what they note down. Outlives them.
struct FakeScreen {
    enum class Answers { AtOnce, WhenTold };

    std::unique_ptr<SVImageDisplay> makeDisplay();

    /// Answers the request that is waiting.
    void answer();

    bool isWaiting() const;

    /// Forgets what was noted so far.
    void forget()
    {
        asked.clear();
        readAhead.clear();
        zooms.clear();
        fitUpdates = 0;
        clears = 0;
    }

    Answers answers = Answers::AtOnce;
    std::set<std::string> damaged; ///< Names of the files that cannot be shown.
    std::set<std::string> unfinished; ///< Of those that cannot be shown yet.
    bool isBusy = false; ///< A transition runs.
    bool isOlderRequestLoading = false; ///< As if a picture were being decoded.
    std::function<void()> onAsked;
    std::function<void()> onClear;
    std::function<void()> onDelegateGone;

    std::vector<std::string> asked; ///< "1.png>" forward, "1.png<" backward.
    std::vector<std::string> readAhead; ///< Names.
    std::shared_ptr<MoviePlayer> movie; ///< The one that it was given last.
    std::string shown; ///< The name on the screen; empty for none.
    std::vector<std::string> zooms; ///< "in", "one", "off".
    int fitUpdates = 0;
    int clears = 0;
    int made = 0;
    FakeDisplay* display = nullptr; ///< The one that was made last, as long as it lives.
};

class FakeDisplay : public QWidget, public SVImageDisplay {
public:
    explicit FakeDisplay(FakeScreen& screen)
        : mScreen(screen)
    {
        ++mScreen.made;
        mScreen.display = this;
    }

    ~FakeDisplay() override
    {
        if (mScreen.display == this)
            mScreen.display = nullptr;
    }

    FakeDisplay(const FakeDisplay&) = delete;
    FakeDisplay& operator=(const FakeDisplay&) = delete;

    void setDelegate(SVImageDisplayDelegate* delegate) override
    {
        mDelegate = delegate;
        if (!delegate && mScreen.onDelegateGone)
            mScreen.onDelegateGone();
    }

    bool ImageOK() const override { return mImageOK; }
    bool isImageUnfinished() const override { return mIsImageUnfinished; }

    void clearImage() override
    {
        ++mScreen.clears;
        mScreen.shown.clear();
        mScreen.movie.reset();
        mRequest.reset();
        if (mScreen.onClear)
            mScreen.onClear();
    }

    void zoomIn() override { mScreen.zooms.emplace_back("in"); }
    void zoomOne() override { mScreen.zooms.emplace_back("one"); }
    void zoomOff() override { mScreen.zooms.emplace_back("off"); }
    void panX(double /*dx*/, double /*dy*/) override { }
    void updateFitMode() override { ++mScreen.fitUpdates; }

    void setImageWithURL(const FileURL& url, bool forward) override
    {
        mScreen.asked.push_back(nameOf(url) + (forward ? '>' : '<'));
        if (mScreen.onAsked)
            mScreen.onAsked();
        if (mScreen.isBusy)
            return;
        mRequest = url;
        if (mScreen.answers == FakeScreen::Answers::AtOnce)
            answer();
    }

    void setImage(const std::shared_ptr<SVImage>& /*image*/, bool /*forward*/) override { }
    void showMovie(const std::shared_ptr<MoviePlayer>& player, bool forward) override
    {
        mScreen.asked.push_back(nameOf(player->url()) + (forward ? '>' : '<'));
        mScreen.movie = player;
        mRequest.reset();
        player->play();
    }

    /// As if its first frame were there.
    void showMovieFrame()
    {
        mScreen.shown = nameOf(mScreen.movie->url());
        if (mDelegate)
            mDelegate->movieAppeared();
    }

    void refresh() override { }
    bool isBusy() const override { return mScreen.isBusy; }
    bool isLoading() const override
    {
        return mRequest.has_value() || mScreen.isOlderRequestLoading;
    }
    void readAhead(const FileURL& url) override { mScreen.readAhead.push_back(nameOf(url)); }
    QWidget* widget() override { return this; }

    bool isWaiting() const { return mRequest.has_value(); }

    void answer()
    {
        const FileURL url = mRequest.value();
        mRequest.reset();
        mIsImageUnfinished = mScreen.unfinished.contains(nameOf(url));
        mImageOK = !mIsImageUnfinished && !mScreen.damaged.contains(nameOf(url));
        if (mImageOK) {
            mScreen.shown = nameOf(url);
            mScreen.movie.reset();
        }
        if (mDelegate)
            mDelegate->imageWithURLFinished(url);
    }

    /// As if the person had done something to the slide.
    void interact()
    {
        if (mDelegate)
            mDelegate->delayNextImage();
    }

private:
    FakeScreen& mScreen;
    SVImageDisplayDelegate* mDelegate = nullptr;
    std::optional<FileURL> mRequest; ///< Not answered yet.
    bool mImageOK = false;
    bool mIsImageUnfinished = false;
};

inline std::unique_ptr<SVImageDisplay> FakeScreen::makeDisplay()
{
    return std::make_unique<FakeDisplay>(*this);
}

inline void FakeScreen::answer() { display->answer(); }

inline bool FakeScreen::isWaiting() const { return display && display->isWaiting(); }

} // namespace quorvane::tests
