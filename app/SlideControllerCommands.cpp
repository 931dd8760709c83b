// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that a hand can give, and their keys.
#include "app/SlideController.h"
#include "app/SlideWindow.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeySequence>

#include <array>

namespace quorvane {

namespace {

/// A command with the keys that give it. They act before any key reaches the controller as such.
struct Command {
    const char* title; ///< Source text for tr().
    void (SlideController::*action)();
    std::array<const char*, 2> keys; ///< Portable names; the second may be null.
};

constexpr std::array kCommands {
    Command {
        QT_TRANSLATE_NOOP("Commands", "Next"), &SlideController::nextSlide, { "Right", "PgDown" } },
    Command { QT_TRANSLATE_NOOP("Commands", "Previous"), &SlideController::previousSlide,
        { "Left", "PgUp" } },
    Command {
        QT_TRANSLATE_NOOP("Commands", "First"), &SlideController::firstSlide, { "Home", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "End Show"), &SlideController::cancel,
        { "Escape", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "Shrink to Fit"), &SlideController::ShrinkToFit,
        { "Ctrl+2", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "Zoom to Fit"), &SlideController::ZoomToFit,
        { "Ctrl+3", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "Fill Screen"), &SlideController::FillScreen,
        { "Ctrl+4", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "Stretch"), &SlideController::Stretch,
        { "Ctrl+5", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "Zoom In"), &SlideController::ZoomIn,
        { "Ctrl++", "Ctrl+=" } },
    Command { QT_TRANSLATE_NOOP("Commands", "Actual Size"), &SlideController::ZoomOne,
        { "Ctrl+1", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "Zoom Off"), &SlideController::ZoomOff,
        { "Ctrl+0", nullptr } },
    Command {
        QT_TRANSLATE_NOOP("Commands", "Open…"), &SlideController::openMenu, { "Ctrl+O", nullptr } },
    Command { QT_TRANSLATE_NOOP("Commands", "User Guide"), &SlideController::showHelp,
        { "F1", nullptr } },
    Command {
        QT_TRANSLATE_NOOP("Commands", "Quit"), &SlideController::quit, { "Ctrl+Q", nullptr } },
};

QList<QKeySequence> sequencesOf(const Command& command)
{
    QList<QKeySequence> sequences;
    for (const char* const key : command.keys) {
        if (key)
            sequences << QKeySequence(QLatin1String(key), QKeySequence::PortableText);
    }
    return sequences;
}

} // namespace

void SlideController::addCommands(SlideWindow& window) const
{
    for (const Command& command : kCommands) {
        auto* const action
            = new QAction(QCoreApplication::translate("Commands", command.title), &window);
        action->setShortcuts(sequencesOf(command));
        connect(action, &QAction::triggered, this, command.action);
        window.addAction(action);
    }
}

void SlideController::cancel() { endSlideShow(); }

void SlideController::quit() { Q_EMIT nothingLeft(); }

void SlideController::ShrinkToFit() { setFitMode(kFitModeFit); }

void SlideController::ZoomToFit() { setFitMode(kFitModeZoom); }

void SlideController::FillScreen() { setFitMode(kFitModeFill); }

void SlideController::Stretch() { setFitMode(kFitModeStretch); }

void SlideController::ZoomIn()
{
    delayNextImage();
    if (mView)
        mView->zoomIn();
}

void SlideController::ZoomOne()
{
    delayNextImage();
    if (mView)
        mView->zoomOne();
}

void SlideController::ZoomOff()
{
    if (mView)
        mView->zoomOff();
}

void SlideController::setFitMode(QLatin1String mode)
{
    delayNextImage();
    mDefaults.setValue(kImageFitMode, QString(mode));
    if (mView)
        mView->updateFitMode();
}

} // namespace quorvane
