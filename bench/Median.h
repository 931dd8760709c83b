// SPDX-License-Identifier: GPL-3.0-or-later
// What a measurement that is repeated is worth.
#pragma once

#include <algorithm>
#include <vector>

namespace quorvane::bench {

/// The value in the middle, the upper one of two. \param values  one at least.
inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace quorvane::bench
