// SPDX-License-Identifier: GPL-3.0-or-later
// The one table that joins type identifiers with file name extensions and MIME types.
#include "platform/TypeTable.h"

#include <QHash>

#include <string>
#include <unordered_map>

namespace quorvane {

namespace {

/// A row as it is written down: words parted by blanks.
struct RowText {
    const char* identifier;
    const char* extensions;
    const char* mimeTypes; ///< Those of the shared MIME database first, then their common aliases.
    TypeKind kind;
};

// Extensions that two types claim go to the one that a person with a folder of pictures more likely
// has: "ts" is a transport stream (not a translation), "mod" a camcorder's movie (not a tracker's
// module), "pic" a PICT (not a Radiance picture), "tif" a plain TIFF (not a camera's), "ogg" a
// movie (players find out whether it has a picture).
constexpr RowText kRows[] = {
    { "public.jpeg", "jpg jpeg jpe jfif jfi", "image/jpeg image/pjpeg", TypeKind::Image },
    { "public.png", "png apng", "image/png image/apng", TypeKind::Image },
    { "com.compuserve.gif", "gif", "image/gif", TypeKind::Image },
    { "public.tiff", "tiff tif", "image/tiff", TypeKind::Image },
    { "com.microsoft.bmp", "bmp dib", "image/bmp image/x-bmp image/x-ms-bmp", TypeKind::Image },
    { "public.jpeg-2000", "jp2 j2k j2c jpc jpf jpx",
        "image/jp2 image/jpx image/x-jp2-codestream image/jpeg2000", TypeKind::Image },
    { "public.jpeg-xl", "jxl", "image/jxl", TypeKind::Image },
    // The shared MIME database has one type for the whole family, image/heif.
    { "public.heif", "heif hif", "image/heif", TypeKind::Image },
    { "public.heic", "heic", "image/heic image/heif", TypeKind::Image },
    { "public.heics", "heics", "image/heic-sequence image/heif", TypeKind::Image },
    { "public.heifs", "heifs", "image/heif-sequence image/heif", TypeKind::Image },
    { "public.avci", "avci", "image/avci", TypeKind::Image },
    { "public.avcs", "avcs", "image/avcs", TypeKind::Image },
    { "public.avif", "avif", "image/avif", TypeKind::Image },
    { "public.avis", "avifs", "image/avif-sequence image/avif", TypeKind::Image },
    { "org.webmproject.webp", "webp", "image/webp", TypeKind::Image },
    { "com.microsoft.ico", "ico", "image/vnd.microsoft.icon image/x-icon", TypeKind::Image },
    { "com.microsoft.cur", "cur", "image/x-win-bitmap", TypeKind::Image },
    { "com.apple.icns", "icns", "image/x-icns", TypeKind::Image },
    { "com.adobe.photoshop-image", "psd", "image/vnd.adobe.photoshop image/x-psd",
        TypeKind::Image },
    { "com.truevision.tga-image", "tga targa", "image/x-tga image/targa", TypeKind::Image },
    { "com.ilm.openexr-image", "exr", "image/x-exr", TypeKind::Image },
    { "public.radiance", "hdr", "image/vnd.radiance", TypeKind::Image },
    { "public.pbm", "pbm pgm ppm pnm pfm",
        "image/x-portable-anymap image/x-portable-bitmap image/x-portable-graymap"
        " image/x-portable-pixmap",
        TypeKind::Image },
    { "com.sgi.sgi-image", "sgi rgb rgba bw", "image/x-sgi", TypeKind::Image },
    { "public.mpo-image", "mpo", "image/mpo", TypeKind::Image },
    { "com.microsoft.dds", "dds", "image/x-dds", TypeKind::Image },
    { "public.pvr", "pvr", "", TypeKind::Image },
    { "org.khronos.ktx", "ktx", "image/ktx", TypeKind::Image },
    { "org.khronos.ktx2", "ktx2", "image/ktx2", TypeKind::Image },
    { "org.khronos.astc", "astc", "image/astc", TypeKind::Image },
    { "com.apple.atx", "atx", "", TypeKind::Image },
    { "com.apple.pict", "pict pct pic", "image/x-pict", TypeKind::Image },
    { "public.xbitmap-image", "xbm", "image/x-xbitmap", TypeKind::Image },
    { "public.svg-image", "svg svgz", "image/svg+xml image/svg+xml-compressed", TypeKind::Image },

    { "com.adobe.raw-image", "dng", "image/x-adobe-dng", TypeKind::Image },
    { "com.canon.cr2-raw-image", "cr2", "image/x-canon-cr2", TypeKind::Image },
    { "com.canon.cr3-raw-image", "cr3", "image/x-canon-cr3", TypeKind::Image },
    { "com.canon.crw-raw-image", "crw", "image/x-canon-crw", TypeKind::Image },
    { "com.nikon.raw-image", "nef", "image/x-nikon-nef", TypeKind::Image },
    { "com.nikon.nrw-raw-image", "nrw", "image/x-nikon-nrw", TypeKind::Image },
    { "com.sony.arw-raw-image", "arw", "image/x-sony-arw", TypeKind::Image },
    { "com.sony.raw-image", "srf", "image/x-sony-srf", TypeKind::Image },
    { "com.sony.sr2-raw-image", "sr2", "image/x-sony-sr2", TypeKind::Image },
    { "com.sony.axr-raw-image", "axr", "", TypeKind::Image },
    { "com.fuji.raw-image", "raf", "image/x-fuji-raf", TypeKind::Image },
    { "com.olympus.raw-image", "orf", "image/x-olympus-orf", TypeKind::Image },
    { "com.panasonic.rw2-raw-image", "rw2", "image/x-panasonic-rw2 image/x-panasonic-raw2",
        TypeKind::Image },
    { "com.panasonic.raw-image", "raw", "image/x-panasonic-rw image/x-panasonic-raw",
        TypeKind::Image },
    { "com.leica.rwl-raw-image", "rwl", "", TypeKind::Image },
    { "com.pentax.raw-image", "pef", "image/x-pentax-pef", TypeKind::Image },
    { "com.samsung.raw-image", "srw", "", TypeKind::Image },
    { "com.kodak.raw-image", "dcr kdc k25", "image/x-kodak-dcr image/x-kodak-kdc image/x-kodak-k25",
        TypeKind::Image },
    { "com.konicaminolta.raw-image", "mrw", "image/x-minolta-mrw", TypeKind::Image },
    { "com.hasselblad.3fr-raw-image", "3fr", "", TypeKind::Image },
    { "com.hasselblad.fff-raw-image", "fff", "", TypeKind::Image },
    { "com.phaseone.raw-image", "iiq", "", TypeKind::Image },
    { "com.leafamerica.raw-image", "mos", "", TypeKind::Image },
    { "com.epson.raw-image", "erf", "", TypeKind::Image },
    { "com.dxo.raw-image", "dxo", "", TypeKind::Image },

    { "com.apple.quicktime-movie", "mov qt mqv", "video/quicktime", TypeKind::Movie },
    { "public.mpeg-4", "mp4 mpg4", "video/mp4 video/mp4v-es", TypeKind::Movie },
    { "com.apple.m4v-video", "m4v", "video/x-m4v video/mp4", TypeKind::Movie },
    { "public.3gpp", "3gp 3gpp sdv", "video/3gpp video/3gp", TypeKind::Movie },
    { "public.3gpp2", "3g2 3gp2", "video/3gpp2", TypeKind::Movie },
    { "public.avi", "avi vfw", "video/x-msvideo video/avi video/msvideo", TypeKind::Movie },
    { "public.mpeg", "mpg mpeg mpe m75 m15 vob mod", "video/mpeg", TypeKind::Movie },
    { "public.mpeg-2-video", "m2v", "video/mpeg2 video/mpeg", TypeKind::Movie },
    { "public.mpeg-2-transport-stream", "ts", "video/mp2t", TypeKind::Movie },
    { "public.avchd-mpeg-2-transport-stream", "mts m2ts m2t", "video/mp2t", TypeKind::Movie },
    { "public.dv-movie", "dv dif", "video/dv video/x-dv", TypeKind::Movie },
    { "org.matroska.mkv", "mkv mk3d", "video/x-matroska video/x-matroska-3d application/x-matroska",
        TypeKind::Movie },
    { "org.webmproject.webm", "webm", "video/webm", TypeKind::Movie },
    { "org.xiph.ogg-video", "ogv ogg ogx ogm",
        "video/ogg video/x-theora+ogg video/x-ogm+ogg application/ogg", TypeKind::Movie },
    { "com.adobe.flash.video", "flv", "video/x-flv video/flv", TypeKind::Movie },
    { "com.microsoft.windows-media-wmv", "wmv asf",
        "video/x-ms-wmv application/vnd.ms-asf video/x-ms-asf", TypeKind::Movie },

    { "public.mp3", "mp3 mpga", "audio/mpeg audio/mp3", TypeKind::Audio },
    { "public.mp2", "mp2 mp1 mpa m1a m2a", "audio/mp2 audio/mpeg", TypeKind::Audio },
    // Chosen by the contents only: its extension, mp4, is a movie's.
    { "public.mpeg-4-audio", "", "audio/mp4", TypeKind::Audio },
    { "com.apple.m4a-audio", "m4a", "audio/x-m4a audio/m4a audio/mp4", TypeKind::Audio },
    { "com.apple.protected-mpeg-4-audio-b", "m4b", "audio/x-m4b", TypeKind::Audio },
    { "com.apple.mpeg-4-ringtone", "m4r", "audio/x-m4r", TypeKind::Audio },
    { "com.microsoft.waveform-audio", "wav wave bwf", "audio/x-wav audio/wav audio/vnd.wave",
        TypeKind::Audio },
    { "public.aiff-audio", "aiff aif", "audio/x-aiff audio/aiff", TypeKind::Audio },
    { "public.aifc-audio", "aifc cdda", "audio/x-aifc", TypeKind::Audio },
    { "com.apple.coreaudio-format", "caf", "audio/x-caf", TypeKind::Audio },
    { "public.au-audio", "au snd ulw", "audio/basic", TypeKind::Audio },
    { "public.aac-audio", "aac adts", "audio/aac audio/x-aac", TypeKind::Audio },
    { "public.ac3-audio", "ac3", "audio/ac3", TypeKind::Audio },
    { "public.enhanced-ac3-audio", "eac3 ec3", "audio/eac3", TypeKind::Audio },
    { "org.xiph.flac", "flac", "audio/flac audio/x-flac", TypeKind::Audio },
    { "org.xiph.ogg-audio", "oga opus spx",
        "audio/ogg audio/x-vorbis+ogg audio/x-opus+ogg audio/x-speex+ogg audio/x-flac+ogg",
        TypeKind::Audio },
    { "org.3gpp.adaptive-multi-rate-audio", "amr awb", "audio/amr audio/amr-wb", TypeKind::Audio },
    { "com.sony.wave64", "w64", "", TypeKind::Audio },
    { "public.mp4a-loas", "loas latm", "audio/usac", TypeKind::Audio },
    { "org.matroska.mka", "mka", "audio/x-matroska", TypeKind::Audio },
    { "com.microsoft.windows-media-wma", "wma", "audio/x-ms-wma", TypeKind::Audio },

    // Pages, not pictures, even though some image readers open them.
    { "com.adobe.pdf", "pdf", "application/pdf image/pdf", TypeKind::Other },
    { "com.adobe.encapsulated-postscript", "eps epsf epsi", "image/x-eps", TypeKind::Other },
    { "com.adobe.postscript", "ps", "application/postscript", TypeKind::Other },
    { "com.adobe.photoshop-large-image", "psb", "", TypeKind::Other },
    { "com.apple.protected-mpeg-4-audio", "m4p", "audio/x-m4p", TypeKind::Other },
    // Lists of media files are not slides.
    { "public.m3u-playlist", "m3u m3u8", "audio/x-mpegurl application/vnd.apple.mpegurl",
        TypeKind::Other },
    { "public.pls-playlist", "pls", "audio/x-scpls", TypeKind::Other },
    // Nor are subtitles. The shared MIME database takes "ass" for sound.
    { "org.w3.webvtt", "vtt webvtt", "text/vtt", TypeKind::Other },
    { "com.scenarist.closed-caption", "scc", "", TypeKind::Other },
    { "com.apple.itunes-timed-text", "itt", "", TypeKind::Other },
    { "org.w3.ttml", "ttml", "application/ttml+xml", TypeKind::Other },
    { "public.plain-text", "txt text srt ass ssa", "text/plain application/x-subrip text/x-ssa",
        TypeKind::Other },
    { "public.html", "html htm", "text/html", TypeKind::Other },
    // What a camera writes beside its movies: indexes, small pictures and small copies of them. The
    // shared MIME database takes some of them for movies.
    { "public.data", "cpi clpi mpl mpls bdm bdmv thm lrv", "", TypeKind::Other },
};

std::vector<TypeRow> readRows()
{
    std::vector<TypeRow> rows;
    rows.reserve(std::size(kRows));
    for (const RowText& text : kRows) {
        TypeRow row { QString::fromLatin1(text.identifier), {},
            QString::fromLatin1(text.mimeTypes).split(QLatin1Char(' '), Qt::SkipEmptyParts),
            text.kind };
        if (*text.extensions != '\0')
            row.extensions = QByteArray(text.extensions).split(' ');
        rows.push_back(std::move(row));
    }
    return rows;
}

/// The rows by all that they are looked up by.
class TypeIndex {
public:
    TypeIndex();

