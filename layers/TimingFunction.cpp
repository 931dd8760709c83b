// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/TimingFunction.h"

#include <algorithm>

namespace quorvane {

namespace {

/// One coordinate of the curve. \param s  along the curve, from 0 to 1.
double coordinate(double first, double second, double s)
{
    const double rest = 1 - s;
    return 3 * rest * rest * s * first + 3 * rest * s * s * second + s * s * s;
}

/// Where on the curve x is `time`: by halves, since x only grows; 50 of them are a double's worth.
double placeOf(double x1, double x2, double time)
{
    constexpr int kHalves = 50;
    double low = 0;
    double high = 1;
    for (int i = 0; i < kHalves; ++i) {
        const double middle = (low + high) / 2;
        (coordinate(x1, x2, middle) < time ? low : high) = middle;
    }
    return (low + high) / 2;
}

} // namespace

double TimingFunction::progressAt(double time) const
{
    const double clamped = std::clamp(time, 0.0, 1.0);
    const bool isEnd = clamped <= 0 || clamped >= 1;
    if (isEnd || *this == linear())
        return clamped;
    return coordinate(mY1, mY2, placeOf(mX1, mX2, clamped));
}

} // namespace quorvane
