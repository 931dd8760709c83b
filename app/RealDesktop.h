// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop that the person sits at.
#pragma once

#include "app/DesktopServices.h"

namespace quorvane {

class Clock;

/// \param clock  must outlive the services.
DesktopServices realDesktop(Clock& clock);

} // namespace quorvane
