// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PictureFormats.h"

#include "decoder/FileBytes.h"

#include <algorithm>

namespace quorvane {

namespace {

bool isPageDescription(const QByteArray& head)
{
    return head.startsWith("%PDF") || head.startsWith("%!PS")
        || head.startsWith("\xC5\xD0\xD3\xC6");
}

} // namespace

bool isReasonable(QSize size)
{
    return size.width() > 0 && size.height() > 0
        && qint64(size.width()) * size.height() <= kPixelLimit;
}

const PictureFormat* formatOf(FileBytes& file, const Formats& formats)
{
    const QByteArray& head = file.head();
    if (head.isEmpty() || isPageDescription(head))
        return nullptr;
    const auto found = std::find_if(formats.pictures.begin(), formats.pictures.end(),
        [&](const PictureFormat& format) { return format.recognizes(head); });
    return found == formats.pictures.end() ? nullptr : &*found;
}

} // namespace quorvane
