// SPDX-License-Identifier: GPL-3.0-or-later
// The start of every unit test program: an application without a display, a home of its own.
#ifdef QUORVANE_DECODER
#include "platform/DecoderProgram.h"
#endif

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Nothing of the person who runs the tests is read or changed.
    const QTemporaryDir home;
    const QByteArray path = home.path().toUtf8();
    for (const char* variable :
        { "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME" })
        setenv(variable, path.constData(), 1);
    setenv("XDG_RUNTIME_DIR", path.constData(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QApplication application(argc, argv);
#ifdef QUORVANE_DECODER
    quorvane::setDecoderProgram(QUORVANE_DECODER);
#endif
    return RUN_ALL_TESTS();
}
