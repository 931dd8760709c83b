// SPDX-License-Identifier: GPL-3.0-or-later
// The least that paints a transition: a widget, two pictures and a painter.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QWidget>

#include <functional>

namespace quorvane::bench {

/// One moment of a transition between two pictures that have exactly the pixels of the widget.
struct PlainMoment {
    QImage before;
    QImage after;
    QSize size; ///< Device pixels, which are points here.
    double progress = 0; ///< 0 to 1, as time goes.
};

using PlainTransition = std::function<void(QPainter& painter, const PlainMoment& moment)>;

/// The transition that a value of the setting "transition" names; null for any other.
/// \param forward  towards later slides.
PlainTransition plainTransition(const QByteArray& title, bool forward);

/// What the viewer is compared with. No layers, no list of what is to be drawn: it knows where
/// everything goes.
class PlainPainter : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    void setTransition(PlainTransition transition) { mTransition = std::move(transition); }
    void setPictures(const QImage& before, const QImage& after);

    /// Paints the moment before it returns.
    void drawMoment(double progress);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PlainTransition mTransition;
    PlainMoment mMoment;
};

} // namespace quorvane::bench
