// SPDX-License-Identifier: GPL-3.0-or-later
// Where a picture is placed in an area.
#pragma once

#include <QRectF>
#include <QSizeF>

namespace quorvane {

/// Placement of a picture by its size alone. Results count from the corner (0, 0) of the area, y up
/// or down alike, and are never rounded. Sizes in any one unit. Pure functions; thread: any.
class CGRectUtils {
public:
    /// Shrunk until it fits, its shape kept, and centred. A picture that fits as it is keeps its
    /// size unless `expand` is set. The picture's width and height are cut to whole numbers first.
    static QRectF rectToFitSize(QSizeF picture, QSizeF screen, bool expand);

    /// Scaled until it covers the whole area, its shape kept, and centred: what overhangs is cut
    /// off on both sides alike. The picture's width and height are cut to whole numbers first.
    static QRectF rectToFillSize(QSizeF picture, QSizeF screen);
};

} // namespace quorvane
