// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/SvgReader.h"

#include "decoder/DrawingFonts.h"
#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"

#include <QString>
#include <QStringDecoder>

#include <gio/gio.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <optional>

namespace quorvane {

namespace {

/// What compressed text may grow to; drawings of a few megabytes exist, more is a bomb.
constexpr qsizetype kInflatedLimit = 32 << 20;

/// Dots per inch of a drawing measured in inches or millimetres, as printers count; it only matters
/// where pictures are shown in their own size.
constexpr double kDotsPerInch = 72;

/// The size of a replaced element that says nothing about its own. \source CSS 2.2, 10.3.2.
constexpr QSizeF kDefaultSize { 300, 150 };

/// A drawing that calls itself larger is as sharp when drawn smaller.
constexpr double kLongestSide = 16384;

/// What the library's surfaces can be at most.
constexpr int kLongestSurface = 32767;

template <auto Release> struct Releaser {
    template <typename T> void operator()(T* object) const { Release(object); }
};
using Drawing = std::unique_ptr<RsvgHandle, Releaser<g_object_unref>>;
using Inflater = std::unique_ptr<GZlibDecompressor, Releaser<g_object_unref>>;
using Surface = std::unique_ptr<cairo_surface_t, Releaser<cairo_surface_destroy>>;
using Painter = std::unique_ptr<cairo_t, Releaser<cairo_destroy>>;

class GErrorHolder {
public:
    GErrorHolder() = default;
    ~GErrorHolder() { g_clear_error(&mError); }
    GErrorHolder(const GErrorHolder&) = delete;
    GErrorHolder& operator=(const GErrorHolder&) = delete;

    GError** out() { return &mError; }
    const GError* get() const { return mError; }

private:
    GError* mError = nullptr;
};

bool isCompressed(const QByteArray& bytes) { return bytes.startsWith("\x1f\x8b"); }

enum class Amount { Everything, Beginning };

/// The text in compressed `bytes`, up to `limit`. \return TooLarge beyond it, unless only the
/// beginning is asked for.
Result<QByteArray> inflated(const QByteArray& bytes, qsizetype limit, Amount amount)
{
    const Inflater inflater(g_zlib_decompressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP));
    QByteArray text;
    qsizetype taken = 0;
    auto state = G_CONVERTER_CONVERTED;
    while (state == G_CONVERTER_CONVERTED) {
        constexpr qsizetype kStep = 64 << 10;
        const qsizetype filled = text.size();
        if (filled >= limit && amount == Amount::Beginning)
            return text;
        if (filled > limit)
            return fail(ErrorKind::TooLarge, QStringLiteral("compressed text without end"));
        text.resize(filled + kStep);
        gsize read = 0;
        gsize written = 0;
        const auto left = static_cast<gsize>(bytes.size() - taken);
        state = g_converter_convert(G_CONVERTER(inflater.get()), bytes.constData() + taken, left,
            text.data() + filled, kStep, G_CONVERTER_INPUT_AT_END, &read, &written, nullptr);
        taken += static_cast<qsizetype>(read);
        text.resize(filled + (state == G_CONVERTER_ERROR ? 0 : static_cast<qsizetype>(written)));
    }
    if (state == G_CONVERTER_ERROR && amount == Amount::Everything)
        return damaged("compressed text that is broken");
    return text;
}

/// The text at the beginning of a file, in one encoding whatever the file's is.
QString beginningOf(const QByteArray& head)
{
    constexpr qsizetype kEnough = 64 << 10;
    const QByteArray text = isCompressed(head)
        ? inflated(head, kEnough, Amount::Beginning).value_or(QByteArray())
        : head.first(std::min(kEnough, head.size()));
    const bool isBigEndian = text.startsWith(QByteArrayView("\0<", 2));
    const bool isLittleEndian = text.startsWith(QByteArrayView("<\0", 2));
    if (isBigEndian || isLittleEndian) {
        QStringDecoder decoder(isBigEndian ? QStringConverter::Utf16BE : QStringConverter::Utf16LE);
        return decoder(text);
    }
    const auto marked = QStringConverter::encodingForData(text);
    return QStringDecoder(marked.value_or(QStringConverter::Latin1))(text);
}

/// Walks over what may stand before the first element of a document.
class PrologueReader {
public:
    explicit PrologueReader(QStringView text)
        : mText(text)
    {
    }

