// SPDX-License-Identifier: GPL-3.0-or-later
// A line of text over the slide.
#pragma once

#include <QLabel>

namespace quorvane {

/// White on a veil of black, in the lower left corner of what it lies on. Lets the mouse through.
/// Thread: main.
class SlideLabel : public QLabel {
    Q_OBJECT

public:
    /// \param below  becomes the parent.
    explicit SlideLabel(QWidget& below);

    /// Shows the text as it is, in front of all else; what is too long is cut in the middle.
    void setName(const QString& name);

    /// Shows nothing.
    void putAway();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void place();

    QString mName;
};

} // namespace quorvane
