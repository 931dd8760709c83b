// SPDX-License-Identifier: GPL-3.0-or-later
// How the library is told to play one file and nothing else.
#pragma once

#include <mpv/client.h>

namespace quorvane {

/// Before the library is initialised. What is not set here is as it comes: no files of the person's
/// are read. \return false if this library does not know one of them.
bool setOptions(mpv_handle* library);

/// Before a file is loaded. \param hasSound  where not, the movie takes its time all the same.
/// \param hasGraphicsCard  it may then decode.
void setDevices(mpv_handle* library, bool hasSound, bool hasGraphicsCard);

} // namespace quorvane
