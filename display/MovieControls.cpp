// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/MovieControls.h"

#include "display/PanelParts.h"

#include <QCursor>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace quorvane {

namespace {

/// After which they fade.
constexpr std::chrono::seconds kRestAfter { 3 };

constexpr std::chrono::milliseconds kFadeStep { 40 };
constexpr double kFadePerStep = 0.125;

// Points.
constexpr int kWidth = 560;
constexpr int kWidthForVolume = 420; ///< In less, there is none; nor times in even less.
constexpr int kWidthForTimes = 320;
constexpr int kSideSpace = 16; ///< At least, to the edges of the view.
constexpr int kBelow = 56; ///< To the lower edge, where the name of the slide stands.
constexpr int kPadding = 8;
constexpr double kRounding = 12;
constexpr int kFontSize = 13;

/// How much of the movie the veil takes, of 255.
constexpr int kVeil = 205;

constexpr int kLoudest = 100;
constexpr int kVolumeStep = 5;
constexpr int kSeekStep = 5'000; ///< Milliseconds, as all places in the movie.
constexpr int kSeekPage = 30'000;

int milliseconds(double seconds)
{
    constexpr double kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::round(seconds * 1000), 0., kMost));
}

/// "4:05", "1:02:03".
QString clockText(int milliseconds)
{
    const int seconds = milliseconds / 1000;
    const auto twoDigits
        = [](int number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const int hours = seconds / 3600;
    const int minutes = seconds / 60 % 60;
    const QString tail = QLatin1Char(':') + twoDigits(seconds % 60);
    if (hours > 0)
        return QString::number(hours) + QLatin1Char(':') + twoDigits(minutes) + tail;
    return QString::number(minutes) + tail;
}

QLabel* timeLabel(QWidget& panel, const QString& name)
{
    auto* const label = new QLabel(&panel);
    QFont font = label->font();
    font.setPixelSize(kFontSize);
    label->setFont(font);
    label->setMinimumWidth(QFontMetrics(font).horizontalAdvance(QStringLiteral("-0:00:00")));
    label->setAlignment(Qt::AlignCenter);
    label->setAccessibleName(name);
    return label;
}

} // namespace

MovieControls::MovieControls(QWidget& view, Clock& clock)
    : QWidget(&view)
    , mView(view)
    , mClock(clock)
    , mPlay(new PanelButton(this))
    , mPassed(timeLabel(*this, tr("Time passed")))
    , mPosition(new PanelSlider(this))
    , mLeft(timeLabel(*this, tr("Time left")))
    , mSound(new PanelButton(this))
    , mVolume(new PanelSlider(this))
    , mOpacity(new QGraphicsOpacityEffect(this))
{
    hide();
    setAccessibleName(tr("Movie"));
    setCursor(Qt::ArrowCursor);
    setGraphicsEffect(mOpacity);
    QPalette white = palette();
    white.setColor(QPalette::WindowText, Qt::white);
    setPalette(white);
    layOut();
    connect(mPlay, &QAbstractButton::clicked, this, &MovieControls::playOrPause);
    connect(mPosition, &QSlider::valueChanged, this, &MovieControls::seek);
    connect(mPosition, &QSlider::sliderPressed, this, &MovieControls::holdMovie);
    connect(mPosition, &QSlider::sliderReleased, this, &MovieControls::releaseMovie);
    connect(mSound, &QAbstractButton::clicked, this, &MovieControls::muteOrNot);
    connect(mVolume, &QSlider::valueChanged, this, &MovieControls::turnUpTo);
    view.installEventFilter(this);
}

MovieControls::~MovieControls()
{
    if (mPlayer)
        mPlayer->removeObserver(*this);
}

