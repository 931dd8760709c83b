// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/PointerImage.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace quorvane {

PointerImage::PointerImage(QString name, QByteArray svg)
    : mName(std::move(name))
    , mSvg(std::move(svg))
{
    const QSvgRenderer renderer(mSvg);
    if (renderer.isValid())
        mSize = renderer.defaultSize();
}

std::shared_ptr<const PointerImage> PointerImage::imageNamed(const QString& name)
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return nullptr; // A setting is any text; it is not to lead to other resources.
    QFile file(QStringLiteral(":/resources/pointers/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    return std::make_shared<PointerImage>(name, file.readAll());
}

QImage PointerImage::imageOfSize(QSize pixels) const
{
    if (pixels.isEmpty() || mSize.isEmpty())
        return {};
    if (mLast.size() == pixels)
        return mLast;
    mLast = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    mLast.fill(Qt::transparent);
    QPainter painter(&mLast);
    QSvgRenderer(mSvg).render(&painter);
    return mLast;
}

} // namespace quorvane
