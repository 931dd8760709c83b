// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SoundScreen.h"

#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>

#include <algorithm>

namespace quorvane {

namespace {

const QColor kGround(18, 18, 20);
const QColor kCard(38, 38, 42);
const QColor kNote(110, 110, 118);
const QColor kText(235, 235, 235);

// Shares of the screen's height.
constexpr double kCoverSide = 0.42;
constexpr double kCoverTop = 0.18;
constexpr double kTextTop = kCoverTop + kCoverSide + 0.05;

// Of the screen's width.
constexpr double kTextWidth = 0.8;

/// Of the screen's shorter side.
constexpr double kTextHeight = 0.042;

/// In pixels; what is smaller cannot be read.
constexpr int kLeastTextHeight = 9;

constexpr int kMostLines = 3;

/// An eighth note.
void paintNote(QPainter& painter, const QRectF& square)
{
    const double side = square.width();
    const auto at = [&](double x, double y) { return square.topLeft() + QPointF(x, y) * side; };
    painter.setPen(Qt::NoPen);
    painter.setBrush(kNote);
    painter.drawEllipse(at(0.43, 0.70), 0.11 * side, 0.08 * side);
    painter.drawRect(QRectF(at(0.50, 0.25), at(0.54, 0.70)));
    QPainterPath flag(at(0.50, 0.25));
    flag.cubicTo(at(0.54, 0.38), at(0.70, 0.38), at(0.66, 0.56));
    flag.cubicTo(at(0.66, 0.46), at(0.56, 0.44), at(0.50, 0.42));
    painter.drawPath(flag);
}

void paintCover(QPainter& painter, const std::optional<QImage>& cover, const QRectF& square)
{
    if (!cover || cover->isNull()) {
        painter.fillRect(square, kCard);
        if (cover)
            paintNote(painter, square);
        return;
    }
    const QSizeF size = QSizeF(cover->size()).scaled(square.size(), Qt::KeepAspectRatio);
    QRectF place(QPointF(), size);
    place.moveCenter(square.center());
    painter.drawImage(place, *cover);
}

/// Centred lines, as many as there is room for.
void paintTitle(QPainter& painter, const QString& title, const QRectF& area)
{
    QTextLayout layout(QString(title).replace(QLatin1Char('\n'), QLatin1Char(' ')), painter.font());
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    const QFontMetricsF metrics(painter.font());
    const int lines
        = std::clamp(static_cast<int>(area.height() / metrics.lineSpacing()), 1, kMostLines);
    double y = area.top();
    layout.beginLayout();
    for (int i = 0; i < lines; ++i, y += metrics.lineSpacing()) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(area.width());
        QString text = layout.text().mid(line.textStart(), line.textLength());
        if (i == lines - 1)
            text = metrics.elidedText(
                layout.text().mid(line.textStart()), Qt::ElideRight, area.width());
        painter.drawText(QRectF(area.left(), y, area.width(), metrics.lineSpacing()),
            Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine, text.trimmed());
    }
    layout.endLayout();
}

} // namespace

QImage soundScreen(const SoundScreenContents& contents, QSize pixels)
{
    if (pixels.isEmpty())
        return {};
    QImage screen(pixels, QImage::Format_RGB32);
    screen.fill(kGround);
    QPainter painter(&screen);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const double height = pixels.height();
    const double width = pixels.width();
    const double side = std::min(kCoverSide * height, kTextWidth * width);
    paintCover(painter, contents.cover, { (width - side) / 2, kCoverTop * height, side, side });

    QFont font = contents.font;
    font.setPixelSize(
        std::max(kLeastTextHeight, static_cast<int>(kTextHeight * std::min(width, height))));
    painter.setFont(font);
    painter.setPen(kText);
    const double textWidth = kTextWidth * width;
    paintTitle(painter, contents.title,
        { (width - textWidth) / 2, kTextTop * height, textWidth, (1 - kTextTop) * height });
    return screen;
}

} // namespace quorvane
