// SPDX-License-Identifier: GPL-3.0-or-later
// Whether this is a build that watches itself.
#pragma once

namespace quorvane {

/// Built with the address or the thread sanitizer, which takes many times the memory and the time,
/// and needs what confined programs are not given.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHasSanitizer = true;
#else
constexpr bool kHasSanitizer = false;
#endif

} // namespace quorvane