void MovieControls::layOut()
{
    mPosition->setAccessibleName(tr("Place in the movie"));
    mPosition->setSingleStep(kSeekStep);
    mPosition->setPageStep(kSeekPage);
    mVolume->setAccessibleName(tr("Volume"));
    mVolume->setToolTip(tr("Volume"));
    mVolume->setRange(0, kLoudest);
    mVolume->setSingleStep(kVolumeStep);
    mVolume->setPageStep(2 * kVolumeStep);
    mVolume->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(kPadding, kPadding, 2 * kPadding, kPadding);
    row->addWidget(mPlay);
    row->addWidget(mPassed);
    row->addWidget(mPosition, 1);
    row->addWidget(mLeft);
    row->addWidget(mSound);
    row->addWidget(mVolume);
    for (QWidget* const part : findChildren<QWidget*>()) {
        part->installEventFilter(this);
        part->setMouseTracking(true);
    }
    setMouseTracking(true);
}

void MovieControls::setPlayer(const std::shared_ptr<MoviePlayer>& player)
{
    if (mPlayer)
        mPlayer->removeObserver(*this);
    mPlayer = player;
    vanish();
    mView.unsetCursor();
    if (!mPlayer)
        return;
    mPlayer->addObserver(*this);
    mView.window()->installEventFilter(this);
    mMouse = QCursor::pos();
}

void MovieControls::keepVolume(MoviePlayer& player)
{
    if (!mVolumeKept)
        mVolumeKept = Volume { player.volume(), player.isMuted() };
    player.setVolume(mVolumeKept->volume);
    player.setMuted(mVolumeKept->isMuted);
}

void MovieControls::wake()
{
    if (!mPlayer)
        return;
    mView.unsetCursor();
    mFading.reset();
    mOpacity->setOpacity(1);
    if (!isVisible()) {
        place();
        show();
        raise();
        refresh();
    }
    mRest = mClock.scheduleTimer(kRestAfter, Clock::Repetition::Once, [this] { rest(); });
}

void MovieControls::rest()
{
    if (mPosition->isSliderDown() || mVolume->isSliderDown()) {
        wake();
        return;
    }
    mFading = mClock.scheduleTimer(kFadeStep, Clock::Repetition::Repeating, [this] { fade(); });
}

void MovieControls::fade()
{
    mOpacity->setOpacity(mOpacity->opacity() - kFadePerStep);
    if (mOpacity->opacity() > 0)
        return;
    vanish();
    mView.setCursor(Qt::BlankCursor);
}

void MovieControls::vanish()
{
    mRest.reset();
    mFading.reset();
    for (PanelSlider* const slider : { mPosition, mVolume })
        slider->setSliderDown(false); // The hand's release may never come.
    if (!isHidden())
        giveFocusBack();
    hide();
}

/// The keys are the show's again.
void MovieControls::giveFocusBack()
{
    if (isAncestorOf(window()->focusWidget()))
        window()->setFocus();
}

bool MovieControls::takesKey(const QObject* target, int key) const
{
    if (key == Qt::Key_Escape)
        return true;
    const bool isSlider = target == mPosition || target == mVolume;
    return isSlider
        && (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down
            || key == Qt::Key_PageUp || key == Qt::Key_PageDown || key == Qt::Key_Home
            || key == Qt::Key_End);
}

/// The way in without a mouse.
bool MovieControls::windowKeyPressed(const QKeyEvent& event)
{
    const bool isTab = event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab;
    if (!mPlayer || !isTab || event.modifiers().testFlag(Qt::ControlModifier))
        return false;
    wake();
    mPlay->setFocus(Qt::TabFocusReason);
    return true;
}

void MovieControls::viewEvent(const QEvent& event)
{
    if (event.type() == QEvent::Resize && isVisible())
        place();
    // With a button held, the pointer is being shown.
    if (isMove(event) && static_cast<const QMouseEvent&>(event).buttons() == Qt::NoButton)
        wake();
}

/// A window that changes under a resting mouse sends moves that are none: the panel's own coming
/// and going, above all.
bool MovieControls::isMove(const QEvent& event)
{
    if (event.type() != QEvent::MouseMove)
        return false;
    const QPoint where = static_cast<const QMouseEvent&>(event).globalPosition().toPoint();
    return std::exchange(mMouse, where) != where;
}

