// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/CGRectUtils.h"

#include <cmath>

namespace quorvane {

namespace {

QSizeF truncated(QSizeF size) { return { std::trunc(size.width()), std::trunc(size.height()) }; }

QRectF centred(QSizeF size, QSizeF area)
{
    return { QPointF((area.width() - size.width()) * 0.5, (area.height() - size.height()) * 0.5),
        size };
}

} // namespace

QRectF CGRectUtils::rectToFitSize(QSizeF picture, QSizeF screen, bool expand)
{
    const QSizeF size = truncated(picture);
    const bool fits = size.width() <= screen.width() && size.height() <= screen.height();
    if (fits && !expand)
        return centred(size, screen);
    const double rx = screen.width() / size.width();
    const double ry = screen.height() / size.height();
    if (rx > ry) {
        const double width = ry * size.width();
        return { (screen.width() - width) * 0.5, 0, width, screen.height() };
    }
    const double height = rx * size.height();
    return { 0, (screen.height() - height) * 0.5, screen.width(), height };
}

QRectF CGRectUtils::rectToFillSize(QSizeF picture, QSizeF screen)
{
    const QSizeF size = truncated(picture);
    const double rx = screen.width() / size.width();
    const double ry = screen.height() / size.height();
    if (rx > ry) {
        const double height = rx * size.height();
        return { 0, (screen.height() - height) * 0.5, screen.width(), height };
    }
    const double width = ry * size.width();
    return { (screen.width() - width) * 0.5, 0, width, screen.height() };
}

} // namespace quorvane
