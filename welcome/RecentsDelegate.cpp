// SPDX-License-Identifier: GPL-3.0-or-later
#include "welcome/RecentsDelegate.h"

#include "platform/PathRules.h"
#include "welcome/FolderStrips.h"

#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace quorvane {

namespace {

// In points.
constexpr int kPaddingX = 14;
constexpr int kPaddingY = 11;
constexpr int kTileGap = 6;
constexpr int kTextGap = 20; ///< Between text and strip.
constexpr int kLineGap = 3;
constexpr int kLeastText = 200;
constexpr qreal kRowRadius = 8;

// How much of the first colour mixed() takes.
constexpr qreal kMuted = 0.66; ///< Contrast is 4.5 at least on the usual palettes.
constexpr qreal kHovered = 0.06;
constexpr qreal kFocused = 0.22;
constexpr qreal kTileGround = 0.08;
constexpr qreal kTileEdge = 0.12; ///< Keeps white pictures apart from a white window.

QColor mixed(const QColor& a, const QColor& b, qreal share)
{
    const auto channel = [share](int of, int in) { return qRound(of * share + in * (1 - share)); };
    return { channel(a.red(), b.red()), channel(a.green(), b.green()),
        channel(a.blue(), b.blue()) };
}

QColor withAlpha(QColor colour, qreal alpha)
{
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

bool isHarmless(QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    case QChar::Other_Format:
        return c.unicode() >= 0x200c && c.unicode() <= 0x200f; // Joiners and marks of a writing.
    default:
        return true;
    }
}

QFont nameFont(QFont font)
{
    font.setBold(true);
    return font;
}

/// Where things are in a row.
struct RowLayout {
    QRect name;
    QRect path;
    std::vector<QRect> tiles;
};

std::vector<QRect> tileRects(const QRect& row, size_t count)
{
    std::vector<QRect> tiles;
    const int step = kTileSize.width() + kTileGap;
    const int width = static_cast<int>(count) * step - kTileGap;
    QRect tile(QPoint(), kTileSize);
    tile.moveCenter(row.center());
    tile.moveLeft(row.right() + 1 - kPaddingX - width);
    for (size_t i = 0; i < count; ++i)
        tiles.push_back(tile.translated(static_cast<int>(i) * step, 0));
    return tiles;
}

/// How many pictures a row has room for beside its text.
size_t columnsIn(int width)
{
    const int room = width - 2 * kPaddingX - kLeastText - kTextGap + kTileGap;
    return static_cast<size_t>(
        std::clamp(room / (kTileSize.width() + kTileGap), 0, static_cast<int>(kLongestStrip)));
}

RowLayout layoutOf(const QStyleOptionViewItem& option, const FolderStrip& strip)
{
    const QRect row = option.rect;
    // The whole strip has its place from the beginning: texts do not change with what comes.
    const size_t columns = columnsIn(row.width());
    const bool isBare = strip.state != FolderStrip::State::Looking && strip.length == 0;
    const int reserved = isBare || columns == 0
        ? 0
        : static_cast<int>(columns) * (kTileSize.width() + kTileGap) - kTileGap + kTextGap;

    RowLayout layout;
    const QFontMetrics names(nameFont(option.font));
    const int height = names.height() + kLineGap + option.fontMetrics.height();
    const int top = row.top() + (row.height() - height) / 2;
    const int width = row.width() - 2 * kPaddingX - reserved;
    layout.name = QRect(row.left() + kPaddingX, top, width, names.height());
    layout.path = QRect(row.left() + kPaddingX, layout.name.bottom() + 1 + kLineGap, width,
        option.fontMetrics.height());
    layout.tiles = tileRects(row, std::min(columns, strip.length));

    // Everything mirrored where one reads from the right.
    const auto mirrored
        = [&](QRect& rect) { rect = QStyle::visualRect(option.direction, row, rect); };
    mirrored(layout.name);
    mirrored(layout.path);
    std::for_each(layout.tiles.begin(), layout.tiles.end(), mirrored);
    return layout;
}

void paintGround(QPainter& painter, const QStyleOptionViewItem& option)
{
    const QRectF ground = QRectF(option.rect).adjusted(0.5, 1.5, -0.5, -1.5);
    const bool isFocused = (option.state & QStyle::State_HasFocus) != 0;
    const bool isHovered = (option.state & QStyle::State_MouseOver) != 0;
    if (!isFocused && !isHovered)
        return;
    const QColor highlight = option.palette.color(QPalette::Highlight);
    painter.setPen(isFocused ? QPen(highlight) : QPen(Qt::NoPen));
    painter.setBrush(isFocused ? withAlpha(highlight, kFocused)
                               : withAlpha(option.palette.color(QPalette::WindowText), kHovered));
    painter.drawRoundedRect(ground, kRowRadius, kRowRadius);
}

void paintTile(QPainter& painter, const QRect& place, const QColor& text, const QImage* tile)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(withAlpha(text, kTileGround));
    painter.drawRoundedRect(place, kTileRadius, kTileRadius);
    if (!tile)
        return;
    painter.drawImage(place, *tile);
    painter.setPen(withAlpha(text, kTileEdge));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5), kTileRadius, kTileRadius);
}

