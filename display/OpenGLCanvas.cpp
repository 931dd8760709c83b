// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/OpenGLCanvas.h"

#include <QOpenGLContext>
#include <QPainter>

namespace quorvane {

namespace {

/// For each pixel; makes slanting edges smooth.
constexpr int kSamples = 4;

} // namespace

OpenGLCanvas::OpenGLCanvas(std::function<void(QPainter&)> paint, QWidget& parent)
    : QOpenGLWidget(&parent)
    , mPaint(std::move(paint))
{
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    format.setOption(QSurfaceFormat::ResetNotification); // A lost context is to say so.
    format.setSamples(kSamples);
    setFormat(format);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setMouseTracking(true);
    setGeometry(parent.rect());
}

void OpenGLCanvas::initializeGL()
{
    mResetStatus
        = reinterpret_cast<ResetStatus>(context()->getProcAddress("glGetGraphicsResetStatus"));
}

void OpenGLCanvas::paintGL()
{
    if (mHasFailed)
        return;
    if (mResetStatus && mResetStatus() != 0) {
        mHasFailed = true;
        Q_EMIT failed();
        return;
    }
    QPainter painter(this);
    mPaint(painter);
}

/// Without a context nothing is ever painted, and nobody says so.
void OpenGLCanvas::showEvent(QShowEvent* event)
{
    QOpenGLWidget::showEvent(event);
    const auto check = [this] {
        if (isValid() || mHasFailed)
            return;
        mHasFailed = true;
        Q_EMIT failed();
    };
    QMetaObject::invokeMethod(this, check, Qt::QueuedConnection);
}

} // namespace quorvane
