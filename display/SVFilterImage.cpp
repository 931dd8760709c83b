// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SVFilterImage.h"

#include <QPainter>

namespace quorvane {

std::shared_ptr<SVFilterImage> SVFilterImage::imageWithCGImage(
    const QImage& image, const QRectF& drawRect, const QRectF& imageRect)
{
    QImage canvas(static_cast<int>(imageRect.width()), static_cast<int>(imageRect.height()),
        QImage::Format_RGB32);
    if (canvas.isNull())
        return std::make_shared<SVFilterImage>(canvas, imageRect);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, drawRect.size() != image.size());
    const double top = canvas.height() - drawRect.bottom();
    painter.drawImage(QRectF(QPointF(drawRect.x(), top), drawRect.size()), image);
    painter.end();
    return std::make_shared<SVFilterImage>(canvas, imageRect);
}

SVFilterImage::SVFilterImage(const QImage& image, const QRectF& imageRect)
    : mImage(image)
    , mRect(imageRect)
{
}

} // namespace quorvane
