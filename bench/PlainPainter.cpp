// SPDX-License-Identifier: GPL-3.0-or-later
#include "PlainPainter.h"

#include "layers/EffectPainting.h"
#include "layers/ModPattern.h"
#include "layers/TimingFunction.h"

#include <QLinearGradient>
#include <QPainter>

#include <cmath>
#include <memory>

namespace quorvane::bench {

namespace {

constexpr double kQuarterTurn = 90; ///< Degrees.
constexpr double kHalfTurn = 180;
constexpr int kSwipeWidth = 300;
constexpr int kBarWidth = 30;

/// Of the pattern of a Mod; its distances are kept in a byte.
constexpr double kFarthest = 106.1;

void fade(QPainter& painter, const PlainMoment& moment)
{
    painter.drawImage(0, 0, moment.before);
    painter.setOpacity(moment.progress);
    painter.drawImage(0, 0, moment.after);
}

void slide(QPainter& painter, const PlainMoment& moment, bool forward)
{
    const int width = moment.size.width();
    const int shift
        = static_cast<int>(std::lround((forward ? -moment.progress : moment.progress) * width));
    painter.drawImage(shift, 0, moment.before);
    painter.drawImage(shift + (forward ? width : -width), 0, moment.after);
}

/// Lowers the picture onto its lower edge.
void drawTilted(QPainter& painter, const QImage& picture, double degrees)
{
    const int height = static_cast<int>(
        std::lround(picture.height() * std::cos(degrees / kHalfTurn * std::acos(-1.0))));
    painter.drawImage(QRect(0, picture.height() - height, picture.width(), height), picture);
}

void flip(QPainter& painter, const PlainMoment& moment)
{
    painter.fillRect(QRect(QPoint(), moment.size), Qt::black);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    drawTilted(painter, moment.after, kQuarterTurn * (1 - moment.progress));
    drawTilted(painter, moment.before, kQuarterTurn * moment.progress);
}

void drawTurned(QPainter& painter, const QImage& picture, double degrees)
{
    painter.save();
    painter.translate(0, picture.height());
    painter.setRenderHint(QPainter::Antialiasing); // As the viewer does.
    painter.rotate(degrees);
    painter.drawImage(0, -picture.height(), picture);
    painter.restore();
}

/// \param in  where the new picture begins, degrees clockwise. \param out  where the old one ends.
void rotate(QPainter& painter, const PlainMoment& moment, double in, double out)
{
    painter.fillRect(QRect(QPoint(), moment.size), Qt::black);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const double arrived = TimingFunction::easeOut().progressAt(moment.progress);
    drawTurned(painter, moment.after, in * (1 - arrived));
    drawTurned(painter, moment.before, out * TimingFunction::easeIn().progressAt(moment.progress));
}

/// About the middle of the picture.
void drawScaled(QPainter& painter, const QImage& picture, double scale)
{
    QRectF target(QPointF(), QSizeF(picture.size()) * scale);
    target.moveCenter(QRectF(picture.rect()).center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target.toRect(), picture);
}

void shrink(QPainter& painter, const PlainMoment& moment)
{
    painter.drawImage(0, 0, moment.after);
    drawScaled(painter, moment.before, 1 - TimingFunction::easeIn().progressAt(moment.progress));
}

void expand(QPainter& painter, const PlainMoment& moment)
{
    painter.fillRect(QRect(QPoint(), moment.size), Qt::black);
    painter.setOpacity(1 - TimingFunction::easeIn().progressAt(moment.progress));
    painter.drawImage(0, 0, moment.before);
    painter.setOpacity(1);
    drawScaled(painter, moment.after, TimingFunction::easeOut().progressAt(moment.progress));
}

void barSwipe(QPainter& painter, const PlainMoment& moment)
{
    const int height = moment.size.height();
    painter.drawImage(0, 0, moment.after);
    for (int i = 0; i * kBarWidth < moment.size.width(); ++i) {
        const int fallen = static_cast<int>(std::lround(barFall(i, moment.progress) * height));
        painter.drawImage(i * kBarWidth, fallen, moment.before, i * kBarWidth, 0, kBarWidth);
    }
}

void swipe(QPainter& painter, const PlainMoment& moment)
{
    const double edge = moment.progress * (moment.size.width() + kSwipeWidth);
    const QRect soft
        = QRect(static_cast<int>(edge) - kSwipeWidth, 0, kSwipeWidth + 1, moment.size.height())
              .intersected(QRect(QPoint(), moment.size));
    QImage band = moment.before.copy(soft).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QLinearGradient gradient(edge - kSwipeWidth - soft.x(), 0, edge - soft.x(), 0);
    gradient.setColorAt(0, Qt::transparent);
    gradient.setColorAt(1, Qt::black);
    QPainter mask(&band);
    mask.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    mask.fillRect(band.rect(), gradient);
    mask.end();
    painter.drawImage(0, 0, moment.after, 0, 0, soft.right() + 1);
    painter.drawImage(soft.topLeft(), band);
    painter.drawImage(soft.right() + 1, 0, moment.before, soft.right() + 1, 0);
}

/// How far each pixel is from the middle of its hole, as an index of colours.
QImage modDistances(QSize size)
{
    QImage image(size, QImage::Format_Indexed8);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const double distance = ModPattern::distanceAt(x + 0.5, size.height() - y - 0.5);
            image.scanLine(y)[x] = static_cast<uchar>(std::lround(distance / kFarthest * 255));
        }
    }
    return image;
}

