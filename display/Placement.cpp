// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/Placement.h"

#include "images/CGRectUtils.h"
#include "layers/Drawing.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QWidget>

#include <cmath>

namespace quorvane {

namespace {

/// Device pixels up to which a picture is decoded. Beyond it, a long strip that fills the screen by
/// its shorter side, it is enlarged as it is painted.
constexpr double kPixelLimit = 64e6;

/// The same for a movie: two screens of 3840 by 2160.
constexpr double kMoviePixelLimit = 2 * 3840 * 2160;

QSize limited(QSizeF size, double limit)
{
    const double excess = std::sqrt(size.width() * size.height() / limit);
    return (excess > 1 ? size / excess : size).toSize().expandedTo({ 1, 1 });
}

} // namespace

Placement Placement::in(const QWidget& view, const UserDefaults& defaults)
{
    const QVariant mode = defaults.value(kImageFitMode);
    return { mode.isValid() ? defaults.stringValue(kImageFitMode) : QString(), QRectF(view.rect()),
        view.devicePixelRatioF() };
}

bool Placement::isStretching() const
{
    return !fitMode.isNull() && fitMode != kFitModeFit && fitMode != kFitModeZoom
        && fitMode != kFitModeFill;
}

QRectF Placement::rectFor(QSizeF picture) const
{
    if (isStretching())
        return bounds;
    if (picture.isEmpty())
        return {};
    if (fitMode == kFitModeFill)
        return CGRectUtils::rectToFillSize(picture, bounds.size());
    return CGRectUtils::rectToFitSize(picture, bounds.size(), fitMode == kFitModeZoom);
}

QSizeF Placement::deviceSizeOf(const QRectF& rect) const
{
    return deviceRect(rect, bounds.height(), pixelRatio).size();
}

QSize Placement::deviceSizeFor(QSizeF picture) const
{
    return bounded(deviceSizeOf(rectFor(picture)));
}

QSize Placement::bounded(QSizeF devicePixels) { return limited(devicePixels, kPixelLimit); }

QRectF Placement::rectForMovie(QSizeF movie) const
{
    return movie.isEmpty() ? bounds : rectFor(movie);
}

QRectF Placement::pictureRectForMovie(QSizeF movie) const
{
    if (movie.isEmpty() || !isStretching())
        return rectForMovie(movie);
    return CGRectUtils::rectToFitSize(movie, bounds.size(), true);
}

QSize Placement::deviceSizeForMovie(QSizeF movie) const
{
    return limited(deviceSizeOf(pictureRectForMovie(movie)), kMoviePixelLimit);
}

} // namespace quorvane