void paintStrip(QPainter& painter, const std::vector<QRect>& places, const FolderStrip& strip,
    const QColor& text)
{
    for (size_t i = 0; i < places.size(); ++i)
        paintTile(painter, places[i], text, i < strip.tiles.size() ? &strip.tiles[i] : nullptr);
}

struct Line {
    QRect place;
    QString text;
    QFont font;
    QColor colour;
};

void paintLine(QPainter& painter, const Line& line, Qt::LayoutDirection direction)
{
    const auto alignment = QStyle::visualAlignment(direction, Qt::AlignLeft | Qt::AlignVCenter);
    painter.setFont(line.font);
    painter.setPen(line.colour);
    painter.setLayoutDirection(Qt::LeftToRight); // A path begins on the left in any writing.
    painter.drawText(line.place, static_cast<int>(alignment) | Qt::TextSingleLine,
        QFontMetrics(line.font).elidedText(line.text, Qt::ElideMiddle, line.place.width()));
}

} // namespace

QColor mutedText(const QPalette& palette)
{
    return mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window), kMuted);
}

QString readablePath(const QByteArray& path)
{
    QString text = QString::fromUtf8(path);
    for (QChar& c : text) {
        if (!isHarmless(c))
            c = QChar::ReplacementCharacter;
    }
    return text;
}

RecentsDelegate::RecentsDelegate(const FolderStrips& strips, QObject* parent)
    : QStyledItemDelegate(parent)
    , mStrips(strips)
{
}

void RecentsDelegate::paint(
    QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QByteArray folder = index.data(kPathRole).toByteArray();
    const FolderStrip& strip = mStrips.stripOf(folder);
    const RowLayout layout = layoutOf(option, strip);
    const QColor text = option.palette.color(QPalette::WindowText);
    const QColor muted = mutedText(option.palette);
    const bool isGone = strip.state == FolderStrip::State::Gone;

    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    paintGround(*painter, option);
    paintStrip(*painter, layout.tiles, strip, text);
    const QString name = readablePath(lastPathComponent(folder).toByteArray());
    paintLine(*painter, { layout.name, name, nameFont(option.font), isGone ? muted : text },
        option.direction);
    paintLine(
        *painter, { layout.path, readablePath(folder), option.font, muted }, option.direction);
    painter->restore();
}

QSize RecentsDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    const int text
        = QFontMetrics(nameFont(option.font)).height() + kLineGap + option.fontMetrics.height();
    return { 0, std::max(text, kTileSize.height()) + 2 * kPaddingY };
}

} // namespace quorvane
