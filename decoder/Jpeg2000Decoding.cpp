// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Jpeg2000Decoding.h"

#include "decoder/Jpeg2000Codestream.h"

#include <QByteArray>

#include <openjpeg.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace quorvane {

namespace {

/// The file as the library sees it.
struct Source {
    const QByteArray* bytes;
    qint64 position = 0;
};

OPJ_SIZE_T readSource(void* to, OPJ_SIZE_T size, void* handle)
{
    auto& source = *static_cast<Source*>(handle);
    const qint64 left = source.bytes->size() - source.position;
    if (left <= 0)
        return static_cast<OPJ_SIZE_T>(-1);
    const auto count = std::min(size, static_cast<OPJ_SIZE_T>(left));
    std::memcpy(to, source.bytes->constData() + source.position, count);
    source.position += static_cast<qint64>(count);
    return count;
}

OPJ_OFF_T skipSource(OPJ_OFF_T count, void* handle)
{
    auto& source = *static_cast<Source*>(handle);
    const qint64 target = std::clamp<qint64>(
        count > source.bytes->size() ? source.bytes->size() : source.position + count, 0,
        source.bytes->size());
    const qint64 skipped = target - source.position;
    source.position = target;
    return skipped == 0 && count != 0 ? -1 : skipped;
}

OPJ_BOOL seekSource(OPJ_OFF_T position, void* handle)
{
    auto& source = *static_cast<Source*>(handle);
    if (position < 0 || position > source.bytes->size())
        return OPJ_FALSE;
    source.position = position;
    return OPJ_TRUE;
}

void keepSilent(const char*, void*) { }

struct StreamCloser {
    void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct CodecCloser {
    void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct ImageCloser {
    void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};

qint64 ceilDivided(qint64 number, qint64 by) { return (number + by - 1) / by; }

} // namespace

struct Jpeg2000Decoding::Library {
    explicit Library(const QByteArray& bytes)
        : source { &bytes }
        , stream(opj_stream_default_create(OPJ_TRUE))
        , codec(opj_create_decompress(isJpeg2000Codestream(bytes) ? OPJ_CODEC_J2K : OPJ_CODEC_JP2))
    {
        opj_stream_set_user_data(stream.get(), &source, nullptr);
        opj_stream_set_user_data_length(stream.get(), static_cast<OPJ_UINT64>(bytes.size()));
        opj_stream_set_read_function(stream.get(), readSource);
        opj_stream_set_skip_function(stream.get(), skipSource);
        opj_stream_set_seek_function(stream.get(), seekSource);
        opj_set_info_handler(codec.get(), keepSilent, nullptr);
        opj_set_warning_handler(codec.get(), keepSilent, nullptr);
        opj_set_error_handler(codec.get(), keepSilent, nullptr);
    }

    Source source;
    std::unique_ptr<opj_stream_t, StreamCloser> stream;
    std::unique_ptr<opj_codec_t, CodecCloser> codec;
    std::unique_ptr<opj_image_t, ImageCloser> image;
    bool isReady = false;
};

Jpeg2000Decoding::Jpeg2000Decoding(const QByteArray& bytes, int reduce)
    : mLibrary(std::make_unique<Library>(bytes))
{
    opj_dparameters_t parameters = {};
    opj_set_default_decoder_parameters(&parameters);
    parameters.cp_reduce = static_cast<OPJ_UINT32>(reduce);
    mLibrary->isReady = opj_setup_decoder(mLibrary->codec.get(), &parameters)
        && opj_decoder_set_strict_mode(mLibrary->codec.get(), OPJ_TRUE);
}

Jpeg2000Decoding::~Jpeg2000Decoding() = default;

bool Jpeg2000Decoding::readHeader()
{
    opj_image_t* image = nullptr;
    const bool done = mLibrary->isReady
        && opj_read_header(mLibrary->stream.get(), mLibrary->codec.get(), &image);
    mLibrary->image.reset(image);
    return done && image && image->numcomps > 0;
}

bool Jpeg2000Decoding::decode()
{
    return opj_decode(mLibrary->codec.get(), mLibrary->stream.get(), mLibrary->image.get())
        && opj_end_decompress(mLibrary->codec.get(), mLibrary->stream.get());
}

const opj_image& Jpeg2000Decoding::image() const { return *mLibrary->image; }

int Jpeg2000Decoding::components() const { return static_cast<int>(mLibrary->image->numcomps); }

QSize Jpeg2000Decoding::size() const
{
    const opj_image_t& image = *mLibrary->image;
    qint64 width = 0;
    qint64 height = 0;
    for (OPJ_UINT32 i = 0; i < image.numcomps; ++i) {
        const qint64 dx = image.comps[i].dx;
        const qint64 dy = image.comps[i].dy;
        if (dx < 1 || dy < 1)
            return {};
        width = std::max(width, ceilDivided(image.x1, dx) - ceilDivided(image.x0, dx));
        height = std::max(height, ceilDivided(image.y1, dy) - ceilDivided(image.y0, dy));
    }
    if (width > INT_MAX || height > INT_MAX)
        return { INT_MAX, INT_MAX };
    return { static_cast<int>(width), static_cast<int>(height) };
}

int Jpeg2000Decoding::reductions() const
{
    opj_codestream_info_v2_t* info = opj_get_cstr_info(mLibrary->codec.get());
    if (!info)
        return 0;
    OPJ_UINT32 resolutions = 1;
    if (const opj_tccp_info_t* const all = info->m_default_tile_info.tccp_info) {
        resolutions = OPJ_J2K_MAXRLVLS;
        for (OPJ_UINT32 i = 0; i < info->nbcomps; ++i)
            resolutions = std::min(resolutions, all[i].numresolutions);
    }
    opj_destroy_cstr_info(&info);
    return std::max(0, static_cast<int>(resolutions) - 1);
}

} // namespace quorvane
