// SPDX-License-Identifier: GPL-3.0-or-later
// How the progress of an animation follows from the time that has passed.
#pragma once

namespace quorvane {

/// A cubic Bézier curve from (0, 0) to (1, 1) whose x is time and whose y is progress. A value.
class TimingFunction {
public:
    /// As many seconds, as much progress.
    constexpr TimingFunction() = default;

    /// \param x1, y1, x2, y2  the two control points between the ends; both x from 0 to 1.
    constexpr TimingFunction(double x1, double y1, double x2, double y2)
        : mX1(x1)
        , mY1(y1)
        , mX2(x2)
        , mY2(y2)
    {
    }

    static constexpr TimingFunction linear() { return {}; }
    static constexpr TimingFunction easeIn() { return { 0.42, 0, 1, 1 }; }
    static constexpr TimingFunction easeOut() { return { 0, 0, 0.58, 1 }; }
    static constexpr TimingFunction easeInEaseOut() { return { 0.42, 0, 0.58, 1 }; }

    /// \param time  share of the duration; below 0 counts as 0, above 1 as 1.
    double progressAt(double time) const;

    bool operator==(const TimingFunction&) const = default;

private:
    double mX1 = 0;
    double mY1 = 0;
    double mX2 = 1;
    double mY2 = 1;
};

} // namespace quorvane
