// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffSource.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>

namespace quorvane {

namespace {

TiffSource& sourceOf(thandle_t handle) { return *static_cast<TiffSource*>(handle); }

tmsize_t readSource(thandle_t handle, void* to, tmsize_t size)
{
    TiffSource& source = sourceOf(handle);
    const qint64 left = source.bytes.size() - source.position;
    const qint64 count = std::clamp<qint64>(size, 0, std::max<qint64>(left, 0));
    if (count > 0)
        std::memcpy(to, source.bytes.constData() + source.position, static_cast<size_t>(count));
    source.position += count;
    return count;
}

tmsize_t writeNothing(thandle_t, void*, tmsize_t) { return 0; }

toff_t seekSource(thandle_t handle, toff_t offset, int whence)
{
    TiffSource& source = sourceOf(handle);
    const auto distance = static_cast<qint64>(offset);
    const qint64 base
        = whence == SEEK_SET ? 0 : (whence == SEEK_CUR ? source.position : source.bytes.size());
    qint64 target = 0;
    if (__builtin_add_overflow(base, distance, &target) || target < 0)
        return static_cast<toff_t>(-1);
    source.position = target;
    return static_cast<toff_t>(target);
}

int closeNothing(thandle_t) { return 0; }

toff_t sizeOfSource(thandle_t handle) { return static_cast<toff_t>(sourceOf(handle).bytes.size()); }

int keepSilent(TIFF*, void*, const char*, const char*, va_list) { return 1; }

} // namespace

void TiffCloser::operator()(tiff* tiff) const { TIFFClose(tiff); }

Tiff openTiffSource(TiffSource& source)
{
    // Some codecs of the library do not know the handlers of their file.
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
    if (!options)
        return {};
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kTiffMemoryLimit);
    TIFFOpenOptionsSetErrorHandlerExtR(options, keepSilent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, keepSilent, nullptr);
    Tiff tiff(TIFFClientOpenExt("", "rm", &source, readSource, writeNothing, seekSource,
        closeNothing, sizeOfSource, nullptr, nullptr, options));
    TIFFOpenOptionsFree(options);
    return tiff;
}

} // namespace quorvane
