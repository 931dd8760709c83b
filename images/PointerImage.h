// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures that a presenter points with.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <memory>

namespace quorvane {

/// A drawing that is sharp in every size. What it points with, its tip, is its upper left corner.
/// Thread: main.
class PointerImage {
public:
    /// \param svg  a drawing; what is none has no size and no pixels.
    PointerImage(QString name, QByteArray svg);

    /// The one that the program brings along under this name (see resources/Cursors.plist); null
    /// for none.
    static std::shared_ptr<const PointerImage> imageNamed(const QString& name);

    const QString& name() const { return mName; }

    /// Points; as large as it is ever shown.
    QSize size() const { return mSize; }

    /// \param pixels  device pixels that it is to cover. \return premultiplied; null when empty.
    /// The last one is kept.
    QImage imageOfSize(QSize pixels) const;

private:
    QString mName;
    QByteArray mSvg;
    QSize mSize;
    mutable QImage mLast;
};

} // namespace quorvane
