// SPDX-License-Identifier: GPL-3.0-or-later
// The built program, started in a home of its own.
#pragma once

#include "ChildProcess.h"

#include <QTemporaryDir>
#include <QVariantMap>

#include <memory>

namespace quorvane::show {

class VirtualDesktop;

/// The program under test, its folders and its settings file. The folders outlive a run, so the
/// same viewer can be started again as the same user. Thread: main.
class Viewer {
public:
    /// \param desktop  where its windows open; null starts it without a display. Outlives this.
    explicit Viewer(const VirtualDesktop* desktop);

    /// Sets (or, empty, removes) a variable of the next start.
    void setVariable(const QByteArray& name, const std::optional<QByteArray>& value);

    /// Another copy of the program is started from now on.
    void setProgram(const QByteArray& path) { mProgram = path; }

    /// Starts the program; one that still runs is ended first.
    void start(std::vector<QByteArray> arguments);

    pid_t pid() const; ///< 0 before the first start.
    bool running();
    std::optional<ExitStatus> exitStatus(); ///< Nothing while it runs.
    std::optional<ExitStatus> waitForExit(std::chrono::milliseconds limit);
    void kill(int signal);

    QByteArray standardOutput() const;
    QByteArray standardError() const;

    QString settingsFolder() const; ///< Made by the constructor.
    QString settingsFile() const;

    /// Bools, numbers, strings, data and arrays of these in the settings file; other values are
    /// left out. Nothing when the file is missing or is no complete property list.
    std::optional<QVariantMap> settings() const;

    void writeSettings(const QVariantMap& settings) const;
    void writeSettingsFile(const QByteArray& bytes) const;

private:
    QString folder(const char* name) const;
    std::vector<QByteArray> environment() const;

    QByteArray mProgram = QByteArrayLiteral(SHOW_TEST_PROGRAM);
    QTemporaryDir mHome;
    std::vector<std::pair<QByteArray, std::optional<QByteArray>>> mVariables;
    std::unique_ptr<ChildProcess> mProcess;
};

} // namespace quorvane::show
