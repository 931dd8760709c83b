// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ControlIcons.h"

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
    }
    return {};
}

class ControlIconEngine : public QIconEngine {
public:
    explicit ControlIconEngine(ControlSymbol symbol)
        : mSymbol(symbol)
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
        painter->fillPath(
            shapeOf(mSymbol), QGuiApplication::palette().color(group, QPalette::ButtonText));
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

    QIconEngine* clone() const override { return new ControlIconEngine(mSymbol); }

private:
    const ControlSymbol mSymbol;
};

} // namespace

QIcon controlIcon(ControlSymbol symbol) { return QIcon(new ControlIconEngine(symbol)); }

} // namespace quorvane
