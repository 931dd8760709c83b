// SPDX-License-Identifier: GPL-3.0-or-later
// The graphics card as a painter's base.
#pragma once

#include <QOpenGLWidget>

#include <functional>

namespace quorvane {

/// Covers its parent and paints in its place. Mouse and keys go to the parent. To be made before
/// the window is shown. Thread: main.
class OpenGLCanvas : public QOpenGLWidget {
    Q_OBJECT

public:
    /// \param paint  paints the whole widget. Coordinates: points, y down.
    OpenGLCanvas(std::function<void(QPainter&)> paint, QWidget& parent);

Q_SIGNALS:
    /// OpenGL could not be had, or is lost, as by a driver that was reset. Nothing is painted from
    /// now on.
    void failed();

protected:
    void initializeGL() override;
    void paintGL() override;
    void showEvent(QShowEvent* event) override;

private:
    using ResetStatus = unsigned (*)();

    std::function<void(QPainter&)> mPaint;
    ResetStatus mResetStatus = nullptr; ///< Null where the driver does not tell.
    bool mHasFailed = false;
};

} // namespace quorvane
