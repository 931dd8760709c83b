// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/PaintingBase.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

const QByteArray kCard = "NVIDIA GeForce RTX 3060/PCIe/SSE2";
const QByteArray kPretender = "llvmpipe (LLVM 15.0.6, 256 bits)";

struct Row {
    const char* what;
    const char* variable;
    const char* setting;
    const char* platform;
    bool hasCard;
    QByteArray renderer;
    PaintingBase expected;
    bool asksDriver = true;
};

struct Choosing : testing::TestWithParam<Row> { };

TEST_P(Choosing, TakesWhatTheMachineDoesBestUnlessItIsTold)
{
    const Row& row = GetParam();
    bool hasAsked = false;

    const auto base = choosePaintingBase({ .variable = QString::fromLatin1(row.variable),
        .setting = QString::fromLatin1(row.setting),
        .platform = QString::fromLatin1(row.platform),
        .hasGraphicsCard = [&] { return row.hasCard; },
        .renderer =
            [&] {
                hasAsked = true;
                return row.renderer;
            } });

    EXPECT_EQ(base, row.expected);
    EXPECT_EQ(hasAsked, row.asksDriver) << "asking takes time";
}

constexpr auto kRaster = PaintingBase::Raster;
constexpr auto kOpenGL = PaintingBase::OpenGL;

INSTANTIATE_TEST_SUITE_P(Each, Choosing,
    testing::Values( //
        Row { "card", "", "automatic", "xcb", true, kCard, kOpenGL },
        Row { "card_on_Wayland", "", "automatic", "wayland", true, kCard, kOpenGL },
        Row { "card_on_Wayland_EGL", "", "", "wayland-egl", true, kCard, kOpenGL },
        Row { "no_card", "", "automatic", "xcb", false, kPretender, kRaster, false },
        Row { "card_without_driver", "", "automatic", "xcb", true, kPretender, kRaster },
        Row { "card_without_OpenGL", "", "automatic", "xcb", true, "", kRaster },
        Row { "offscreen", "", "automatic", "offscreen", true, kCard, kRaster, false },
        Row { "offscreen_forced", "opengl", "opengl", "offscreen", true, kCard, kRaster, false },
        Row { "setting_raster", "", "raster", "xcb", true, kCard, kRaster, false },
        Row { "setting_OpenGL", "", "opengl", "xcb", false, kPretender, kOpenGL },
        Row { "setting_OpenGL_without_it", "", "opengl", "xcb", false, "", kRaster },
        Row { "variable_before_setting", "raster", "opengl", "xcb", true, kCard, kRaster, false },
        Row { "variable_OpenGL", "opengl", "raster", "xcb", false, kPretender, kOpenGL },
        Row { "unknown_words", "vulkan", "metal", "xcb", true, kCard, kOpenGL }),
    [](const auto& row) { return std::string(row.param.what); });

} // namespace
} // namespace quorvane
