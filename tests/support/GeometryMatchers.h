// SPDX-License-Identifier: GPL-3.0-or-later
// Rectangles and sizes as a failing test shows them.
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <gtest/gtest.h>

#include <ostream>

// Where the printer looks for them: beside the types.
inline void PrintTo(const QRectF& rect, std::ostream* out)
{
    *out << "(" << rect.x() << ", " << rect.y() << ", " << rect.width() << ", " << rect.height()
         << ")";
}
inline void PrintTo(const QRect& rect, std::ostream* out) { PrintTo(QRectF(rect), out); }
inline void PrintTo(const QSizeF& size, std::ostream* out)
{
    *out << size.width() << "x" << size.height();
}
inline void PrintTo(const QSize& size, std::ostream* out) { PrintTo(QSizeF(size), out); }
inline void PrintTo(const QPointF& point, std::ostream* out)
{
    *out << "(" << point.x() << ", " << point.y() << ")";
}

namespace quorvane::tests {

/// To the last bit: QRectF's own comparison lets small differences pass.
inline testing::AssertionResult isExactly(const QRectF& rect, const QRectF& expected)
{
    if (rect.x() == expected.x() && rect.y() == expected.y() && rect.width() == expected.width()
        && rect.height() == expected.height())
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
        << testing::PrintToString(rect) << " instead of " << testing::PrintToString(expected);
}

} // namespace quorvane::tests
