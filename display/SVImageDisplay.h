// SPDX-License-Identifier: GPL-3.0-or-later
// What the show needs of whatever displays it.
#pragma once

#include "platform/FileURL.h"

#include <memory>

class QWidget;

namespace quorvane {

class MoviePlayer;
class SVImage;

/// Hears from the display. Thread: main.
class SVImageDisplayDelegate {
public:
    virtual ~SVImageDisplayDelegate() = default;

    /// The person is busy with the slide: it is to stay for a while.
    virtual void delayNextImage() = 0;

    /// The answer to setImageWithURL(): the picture is on screen, or ImageOK() is false and the
    /// screen is as it was. May come before setImageWithURL() returns. A request that is overtaken
    /// by another is never answered.
    virtual void imageWithURLFinished(const FileURL& url) = 0;

    /// The movie of showMovie() is on screen.
    virtual void movieAppeared() = 0;
};

/// Shows one slide at a time. Thread: main.
class SVImageDisplay {
public:
    virtual ~SVImageDisplay() = default;

    /// Not owned.
    virtual void setDelegate(SVImageDisplayDelegate* delegate) = 0;

    /// False when the last request by URL came to nothing.
    virtual bool ImageOK() const = 0;

    /// Whether that was because the file is still being written: it can be asked for again.
    virtual bool isImageUnfinished() const = 0;

    /// Shows nothing.
    virtual void clearImage() = 0;

    /// Half as large again; there is no upper limit.
    virtual void zoomIn() = 0;

    /// A point for each of the picture's pixels.
    virtual void zoomOne() = 0;

    /// As large as the setting "ImageFitMode" says.
    virtual void zoomOff() = 0;

    /// Moves a picture that is larger than the view, as far as it goes. \param dx, dy  points, to
    /// the right and downwards.
    virtual void panX(double dx, double dy) = 0;

    /// Places the picture anew, after the setting "ImageFitMode" changed.
    virtual void updateFitMode() = 0;

    /// Has the file decoded and shows it, in place of what is asked for and not yet there. Ignored
    /// while a transition runs. What is on screen stays until the new picture is ready.
    /// \param forward  towards later slides; the direction of a transition.
    virtual void setImageWithURL(const FileURL& url, bool forward) = 0;

    /// Shows a picture that is there already.
    virtual void setImage(const std::shared_ptr<SVImage>& image, bool forward) = 0;

    /// Shows a movie and plays it. What is on screen stays until its first frame is there; its own
    /// last frame stays until something else is shown.
    /// \param player  nullptr for nothing in the place of a picture.
    virtual void showMovie(const std::shared_ptr<MoviePlayer>& player, bool forward) = 0;

    /// Places and decodes the picture anew.
    virtual void refresh() = 0;

    /// Whether a transition is running.
    virtual bool isBusy() const = 0;

    /// Whether a picture was asked for and is not ready yet.
    virtual bool isLoading() const = 0;

    /// Decodes a picture that will probably be asked for next.
    virtual void readAhead(const FileURL& url) = 0;

    /// Itself as a widget.
    virtual QWidget* widget() = 0;
};

} // namespace quorvane
