// SPDX-License-Identifier: GPL-3.0-or-later
// The program where it is installed.
#pragma once

#include "ShowTest.h"

#include <QProcess>

namespace quorvane::show {

struct InstalledTest : ShowTest {
    QTemporaryDir prefix;

    /// Into `prefix`, without what this machine has.
    testing::AssertionResult install()
    {
        QProcess cmake;
        cmake.setProcessChannelMode(QProcess::MergedChannels);
        cmake.start(QStringLiteral("cmake"),
            { QStringLiteral("--install"), QStringLiteral(SHOW_TEST_BUILD),
                QStringLiteral("--prefix"), prefix.path() });
        const bool isDone = cmake.waitForFinished(static_cast<int>(kWaitLimit.count()))
            && cmake.exitStatus() == QProcess::NormalExit && cmake.exitCode() == 0;
        return isDone ? testing::AssertionSuccess()
                      : testing::AssertionFailure() << cmake.readAll().toStdString();
    }
};

} // namespace quorvane::show
