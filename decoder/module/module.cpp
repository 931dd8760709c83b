// SPDX-License-Identifier: GPL-3.0-or-later
// What the decoder calls when it has loaded this module.
#include "decoder/FormatsModule.h"
#include "decoder/PictureFormats.h"

extern "C" __attribute__((visibility("default"))) const quorvane::Formats* quorvaneFormats()
{
    return &quorvane::allFormats();
}
