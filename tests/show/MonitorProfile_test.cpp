// SPDX-License-Identifier: GPL-3.0-or-later
// Colours are those that the monitor's profile asks for.
#include "ShowTest.h"

#include <QColorSpace>
#include <QColorTransform>

#include <cstdlib>

namespace quorvane::show {

namespace {

struct MonitorProfile : ShowTest { };

TEST_F(MonitorProfile, ThatTheDesktopPublishesIsObeyed)
{
    const QColorSpace wide(QColorSpace::AdobeRgb);
    desktop.publishProfile(wide.iccProfile());
    pictures.writeSolid("1.png", kGreen);
    const QRgb expected
        = QColorSpace(QColorSpace::SRgb).transformationToColorSpace(wide).map(0xff00c000);

    startShow();

    const auto isNear = [](int a, int b) { return std::abs(a - b) <= 2; };
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the colour for the monitor"),
        [&] {
            const QRgb seen = desktop.colourAt(middle()).rgb;
            return isNear(qRed(seen), qRed(expected)) && isNear(qGreen(seen), qGreen(expected))
                && isNear(qBlue(seen), qBlue(expected));
        }))
        << "expected " << std::hex << expected;
    EXPECT_GT(qRed(expected), 60) << "the profile changes what can be seen";
}

TEST_F(MonitorProfile, ThatIsNonsenseIsPassedOver)
{
    desktop.publishProfile(QByteArray(5000, 'x'));
    pictures.writeSolid("1.png", kGreen);

    startShow();

    EXPECT_TRUE(shows(kGreen));
}

} // namespace

} // namespace quorvane::show
