// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ScreenChooser.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace quorvane {

namespace {

/// Points around the picture, and between two screens of it.
constexpr double kMargin = 10;
constexpr double kGap = 3;

/// Where the screen lies among the others. Qt divides the size of a dense screen, but not its
/// place: there would be gaps. A Wayland desktop divides both itself.
QRectF placeOnDesktop(const QScreen& screen)
{
    const QRectF place = screen.geometry();
    const bool isDivided = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return { place.topLeft(), place.size() * (isDivided ? 1 : screen.devicePixelRatio()) };
}

QRectF allScreens()
{
    QRectF all;
    for (const QScreen* const screen : QGuiApplication::screens())
        all |= placeOnDesktop(*screen);
    return all;
}

} // namespace

ScreenMap::ScreenMap(QWidget* parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Screens"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    const auto redraw = [this] { update(); };
    connect(qGuiApp, &QGuiApplication::screenAdded, this, redraw);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, redraw);
}

void ScreenMap::mark(QScreen* screen)
{
    mMarked = screen;
    if (screen)
        setAccessibleDescription(tr("Chosen: %1").arg(screen->name()));
    update();
}

QRectF ScreenMap::placeOf(const QScreen& screen) const
{
    const QRectF all = allScreens();
    const QRectF room = QRectF(rect()).adjusted(kMargin, kMargin, -kMargin, -kMargin);
    const double scale = std::min(room.width() / all.width(), room.height() / all.height());
    const QRectF place = placeOnDesktop(screen);
    const QPointF corner = room.center() + (place.topLeft() - all.center()) * scale;
    return QRectF(corner, place.size() * scale).adjusted(kGap, kGap, -kGap, -kGap);
}

void ScreenMap::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    int number = 0;
    for (const QScreen* const screen : QGuiApplication::screens()) {
        const bool isMarked = screen == mMarked;
        const QRectF place = placeOf(*screen);
        const QPalette& colors = palette();
        const QColor ink
            = colors.color(isMarked ? QPalette::HighlightedText : QPalette::WindowText);
        painter.setBrush(colors.color(isMarked ? QPalette::Highlight : QPalette::Base));
        painter.setPen(QPen(colors.color(QPalette::Mid), 1));
        painter.drawRoundedRect(place, 6, 6);
        painter.setPen(ink);
        const QSize size = placeOnDesktop(*screen).size().toSize(); // In pixels, as on the box.
        const QString text = tr("%1\n%2\n%3 × %4")
                                 .arg(++number)
                                 .arg(screen->name())
                                 .arg(size.width())
                                 .arg(size.height());
        painter.drawText(place.adjusted(4, 4, -4, -4), Qt::AlignCenter, text);
    }
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DotLine));
        painter.drawRect(rect().adjusted(1, 1, -2, -2));
    }
}

void ScreenMap::mousePressEvent(QMouseEvent* event)
{
    for (QScreen* const screen : QGuiApplication::screens())
        if (placeOf(*screen).contains(event->position()))
            mark(screen);
}

void ScreenMap::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
    if (mMarked && placeOf(*mMarked).contains(event->position()))
        Q_EMIT decided();
}

void ScreenMap::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Down:
        step(1);
        break;
    case Qt::Key_Left:
    case Qt::Key_Up:
        step(-1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Q_EMIT decided();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void ScreenMap::step(int by)
{
    const auto screens = QGuiApplication::screens();
    const auto place = screens.indexOf(mMarked.data());
    mark(screens.at((place + by + screens.size()) % screens.size()));
}

ScreenChooser::ScreenChooser()
    : QWidget(nullptr, Qt::Window)
    , mMap(new ScreenMap(this))
{
    setWindowTitle(tr("Choose Screen"));
    auto* const text
        = new QLabel(tr("Drag this window to the screen for the show, or click it here."));
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);
    auto* const button = new QPushButton(tr("&Show Here"));
    button->setDefault(true);
    connect(button, &QPushButton::clicked, this, &ScreenChooser::chosen);
    connect(mMap, &ScreenMap::decided, this, &ScreenChooser::chosen);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(text);
    column->addWidget(mMap, 1);
    column->addWidget(button, 0, Qt::AlignHCenter);
}

void ScreenChooser::begin(QScreen* current)
{
    mStandsOn = nullptr;
    mMap->mark(current);
    show();
    raise();
    activateWindow();
    mMap->setFocus();
}

QScreen* ScreenChooser::chosenScreen() const { return mMap->marked() ? mMap->marked() : screen(); }

void ScreenChooser::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    if (mStandsOn && screen() != mStandsOn)
        mMap->mark(screen());
    mStandsOn = screen();
}

void ScreenChooser::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        hide();
    else
        QWidget::keyPressEvent(event);
}

} // namespace quorvane