    /// The name of the first element; empty if the text is no XML or ends before.
    QStringView firstElement()
    {
        skipSpace();
        while (startsWith(u"<?") || startsWith(u"<!")) {
            if (!skipDeclaration())
                return {};
            skipSpace();
        }
        if (!startsWith(u"<"))
            return {};
        qsizetype end = 1;
        while (end < mText.size() && !isNameEnd(mText[end]))
            ++end;
        return mText.sliced(1, end - 1);
    }

private:
    bool startsWith(QStringView token) const { return mText.startsWith(token); }

    static bool isNameEnd(QChar character)
    {
        return character.isSpace() || character == u'>' || character == u'/';
    }

    void skipSpace()
    {
        while (!mText.isEmpty() && (mText.front().isSpace() || mText.front() == QChar(0xfeff)))
            mText = mText.sliced(1);
    }

    bool skipPast(QStringView token)
    {
        const qsizetype at = mText.indexOf(token);
        if (at < 0)
            return false;
        mText = mText.sliced(at + token.size());
        return true;
    }

    bool skipDeclaration()
    {
        if (startsWith(u"<?"))
            return skipPast(u"?>");
        if (startsWith(u"<!--"))
            return skipPast(u"-->");
        const qsizetype subset = mText.indexOf(u'[');
        const qsizetype end = mText.indexOf(u'>');
        const bool hasSubset = subset >= 0 && subset < end;
        return hasSubset ? skipPast(u"]") && skipPast(u">") : skipPast(u">");
    }

    QStringView mText;
};

/// A length in pixels; none for one that depends on where the drawing stands.
std::optional<double> pixelsOf(gboolean isGiven, const RsvgLength& length)
{
    if (!isGiven || !std::isfinite(length.length) || length.length <= 0)
        return std::nullopt;
    switch (length.unit) {
    case RSVG_UNIT_PX:
        return length.length;
    case RSVG_UNIT_IN:
        return length.length * kDotsPerInch;
    case RSVG_UNIT_CM:
        return length.length * kDotsPerInch / 2.54;
    case RSVG_UNIT_MM:
        return length.length * kDotsPerInch / 25.4;
    case RSVG_UNIT_PT:
        return length.length * kDotsPerInch / 72;
    case RSVG_UNIT_PC:
        return length.length * kDotsPerInch / 6;
    default:
        return std::nullopt;
    }
}

/// Where the strokes of a drawing without any size reach to.
QSizeF inkSize(RsvgHandle* drawing)
{
    RsvgRectangle ink {};
    const RsvgRectangle viewport { 0, 0, kDefaultSize.width(), kDefaultSize.height() };
    if (!rsvg_handle_get_geometry_for_layer(drawing, nullptr, &viewport, &ink, nullptr, nullptr))
        return kDefaultSize;
    const double width = ink.x + ink.width;
    const double height = ink.y + ink.height;
    const bool isSane = std::isfinite(width) && std::isfinite(height) && width >= 1 && height >= 1;
    return isSane ? QSizeF(width, height) : kDefaultSize;
}

QSizeF naturalSize(RsvgHandle* drawing)
{
    gboolean hasWidth = FALSE;
    gboolean hasHeight = FALSE;
    gboolean hasBox = FALSE;
    RsvgLength widthLength {};
    RsvgLength heightLength {};
    RsvgRectangle box {};
    rsvg_handle_get_intrinsic_dimensions(
        drawing, &hasWidth, &widthLength, &hasHeight, &heightLength, &hasBox, &box);
    const auto width = pixelsOf(hasWidth, widthLength);
    const auto height = pixelsOf(hasHeight, heightLength);
    if (width && height)
        return { *width, *height };
    const bool isBoxSane = hasBox && std::isfinite(box.width) && std::isfinite(box.height)
        && box.width > 0 && box.height > 0;
    if (!isBoxSane)
        return inkSize(drawing).expandedTo({ width.value_or(0), height.value_or(0) });
    if (width)
        return { *width, *width * box.height / box.width };
    if (height)
        return { *height * box.width / box.height, *height };
    return { box.width, box.height };
}

QSizeF shortened(QSizeF size)
{
    const double longest = std::max(size.width(), size.height());
    return longest > kLongestSide ? size * (kLongestSide / longest) : size;
}

class SvgReader final : public PictureReader {
public:
    explicit SvgReader(Drawing drawing)
        : mDrawing(std::move(drawing))
        , mNatural(naturalSize(mDrawing.get()))
    {
    }

