// SPDX-License-Identifier: GPL-3.0-or-later
// From the decoded components of a JPEG 2000 to pixels.
#pragma once

#include "decoder/PictureReader.h"

struct opj_image;

namespace quorvane {

/// What its container says about the components.
enum class Jpeg2000Container {
    File,
    None, ///< A bare codestream tells nothing of transparency: the usual order counts.
};

/// The picture that the components of `image`, as the library decoded them, make. Its size is that
/// of the largest of them. \return Damaged, Unsupported or TooLarge.
Result<DecodedPicture> jpeg2000Picture(
    const opj_image& image, Jpeg2000Container container, const ImageMaker& makeImage);

} // namespace quorvane
