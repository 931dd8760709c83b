// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/ControlIcons.h"

#include <QGuiApplication>
#include <QIcon>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

#include <algorithm>
#include <initializer_list>

namespace quorvane {

namespace {

/// The side of the square in which the shapes are given.
constexpr double kGrid = 24;

QPainterPath polygon(std::initializer_list<QPointF> corners)
{
    QPainterPath path;
    path.addPolygon(QPolygonF(QList<QPointF>(corners)));
    path.closeSubpath();
    return path;
}

QPainterPath bars(std::initializer_list<QRectF> rectangles)
{
    QPainterPath path;
    for (const QRectF& rectangle : rectangles)
        path.addRect(rectangle);
    return path;
}

QPainterPath loudspeaker()
{
    return polygon({ { 2, 9 }, { 6, 9 }, { 12, 4 }, { 12, 20 }, { 6, 15 }, { 2, 15 } });
}

QPainterPath outline(const QPainterPath& line)
{
    QPainterPathStroker pen;
    pen.setWidth(2);
    pen.setCapStyle(Qt::RoundCap);
    return pen.createStroke(line);
}

/// A part of a circle around the loudspeaker's mouth.
QPainterPath wave(double radius)
{
    constexpr QPointF kMouth { 12, 12 };
    constexpr double kOpening = 50; // Degrees up and down.
    const QRectF circle(kMouth - QPointF(radius, radius), QSizeF(2 * radius, 2 * radius));
    QPainterPath line;
    line.arcMoveTo(circle, -kOpening);
    line.arcTo(circle, -kOpening, 2 * kOpening);
    return outline(line);
}

QPainterPath cross()
{
    QPainterPath line({ 16, 9 });
    line.lineTo(22, 15);
    line.moveTo(22, 9);
    line.lineTo(16, 15);
    return outline(line);
}

QPainterPath shapeOf(ControlSymbol symbol)
{
    switch (symbol) {
    case ControlSymbol::Previous:
        return polygon({ { 19, 5 }, { 8, 12 }, { 19, 19 } }) | bars({ { 5, 5, 3, 14 } });
    case ControlSymbol::Play:
        return polygon({ { 7, 4 }, { 20, 12 }, { 7, 20 } });
    case ControlSymbol::Pause:
        return bars({ { 6, 4, 4, 16 }, { 14, 4, 4, 16 } });
    case ControlSymbol::Next:
        return polygon({ { 5, 5 }, { 16, 12 }, { 5, 19 } }) | bars({ { 16, 5, 3, 14 } });
    case ControlSymbol::Open:
        return polygon({ { 3, 5 }, { 9, 5 }, { 11, 7 }, { 21, 7 }, { 21, 19 }, { 3, 19 } })
            - bars({ { 3, 9, 18, 1 } });
    case ControlSymbol::Sound:
        return loudspeaker() | wave(4) | wave(8);
    case ControlSymbol::Silence:
        return loudspeaker() | cross();
    }
    return {};
}

class ControlIconEngine : public QIconEngine {
public:
    ControlIconEngine(ControlSymbol symbol, const QColor& colour)
        : mSymbol(symbol)
        , mColour(colour)
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const double scale = std::min(rect.width(), rect.height()) / kGrid;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(QRectF(rect).center());
        painter->scale(scale, scale);
        painter->translate(-kGrid / 2, -kGrid / 2);
        const QColor ofTheme = QGuiApplication::palette().color(group, QPalette::ButtonText);
        painter->fillPath(shapeOf(mSymbol), mColour.isValid() ? mColour : ofTheme);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return picture;
    }

    QIconEngine* clone() const override { return new ControlIconEngine(mSymbol, mColour); }

private:
    const ControlSymbol mSymbol;
    const QColor mColour; ///< Invalid for the theme's.
};

} // namespace

QIcon controlIcon(ControlSymbol symbol, const QColor& colour)
{
    return QIcon(new ControlIconEngine(symbol, colour));
}

} // namespace quorvane