    const TypeRow* byExtension(std::string_view extension) const
    {
        const auto found = mByExtension.find(extension);
        return found == mByExtension.end() ? nullptr : found->second;
    }
    const TypeRow* byMimeType(const QString& name) const { return mByMimeType.value(name); }
    const TypeRow* byIdentifier(const QString& name) const { return mByIdentifier.value(name); }

private:
    std::unordered_map<std::string_view, const TypeRow*> mByExtension; ///< Views into the rows.
    QHash<QString, const TypeRow*> mByMimeType;
    QHash<QString, const TypeRow*> mByIdentifier;
};

TypeIndex::TypeIndex()
{
    for (const TypeRow& row : typeRows()) {
        mByIdentifier.insert(row.identifier, &row);
        for (const QByteArray& extension : row.extensions)
            mByExtension.emplace(
                std::string_view(extension.constData(), size_t(extension.size())), &row);
        for (const QString& mimeType : row.mimeTypes) {
            if (!mByMimeType.contains(mimeType))
                mByMimeType.insert(mimeType, &row);
        }
    }
}

const TypeIndex& typeIndex()
{
    static const TypeIndex index;
    return index;
}

} // namespace

const std::vector<TypeRow>& typeRows()
{
    static const std::vector<TypeRow> rows = readRows();
    return rows;
}

const TypeRow* typeRowForExtension(std::string_view extension)
{
    return typeIndex().byExtension(extension);
}

const TypeRow* typeRowForMimeType(const QString& mimeType)
{
    return typeIndex().byMimeType(mimeType.toLower());
}

const TypeRow* typeRowForIdentifier(const QString& identifier)
{
    return typeIndex().byIdentifier(identifier);
}

} // namespace quorvane
