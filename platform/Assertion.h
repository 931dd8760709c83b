// SPDX-License-Identifier: GPL-3.0-or-later
// What happens when a rule of our own is broken: a line on standard error, and the program stops.
#pragma once

namespace quorvane {

/// Failures that only a mistake of ours can cause. They stop the program in release builds too:
/// going on would show or store something wrong. Thread: any.
class Assertion {
public:
    /// Writes `text` with the place and aborts.
    /// \param file  name of the source file without its extension.
    [[noreturn]] static void fail(const char* text, const char* file, int line);

    /// The same for a condition on a parameter; `condition` is its text.
    [[noreturn]] static void invalidParameter(const char* condition, const char* file, int line);
};

} // namespace quorvane
