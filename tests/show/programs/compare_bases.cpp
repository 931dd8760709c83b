// SPDX-License-Identifier: GPL-3.0-or-later
// Paints every transition on both bases and says where they differ. Then has OpenGL fail.
#include "display/OpenGLCanvas.h"
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/ManualClock.h"

#include <QApplication>
#include <QPainter>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace {

using namespace quorvane;

constexpr QSize kView { 480, 270 };

/// Up to this much a channel may differ.
constexpr int kTolerance = 3;

/// The share of the pixels that may differ more: where OpenGL draws a slanting edge otherwise.
constexpr double kEdges = 0.01;

struct Transition {
    const char* title;
    double seconds;
};

constexpr std::array kTransitions {
    Transition { "Cross Fade", 1 },
    Transition { "Fast Cross Fade", 0.2 },
    Transition { "Flip", 1 },
    Transition { "Slide", 1.4 },
    Transition { "Rotate Left Right", 2 },
    Transition { "Rotate Left", 2 },
    Transition { "Shrink", 1 },
    Transition { "Expand", 1 },
    Transition { "Bar Swipe", 0.6 },
    Transition { "Swipe", 0.4 },
    Transition { "Mod", 0.7 },
};

QImage picture(QSize size, QColor from, QColor to)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    painter.fillRect(image.rect(), gradient);
    return image;
}

/// A view that a test moves through time.
struct Stage {
    UserDefaults defaults;
    ManualClock clock;
    SVLayerView view;

    explicit Stage(PaintingBase base)
        : view(defaults, clock, base)
    {
        defaults.setValue(kImageFitMode, QString(kFitModeZoom));
        defaults.setValue(kTransition, QStringLiteral("None"));
        view.resize(kView);
        view.setWindowFlag(Qt::FramelessWindowHint);
        view.show();
        while (!view.windowHandle()->isExposed())
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QApplication::processEvents();
    }

    void begin(const QString& title)
    {
        defaults.setValue(kTransition, QStringLiteral("None"));
        view.setImage(SVImage::imageWithImage(picture({ 480, 270 }, Qt::red, Qt::yellow)), true);
        clock.advance(Duration::zero());
        screen(); // What has not been seen cannot fade.
        defaults.setValue(kTransition, title);
        view.setImage(SVImage::imageWithImage(picture({ 200, 270 }, Qt::blue, Qt::green)), true);
        clock.advance(Duration::zero());
    }

    QImage screen()
    {
        if (auto* const canvas = view.findChild<OpenGLCanvas*>())
            return canvas->grabFramebuffer().convertToFormat(QImage::Format_RGB32);
        return view.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
};

int difference(QRgb a, QRgb b)
{
    return std::max({ std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
        std::abs(qBlue(a) - qBlue(b)) });
}

/// The share of the pixels that differ by more than the tolerance.
double differing(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return 1;
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            count += difference(a.pixel(x, y), b.pixel(x, y)) > kTolerance ? 1 : 0;
    return count / (static_cast<double>(a.width()) * a.height());
}

/// A moment that shows a picture.
bool isPainted(const QImage& screen)
{
    const QRgb first = screen.pixel(0, 0);
    for (int x = 0; x < screen.width(); ++x)
        if (screen.pixel(x, screen.height() / 2) != first)
            return true;
    return false;
}

bool paintAlike(Stage& raster, Stage& openGL, const Transition& transition)
{
    constexpr std::array kShares { 0.0, 0.1, 0.5, 0.9, 1.0 };
    bool isAlike = true;
    double passed = 0;
    raster.begin(QString::fromLatin1(transition.title));
    openGL.begin(QString::fromLatin1(transition.title));
    for (const double share : kShares) {
        const auto step = durationFromSeconds((share - passed) * transition.seconds);
        passed = share;
        raster.clock.advance(step);
        openGL.clock.advance(step);
        const QImage expected = raster.screen();
        const double worst = differing(expected, openGL.screen());
        std::printf("%s at %.1f: %.2f %% differ\n", transition.title, share, worst * 100);
        isAlike = isAlike && worst <= kEdges;
        // Half-way some pictures have turned out of sight.
        if (share != 0.5 && !isPainted(expected)) {
            std::puts("nothing is painted");
            isAlike = false;
        }
    }
    raster.clock.advance(durationFromSeconds(1));
    openGL.clock.advance(durationFromSeconds(1));
    return isAlike;
}

bool goesOnWithoutOpenGL(Stage& openGL)
{
    const QImage before = openGL.screen();
    auto* const canvas = openGL.view.findChild<OpenGLCanvas*>();
    Q_EMIT canvas->failed();
    QApplication::processEvents();
    const bool isRaster = openGL.view.paintingBase() == PaintingBase::Raster;
    const double differs = differing(before, openGL.screen());
    std::printf("without OpenGL: %s, %.2f %% differ\n", isRaster ? "raster" : "OpenGL still",
        differs * 100);
    return isRaster && differs <= kEdges;
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    Stage raster(PaintingBase::Raster);
    Stage openGL(PaintingBase::OpenGL);
    if (openGL.view.paintingBase() != PaintingBase::OpenGL) {
        std::puts("there is no OpenGL");
        return 2;
    }
    bool isAlike = true;
    for (const Transition& transition : kTransitions)
        isAlike = paintAlike(raster, openGL, transition) && isAlike;
    return goesOnWithoutOpenGL(openGL) && isAlike ? 0 : 1;
}