bool MovieControls::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == mView.window() && event->type() == QEvent::KeyPress)
        return windowKeyPressed(*static_cast<QKeyEvent*>(event));
    if (watched == &mView || watched == mView.window()) {
        viewEvent(*event);
        return false;
    }
    switch (event->type()) {
    case QEvent::ShortcutOverride: // Else the menus' commands would have it.
        if (takesKey(watched, static_cast<QKeyEvent*>(event)->key())) {
            event->accept();
            return true;
        }
        break;
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            vanish();
            return true;
        }
        wake();
        break;
    case QEvent::MouseMove:
        if (isMove(*event))
            wake();
        break;
    case QEvent::MouseButtonPress:
        wake();
        break;
    default:
        break;
    }
    return false;
}

/// What the parts let through, and what lies between them.
bool MovieControls::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseMove:
        if (isMove(*event))
            wake();
        event->accept();
        return true;
    case QEvent::MouseButtonPress:
        wake();
        [[fallthrough]];
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
        event->accept();
        return true;
    default:
        return QWidget::event(event);
    }
}

void MovieControls::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(20, 20, 22, kVeil));
    painter.drawRoundedRect(QRectF(rect()), kRounding, kRounding);
}

void MovieControls::place()
{
    const int width = std::min(kWidth, mView.width() - 2 * kSideSpace);
    mVolume->setVisible(width >= kWidthForVolume);
    mPassed->setVisible(width >= kWidthForTimes);
    mLeft->setVisible(width >= kWidthForTimes);
    const int height = sizeHint().height();
    const int top = std::max(0, mView.height() - height - kBelow);
    setGeometry((mView.width() - width) / 2, top, width, height);
}

void MovieControls::refresh()
{
    if (!mPlayer || !isVisible())
        return;
    const bool isPlaying = mPlayer->isPlaying();
    mPlay->setSymbol(isPlaying ? ControlSymbol::Pause : ControlSymbol::Play,
        isPlaying ? tr("Pause") : tr("Play"));
    const bool isMuted = mPlayer->isMuted();
    mSound->setSymbol(isMuted ? ControlSymbol::Silence : ControlSymbol::Sound,
        isMuted ? tr("Sound On") : tr("Sound Off"));
    mVolume->showValue(
        isMuted ? 0 : static_cast<int>(std::lround(mPlayer->volume() * kLoudest)), kLoudest);
    updateTimes();
}

void MovieControls::updateTimes()
{
    const auto duration = mPlayer->duration();
    const int all = milliseconds(duration.value_or(0));
    const int passed = milliseconds(mPlayer->position());
    mPosition->setEnabled(duration.has_value());
    mPosition->showValue(passed, all);
    showTimes(mPosition->isSliderDown() ? mPosition->sliderPosition() : passed);
}

void MovieControls::showTimes(int passed)
{
    const auto duration = mPlayer->duration();
    const int left = milliseconds(duration.value_or(0)) - passed;
    mPassed->setText(clockText(passed));
    mLeft->setText(duration ? QChar(0x2212) + clockText(std::max(0, left)) : QString());
}

void MovieControls::playOrPause()
{
    if (!mPlayer)
        return;
    if (mPlayer->isPlaying())
        mPlayer->pause();
    else
        mPlayer->play();
}

void MovieControls::muteOrNot()
{
    if (!mPlayer)
        return;
    mVolumeKept = Volume { mPlayer->volume(), !mPlayer->isMuted() };
    keepVolume(*mPlayer);
}

/// The slider stays where it was put until the movie is there: else the next step of a key that is
/// held would begin where the last one did.
void MovieControls::seek(int milliseconds)
{
    if (!mPlayer)
        return;
    mPlayer->seek(milliseconds / 1000.);
    showTimes(milliseconds);
}

/// Else it would be over, and the next slide there, as soon as the knob is at the end.
void MovieControls::holdMovie()
{
    mPlaysOn = mPlayer && mPlayer->isPlaying();
    if (mPlaysOn)
        mPlayer->pause();
}

void MovieControls::releaseMovie()
{
    if (std::exchange(mPlaysOn, false) && mPlayer)
        mPlayer->play();
}

void MovieControls::turnUpTo(int volume)
{
    if (!mPlayer)
        return;
    // Who turns it up wants to hear it.
    mVolumeKept = Volume { double(volume) / kLoudest, false };
    keepVolume(*mPlayer);
}

} // namespace quorvane
