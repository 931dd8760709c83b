// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures that look to a decoder or a painter like those of a camera.
#pragma once

#include <QImage>

namespace quorvane::bench {

/// Soft shapes, edges of all sizes and the noise of a camera; the same one every time. Opaque, of
/// format RGB32. \param number  0 or more; each is another picture.
QImage makePhotograph(QSize size, int number = 0);

} // namespace quorvane::bench
