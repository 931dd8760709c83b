// SPDX-License-Identifier: GPL-3.0-or-later
// A button and a slider that are white on a dark veil, whatever the theme.
#pragma once

#include "display/ControlIcons.h"

#include <QAbstractButton>
#include <QSlider>

namespace quorvane {

/// A symbol that lights up under the mouse.
class PanelButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit PanelButton(QWidget* parent);

    /// \param name  what it does now, for those who point at it and those who hear it.
    void setSymbol(ControlSymbol symbol, const QString& name);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
};

/// A line with a knob that goes where it is pressed. valueChanged() comes of people only: the
/// program moves it by showValue().
class PanelSlider : public QSlider {
    Q_OBJECT

public:
    explicit PanelSlider(QWidget* parent);

    /// Not while somebody holds the knob.
    void showValue(int value, int maximum);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int valueAt(double x) const;
    double xOf(int value) const;
};

} // namespace quorvane
