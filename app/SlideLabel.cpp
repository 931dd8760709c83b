// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/SlideLabel.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>

namespace quorvane {

namespace {

/// Points; read from across a room.
constexpr int kFontSize = 24;

/// Points between the text and the veil's edges, across and down.
constexpr int kSpaceX = 8;
constexpr int kSpaceY = 2;

/// How much of the slide the veil takes, of 255.
constexpr int kVeil = 102;

} // namespace

SlideLabel::SlideLabel(QWidget& below)
    : QLabel(&below)
{
    QFont large = font();
    large.setPixelSize(kFontSize);
    setFont(large);
    setTextFormat(Qt::PlainText);
    setContentsMargins(kSpaceX, kSpaceY, kSpaceX, kSpaceY);
    QPalette white = palette();
    white.setColor(QPalette::WindowText, Qt::white);
    setPalette(white);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    below.installEventFilter(this);
}

void SlideLabel::setName(const QString& name)
{
    mName = name;
    mName.replace(QLatin1Char('\n'), QLatin1Char(' '));
    place();
    raise();
    show();
}

void SlideLabel::putAway()
{
    mName.clear();
    clear();
    hide();
}

void SlideLabel::place()
{
    const QWidget& below = *parentWidget();
    const int room = std::max(0, below.width() - 2 * kSpaceX);
    setText(fontMetrics().elidedText(mName, Qt::ElideMiddle, room));
    adjustSize();
    move(0, below.height() - height());
}

bool SlideLabel::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && !mName.isEmpty())
        place();
    return QLabel::eventFilter(watched, event);
}

void SlideLabel::paintEvent(QPaintEvent* event)
{
    QPainter(this).fillRect(rect(), QColor(0, 0, 0, kVeil));
    QLabel::paintEvent(event);
}

} // namespace quorvane
