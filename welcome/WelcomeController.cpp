// SPDX-License-Identifier: GPL-3.0-or-later
#include "welcome/WelcomeController.h"

#include "ui_Welcome.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QLayout>
#include <QShortcut>

namespace quorvane {

WelcomeController::WelcomeController()
{
    Ui::Welcome layout;
    layout.setupUi(this);
    layout.version->setText(tr("Version %1").arg(QCoreApplication::applicationVersion()));
    layout.icon->setPixmap(QIcon(QStringLiteral(":/resources/quorvane.svg")).pixmap(96, 96));
    connect(layout.open, &QPushButton::clicked, this, &WelcomeController::OpenFolder);
    addKeys();
}

WelcomeController::~WelcomeController() = default;

void WelcomeController::addKeys()
{
    auto* const open = new QShortcut(QKeySequence(QKeySequence::Open), this);
    connect(open, &QShortcut::activated, this, &WelcomeController::OpenFolder);
    for (const QKeySequence& key :
        { QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(Qt::CTRL | Qt::Key_W) })
        connect(new QShortcut(key, this), &QShortcut::activated, this, &QWidget::close);
}

void WelcomeController::setMenuBar(QWidget* bar) { layout()->setMenuBar(bar); }

void WelcomeController::showWindow()
{
    show();
    raise();
    activateWindow();
}

void WelcomeController::OpenFolder()
{
    if (mDelegate)
        mDelegate->openSelected();
}

void WelcomeController::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    hide(); // Whoever counts windows is not to count this one.
    if (mDelegate)
        mDelegate->welcomeClosedByHand();
}

} // namespace quorvane
