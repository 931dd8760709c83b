// SPDX-License-Identifier: GPL-3.0-or-later
// How long it takes from the start of the program to the first slide on screen, for a folder of
// 100,000 pictures in 500 sub-folders beside one of 100: the large one may take 1.3 times as long.
//
// The runs take turns on one virtual desktop; medians are compared. Each folder holds pictures of
// its own colour, so that nothing else is taken for a slide.
#include "show/Viewer.h"
#include "show/VirtualDesktop.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using namespace quorvane::show;
using namespace std::chrono_literals;

constexpr int kRuns = 11;
constexpr double kLimit = 1.3;

struct Case {
    const char* name;
    int folders;
    int filesInEach;
    std::vector<double> milliseconds = {};
};

QByteArray greenPicture()
{
    QImage image(64, 36, QImage::Format_RGB32);
    image.fill(QColor(0, 160, 0));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG");
    return bytes;
}

/// Files of their own, not links to one: reading the attributes of links is cheaper.
void makeFolders(const QString& place, const Case& size)
{
    const QByteArray picture = greenPicture();
    for (int folder = 0; folder < size.folders; ++folder) {
        const QString path
            = QStringLiteral("%1/%2").arg(place).arg(folder, 4, 10, QLatin1Char('0'));
        QDir().mkpath(path);
        for (int number = 0; number < size.filesInEach; ++number) {
            QFile file(QStringLiteral("%1/img%2.jpg").arg(path).arg(number));
            if (file.open(QIODevice::WriteOnly))
                file.write(picture);
        }
    }
}

bool isGreen(Pixel pixel)
{
    return (pixel.rgb >> 8 & 0xff) > 120 && (pixel.rgb & 0xff) < 40 && pixel.rgb >> 16 < 40;
}

double timeToFirstSlide(VirtualDesktop& desktop, Viewer& viewer, const QString& folder)
{
    const QPoint middle(desktop.size().width() / 2, desktop.size().height() / 2);
    if (!desktop.waitFor(QStringLiteral("the end of the run before"),
            [&] { return !isGreen(desktop.colourAt(middle)); }))
        _exit(1);
    const auto start = std::chrono::steady_clock::now();
    viewer.start({ QFile::encodeName(folder) });
    if (!desktop.waitFor(
            QStringLiteral("the first slide"), [&] { return isGreen(desktop.colourAt(middle)); })) {
        std::puts("the first slide did not come");
        _exit(1);
    }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    viewer.kill(SIGKILL);
    viewer.waitForExit(kWaitLimit);
    return took.count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main()
{
    std::vector<Case> cases { { "100 files in 1 folder", 1, 100 },
        { "100,000 files in 500 folders", 500, 200 } };
    const QTemporaryDir data;
    for (const Case& size : cases)
        makeFolders(data.filePath(QString::fromLatin1(size.name)), size);

    VirtualDesktop desktop({ 1920, 1080 });
    if (const auto started = desktop.start(); !started) {
        std::printf("%s\n", started.message());
        return 1;
    }
    Viewer viewer(&desktop);
    for (int run = -1; run < kRuns; ++run) {
        for (Case& size : cases) {
            viewer.writeSettings({ { QStringLiteral("HintsShown"), true } });
            const double took
                = timeToFirstSlide(desktop, viewer, data.filePath(QString::fromLatin1(size.name)));
            if (run >= 0)
                size.milliseconds.push_back(took);
        }
    }
    const double base = median(cases[0].milliseconds);
    std::printf(
        "Start to first slide, 1920x1080, medians of %d runs in turn, milliseconds\n\n", kRuns);
    std::puts(
        "| folder | median | min | max | ratio | limit |\n| --- | --- | --- | --- | --- | --- |");
    for (const Case& size : cases) {
        const auto [min, max]
            = std::minmax_element(size.milliseconds.begin(), size.milliseconds.end());
        const double ratio = median(size.milliseconds) / base;
        std::printf("| %s | %.0f | %.0f | %.0f | %.2f | %s |\n", size.name,
            median(size.milliseconds), *min, *max, ratio,
            ratio <= kLimit ? "1.30 holds" : "1.30 MISSED");
    }
    return 0;
}
