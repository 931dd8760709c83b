// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecoderProgram.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

TEST(DecoderProgram, IsTheOneChosen)
{
    const QByteArray before = decoderProgram();

    setDecoderProgram("/some/where/else");

    EXPECT_EQ(decoderProgram(), "/some/where/else");
    setDecoderProgram(before);
}

TEST(DecoderProgram, IsLookedForBesideTheProgramWhereThereIsNone)
{
    const QByteArray before = decoderProgram();

    setDecoderProgram({});

    EXPECT_TRUE(decoderProgram().endsWith("/tests/quorvane-decoder")) << decoderProgram().data();
    setDecoderProgram(before);
}

} // namespace

} // namespace quorvane
