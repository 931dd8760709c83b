// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Doorbell.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace quorvane {
namespace {

bool isHeard(const Doorbell& bell)
{
    pollfd watched { bell.descriptor(), POLLIN, 0 };
    return poll(&watched, 1, 0) == 1;
}

TEST(Doorbell, IsHeardUntilItIsSilenced)
{
    const Doorbell bell;
    EXPECT_FALSE(isHeard(bell));

    bell.ring();
    bell.ring();

    EXPECT_TRUE(isHeard(bell));
    bell.silence();
    EXPECT_FALSE(isHeard(bell));
    bell.silence();
    EXPECT_FALSE(isHeard(bell)) << "Silence twice does not wait";
}

} // namespace
} // namespace quorvane
