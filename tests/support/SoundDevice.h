// SPDX-License-Identifier: GPL-3.0-or-later
// A loudspeaker that keeps what is heard.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace quorvane::tests {

/// A sound server for whom PULSE_SERVER leads to it. It plays as fast as a real one, into a pipe
/// that holds half a million samples.
class SoundDevice {
public:
    SoundDevice()
    {
        const QByteArray settings = path("settings");
        QFile file(QFile::decodeName(settings));
        [[maybe_unused]] const bool isOpen = file.open(QIODevice::WriteOnly);
        file.write("load-module module-pipe-sink file=" + path("heard")
            + " format=s16le channels=1 rate=8000 use_system_clock_for_timing=yes\n"
            + "load-module module-native-protocol-unix auth-anonymous=1 socket=" + path("socket")
            + '\n');
        file.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), mFolder.path());
        environment.insert(QStringLiteral("PULSE_RUNTIME_PATH"), mFolder.path());
        mServer.setProcessEnvironment(environment);
        mServer.setStandardErrorFile(QProcess::nullDevice());
        mServer.start(QStringLiteral("pulseaudio"),
            { QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
                QStringLiteral("--use-pid-file=no"), QStringLiteral("--exit-idle-time=-1"),
                QStringLiteral("--file"), QFile::decodeName(settings) });
    }
    ~SoundDevice()
    {
        mServer.kill();
        mServer.waitForFinished();
        if (mPipe >= 0)
            close(mPipe);
    }
    SoundDevice(const SoundDevice&) = delete;
    SoundDevice& operator=(const SoundDevice&) = delete;

    /// Whether it has begun to listen; it has its pipe by then.
    bool isReady()
    {
        if (access(path("socket").constData(), F_OK) != 0)
            return false;
        if (mPipe < 0) {
            mPipe = open(path("heard").constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
            fcntl(mPipe, F_SETPIPE_SZ, kCapacity);
        }
        return mPipe >= 0;
    }

    /// What PULSE_SERVER is to be.
    QByteArray address() const { return "unix:" + path("socket"); }

    struct Heard {
        int samples = 0; ///< That were no silence.
        int loudest = 0; ///< Upwards or downwards.
    };

    /// What came since the last call.
    Heard heard()
    {
        Heard heard;
        char bytes[4096];
        for (ssize_t size; (size = read(mPipe, bytes, sizeof bytes)) > 0;) {
            for (ssize_t i = 0; i + 1 < size; i += 2) {
                std::int16_t sample = 0;
                std::memcpy(&sample, bytes + i, sizeof sample);
                heard.samples += sample != 0;
                heard.loudest = std::max(heard.loudest, std::abs(static_cast<int>(sample)));
            }
        }
        return heard;
    }

private:
    static constexpr int kCapacity = 1 << 20; // Bytes. The most that everybody may ask for.

    QByteArray path(const char* name) const
    {
        return QFile::encodeName(mFolder.path()) + '/' + name;
    }

    QTemporaryDir mFolder;
    QProcess mServer;
    int mPipe = -1;
};

} // namespace quorvane::tests
