// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/PanelParts.h"

#include <QIcon>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>

#include <algorithm>

namespace quorvane {

namespace {

constexpr int kButtonSide = 32;
constexpr int kSymbolSide = 20;
constexpr double kRounding = 6;

constexpr int kSliderHeight = 24;
constexpr int kSliderWidth = 80;
constexpr double kKnob = 6; // Its radius.
constexpr double kLine = 4; // Its thickness.

QColor white(int alpha) { return { 255, 255, 255, alpha }; }

constexpr int kFaint = 70;
constexpr int kLit = 50;
constexpr int kPressed = 90;

void drawFocusRing(QPainter& painter, const QRectF& around)
{
    painter.setPen(QPen(white(220), 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(around.adjusted(1, 1, -1, -1), kRounding, kRounding);
}

} // namespace

PanelButton::PanelButton(QWidget* parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PanelButton::setSymbol(ControlSymbol symbol, const QString& name)
{
    if (accessibleName() == name)
        return;
    setIcon(controlIcon(symbol, Qt::white));
    setToolTip(name);
    setAccessibleName(name);
}

QSize PanelButton::sizeHint() const { return { kButtonSide, kButtonSide }; }

void PanelButton::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isDown() || underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(white(isDown() ? kPressed : kLit));
        painter.drawRoundedRect(QRectF(rect()), kRounding, kRounding);
    }
    QRect symbol(0, 0, kSymbolSide, kSymbolSide);
    symbol.moveCenter(rect().center());
    icon().paint(&painter, symbol);
    if (hasFocus())
        drawFocusRing(painter, rect());
}

void PanelButton::enterEvent(QEnterEvent* event)
{
    QAbstractButton::enterEvent(event);
    update();
}

void PanelButton::leaveEvent(QEvent* event)
{
    QAbstractButton::leaveEvent(event);
    update();
}

PanelSlider::PanelSlider(QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
{
    setFocusPolicy(Qt::TabFocus);
}

void PanelSlider::showValue(int value, int maximum)
{
    if (isSliderDown())
        return;
    const QSignalBlocker quiet(this);
    setMaximum(maximum);
    setValue(value);
}

QSize PanelSlider::sizeHint() const { return { kSliderWidth, kSliderHeight }; }

double PanelSlider::xOf(int value) const
{
    const double share
        = maximum() > minimum() ? double(value - minimum()) / (maximum() - minimum()) : 0;
    const double x = kKnob + share * (width() - 2 * kKnob);
    return layoutDirection() == Qt::RightToLeft ? width() - x : x;
}

int PanelSlider::valueAt(double x) const
{
    const double way = std::max(1., width() - 2 * kKnob);
    double share = std::clamp((x - kKnob) / way, 0., 1.);
    if (layoutDirection() == Qt::RightToLeft)
        share = 1 - share;
    return minimum() + qRound(share * (maximum() - minimum()));
}

void PanelSlider::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double middle = height() / 2.;
    const double begin = xOf(minimum());
    const double knob = xOf(sliderPosition());
    const auto line = [&](double from, double to, int alpha) {
        painter.setBrush(white(alpha));
        const QRectF rect(
            std::min(from, to) - kLine / 2, middle - kLine / 2, std::abs(to - from) + kLine, kLine);
        painter.drawRoundedRect(rect, kLine / 2, kLine / 2);
    };
    line(begin, width() - begin, kFaint); // Whole, also where there is nowhere to go.
    if (isEnabled()) {
        line(begin, knob, 255);
        painter.setBrush(Qt::white);
        painter.drawEllipse(QPointF(knob, middle), kKnob, kKnob);
    }
    if (hasFocus())
        drawFocusRing(painter, rect());
}

void PanelSlider::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    setSliderDown(true);
    setSliderPosition(valueAt(event->position().x()));
}

void PanelSlider::mouseMoveEvent(QMouseEvent* event)
{
    if (isSliderDown())
        setSliderPosition(valueAt(event->position().x()));
}

void PanelSlider::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        setSliderDown(false);
}

} // namespace quorvane
