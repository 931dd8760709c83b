// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ControlPanel.h"

#include "app/Stacking.h"
#include "display/ControlIcons.h"
#include "ui_ControlPanel.h"

#include <QCloseEvent>
#include <QIcon>
#include <QSignalBlocker>

namespace quorvane {

ControlPanel::ControlPanel()
    : QWidget(nullptr, Qt::Tool | Qt::WindowStaysOnTopHint)
    , mLayout(std::make_unique<Ui::ControlPanel>())
{
    mLayout->setupUi(this);
    mLayout->previous->setIcon(controlIcon(ControlSymbol::Previous));
    mLayout->next->setIcon(controlIcon(ControlSymbol::Next));
    mLayout->open->setIcon(controlIcon(ControlSymbol::Open));
    connect(mLayout->previous, &QToolButton::clicked, this, &ControlPanel::previousWanted);
    connect(mLayout->play, &QToolButton::clicked, this, &ControlPanel::playWanted);
    connect(mLayout->next, &QToolButton::clicked, this, &ControlPanel::nextWanted);
    connect(mLayout->open, &QToolButton::clicked, this, &ControlPanel::openWanted);
    connect(mLayout->interval, &QDoubleSpinBox::valueChanged, this, &ControlPanel::intervalChosen);
    setPlaying(false);
    mLayout->play->setFocus();
}

ControlPanel::~ControlPanel() = default;

void ControlPanel::showFloating(const QWidget* show)
{
    setAttribute(Qt::WA_ShowWithoutActivating, show != nullptr);
    standBefore(*this, show);
    if (show && !mHasPlace) {
        // At the lower edge, where hands look for it.
        const QRect room = show->frameGeometry();
        const QSize size = sizeHint();
        move(room.center().x() - size.width() / 2, room.bottom() - 3 * size.height());
    }
    mHasPlace = true;
    QWidget::show();
    raise();
    if (!show)
        activateWindow();
}

void ControlPanel::setPlaying(bool isPlaying)
{
    const QString text = isPlaying ? tr("Stop Slideshow") : tr("Start Slideshow");
    mLayout->play->setIcon(controlIcon(isPlaying ? ControlSymbol::Pause : ControlSymbol::Play));
    mLayout->play->setToolTip(text);
    mLayout->play->setAccessibleName(text);
    mLayout->play->setChecked(isPlaying);
}

void ControlPanel::setEnabledForSlides(bool hasSlides)
{
    mLayout->previous->setEnabled(hasSlides);
    mLayout->play->setEnabled(hasSlides);
    mLayout->next->setEnabled(hasSlides);
}

void ControlPanel::setInterval(double seconds)
{
    const QSignalBlocker quiet(mLayout->interval);
    mLayout->interval->setValue(seconds);
}

void ControlPanel::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    hide(); // Whoever counts windows is not to count this one.
    Q_EMIT closedByHand();
}

} // namespace quorvane