void mod(QPainter& painter, const PlainMoment& moment, QImage& distances)
{
    if (distances.size() != moment.size)
        distances = modDistances(moment.size);
    QList<QRgb> colours;
    for (int i = 0; i < 256; ++i) {
        const double share = ModPattern::shareAt(i * kFarthest / 255, moment.progress);
        colours.append(qRgba(0, 0, 0, static_cast<int>(std::lround(255 * (1 - share)))));
    }
    distances.setColorTable(colours);
    QImage left = moment.before.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter mask(&left);
    mask.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    mask.drawImage(0, 0, distances);
    mask.end();
    painter.drawImage(0, 0, moment.after);
    painter.drawImage(0, 0, left);
}

PlainTransition rotation(double in, double out)
{
    return [=](QPainter& painter, const PlainMoment& moment) { rotate(painter, moment, in, out); };
}

} // namespace

PlainTransition plainTransition(const QByteArray& title, bool forward)
{
    if (title == "Cross Fade" || title == "Fast Cross Fade")
        return fade;
    if (title == "Flip")
        return flip;
    if (title == "Slide")
        return
            [=](QPainter& painter, const PlainMoment& moment) { slide(painter, moment, forward); };
    if (title == "Rotate Left Right")
        return rotation(-kHalfTurn, -kHalfTurn);
    if (title == "Rotate Left")
        return forward ? rotation(kHalfTurn, -kHalfTurn) : rotation(-kHalfTurn, kHalfTurn);
    if (title == "Shrink")
        return shrink;
    if (title == "Expand")
        return expand;
    if (title == "Bar Swipe")
        return barSwipe;
    if (title == "Swipe")
        return swipe;
    if (title == "Mod")
        return [distances = std::make_shared<QImage>()](QPainter& painter,
                   const PlainMoment& moment) { mod(painter, moment, *distances); };
    return {};
}

void PlainPainter::setPictures(const QImage& before, const QImage& after)
{
    mMoment.before = before;
    mMoment.after = after;
}

void PlainPainter::drawMoment(double progress)
{
    mMoment.progress = progress;
    repaint();
}

void PlainPainter::paintEvent(QPaintEvent* /*event*/)
{
    mMoment.size = size();
    QPainter painter(this);
    if (mTransition)
        mTransition(painter, mMoment);
}

} // namespace quorvane::bench
