// SPDX-License-Identifier: GPL-3.0-or-later
// What readers of all formats answer when they cannot go on.
#pragma once

#include "platform/Result.h"

namespace quorvane {

/// \param why  in the letters of ASCII.
[[nodiscard]] inline tl::unexpected<Error> damaged(const char* why)
{
    return fail(ErrorKind::Damaged, QString::fromLatin1(why));
}

/// The image of an ImageMaker is null, or there is no room for the way to it.
[[nodiscard]] inline tl::unexpected<Error> noMemory()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
}

/// The size that the file tells is not isReasonable().
[[nodiscard]] inline tl::unexpected<Error> tooManyPixels()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("too many pixels"));
}

} // namespace quorvane
