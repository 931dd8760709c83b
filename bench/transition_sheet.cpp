// SPDX-License-Identifier: GPL-3.0-or-later
// transition_sheet OUT OLD NEW: draws every transition between two pictures, moment by moment, on
// one sheet to look at.
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/ManualClock.h"

#include <QApplication>
#include <QPainter>

#include <array>
#include <cstdio>

namespace {

using namespace quorvane;

/// Points of the view, which is drawn on the sheet as it is.
constexpr QSize kView { 480, 270 };
constexpr int kGap = 6;
constexpr int kTitleWidth = 150;

constexpr std::array kShares { 0.02, 0.2, 0.4, 0.6, 0.8, 0.98 };

struct Row {
    const char* title;
    bool forward;
    double seconds;
};

constexpr std::array kRows {
    Row { "Cross Fade", true, 1 },
    Row { "Fast Cross Fade", true, 0.2 },
    Row { "Flip", true, 1 },
    Row { "Slide", true, 1.4 },
    Row { "Slide", false, 1.4 },
    Row { "Rotate Left Right", true, 2 },
    Row { "Rotate Left", true, 2 },
    Row { "Rotate Left", false, 2 },
    Row { "Shrink", true, 1 },
    Row { "Expand", true, 1 },
    Row { "Bar Swipe", true, 0.6 },
    Row { "Swipe", true, 0.4 },
    Row { "Mod", true, 0.7 },
};

/// What the view shows.
QImage drawn(SVLayerView& view)
{
    QImage image(kView, QImage::Format_RGB32);
    view.render(&image);
    return image;
}

void drawRow(QPainter& sheet, int top, const Row& row, const QImage& before, const QImage& after)
{
    UserDefaults defaults;
    ManualClock clock;
    defaults.setValue(kImageFitMode, QString(kFitModeZoom));
    defaults.setValue(kTransition, QStringLiteral("None"));
    SVLayerView view(defaults, clock);
    view.resize(kView);
    view.setImage(SVImage::imageWithImage(before), true);
    drawn(view);
    defaults.setValue(kTransition, QString::fromLatin1(row.title));
    view.setImage(SVImage::imageWithImage(after), row.forward);
    clock.advance(Duration::zero());

    const QString title
        = QString::fromLatin1(row.title) + QLatin1String(row.forward ? "" : ", back");
    sheet.drawText(QRect(kGap, top, kTitleWidth, kView.height()),
        Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap, title);
    double passed = 0;
    int left = kTitleWidth + kGap;
    for (const double share : kShares) {
        clock.advance(durationFromSeconds(share * row.seconds - passed));
        passed = share * row.seconds;
        sheet.drawImage(left, top, drawn(view));
        left += kView.width() + kGap;
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (argc != 4) {
        std::fputs("transition_sheet OUT OLD NEW\n", stderr);
        return 2;
    }
    const QImage before(QString::fromLocal8Bit(argv[2]));
    const QImage after(QString::fromLocal8Bit(argv[3]));
    QImage image(kTitleWidth + kGap + static_cast<int>(kShares.size()) * (kView.width() + kGap),
        kGap + static_cast<int>(kRows.size()) * (kView.height() + kGap), QImage::Format_RGB32);
    image.fill(QColor(60, 60, 60));
    QPainter painter(&image);
    painter.setPen(Qt::white);
    painter.setFont(QFont(painter.font().family(), 15));
    int top = kGap;
    for (const Row& row : kRows) {
        drawRow(painter, top, row, before, after);
        top += kView.height() + kGap;
    }
    painter.end();
    return image.save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
