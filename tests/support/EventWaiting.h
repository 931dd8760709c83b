// SPDX-License-Identifier: GPL-3.0-or-later
// Waiting for what another process or thread does.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

namespace quorvane::tests {

/// Far beyond what anything takes that will happen at all.
constexpr std::chrono::seconds kWaitingLimit { 10 };

/// Runs the event loop until `holds` says so. \return a failure after kWaitingLimit. Thread: main.
inline testing::AssertionResult waitUntil(const std::function<bool()>& holds)
{
    constexpr std::chrono::milliseconds kLookAgain { 2 }; // For what makes no event here.
    const QDeadlineTimer limit(kWaitingLimit);
    QTimer alarm;
    alarm.start(kLookAgain);
    while (!holds()) {
        if (limit.hasExpired())
            return testing::AssertionFailure() << "it has not happened";
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return testing::AssertionSuccess();
}

} // namespace quorvane::tests