    PictureHeader header() const override
    {
        return { shortened(mNatural).toSize().expandedTo({ 1, 1 }), 1 };
    }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        if (wanted.width() > kLongestSurface || wanted.height() > kLongestSurface)
            return fail(ErrorKind::TooLarge, QStringLiteral("larger than can be drawn"));
        QImage image = makeImage(wanted, QImage::Format_ARGB32_Premultiplied);
        if (image.isNull())
            return noMemory();
        image.fill(Qt::transparent);
        if (auto drawn = drawOn(image); !drawn)
            return tl::unexpected(drawn.error());
        return DecodedPicture { std::move(image), {} };
    }

private:
    Result<void> drawOn(QImage& image) const
    {
        const Surface surface(cairo_image_surface_create_for_data(image.bits(), CAIRO_FORMAT_ARGB32,
            image.width(), image.height(), static_cast<int>(image.bytesPerLine())));
        const Painter painter(cairo_create(surface.get()));
        cairo_scale(
            painter.get(), image.width() / mNatural.width(), image.height() / mNatural.height());
        const RsvgRectangle viewport { 0, 0, mNatural.width(), mNatural.height() };
        GErrorHolder error;
        if (!rsvg_handle_render_document(mDrawing.get(), painter.get(), &viewport, error.out()))
            return damaged("a drawing that cannot be drawn");
        cairo_surface_flush(surface.get());
        return {};
    }

    Drawing mDrawing;
    QSizeF mNatural; ///< In pixels; never empty.
};

GLogWriterOutput ignoreMessage(
    GLogLevelFlags /*level*/, const GLogField* /*fields*/, gsize /*count*/, void* /*context*/)
{
    return G_LOG_WRITER_HANDLED;
}

/// Fonts that are missing and pictures that may not be loaded are no news to anybody.
void silenceLibraries()
{
    static std::once_flag once; // The library ends a program that sets it twice.
    std::call_once(once, [] { g_log_set_writer_func(ignoreMessage, nullptr, nullptr); });
}

Drawing drawingOf(const QByteArray& text)
{
    silenceLibraries();
    Drawing drawing(rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(text.constData()),
        static_cast<gsize>(text.size()), nullptr));
    if (drawing)
        rsvg_handle_set_dpi(drawing.get(), kDotsPerInch);
    return drawing;
}

/// Text in the usual families and styles.
QByteArray sampleText()
{
    QByteArray text
        = QByteArrayLiteral("<svg xmlns='http://www.w3.org/2000/svg' width='64' height='64'>");
    for (const char* family : { "sans-serif", "serif", "monospace" }) {
        for (const char* style : { "", "font-weight='bold'", "font-style='italic'",
                 "font-weight='bold' font-style='italic'" }) {
            text += QByteArray("<text y='20' font-family='") + family + "' " + style
                + ">Aa1 &#xe9;&#x3b1;&#x416;</text>";
        }
    }
    return text + "</svg>";
}

} // namespace

bool isSvg(const QByteArray& head)
{
    const QString text = beginningOf(head);
    const QStringView name = PrologueReader(text).firstElement();
    return name == u"svg" || name.endsWith(u":svg");
}

OpenedPicture openSvg(FileBytes& file)
{
    auto bytes = file.all();
    if (bytes && isCompressed(*bytes))
        bytes = inflated(*bytes, kInflatedLimit, Amount::Everything);
    if (!bytes)
        return tl::unexpected(bytes.error());
    Drawing drawing = drawingOf(*bytes);
    if (!drawing)
        return damaged("text that is not well-formed");
    return std::make_unique<SvgReader>(std::move(drawing));
}

void warmUpSvgText()
{
    keepUsualFonts();
    FileBytes file(sampleText());
    if (auto reader = openSvg(file)) {
        (void)(*reader)->decode(
            { 64, 64 }, [](QSize size, QImage::Format format) { return QImage(size, format); });
    }
}

} // namespace quorvane
