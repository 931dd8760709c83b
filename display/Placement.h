// SPDX-License-Identifier: GPL-3.0-or-later
// Where a slide stands in its view.
#pragma once

#include <QRectF>
#include <QSize>
#include <QString>

class QWidget;

namespace quorvane {

class UserDefaults;

/// What decides where a slide stands: everything but the slide. Rectangles are in points of the
/// view, y up. Thread: main to make it, any after that.
struct Placement {
    QString fitMode; ///< "ImageFitMode"; null when the setting is absent.
    QRectF bounds; ///< The view.
    double pixelRatio = 1;

    static Placement in(const QWidget& view, const UserDefaults& defaults);

    /// \param picture  its size when it is upright; empty for none, which stands nowhere unless it
    /// is to be stretched.
    QRectF rectFor(QSizeF picture) const;

    /// The pixels of the screen that a picture covers, and not too many to keep.
    QSize deviceSizeFor(QSizeF picture) const;
    static QSize bounded(QSizeF devicePixels);

    /// The room of a movie. \param movie  empty for one that has no picture, or is not known yet:
    /// that has all of the view.
    QRectF rectForMovie(QSizeF movie) const;

    /// Where the movie's picture is, undistorted, in its room.
    QRectF pictureRectForMovie(QSizeF movie) const;

    /// The pixels of the screen that a movie covers, and not too many to draw thirty times a
    /// second.
    QSize deviceSizeForMovie(QSizeF movie) const;

private:
    bool isStretching() const;
    QSizeF deviceSizeOf(const QRectF& rect) const;
};

} // namespace quorvane
