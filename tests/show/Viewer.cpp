// SPDX-License-Identifier: GPL-3.0-or-later
// Starts the program and reads and writes its settings file.
#include "Viewer.h"

#include "VirtualDesktop.h"

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <thread>

namespace quorvane::show {

namespace {

/// Variables of whoever runs the tests that would leak into the program.
constexpr std::array<const char*, 10> kForeignVariables { "DISPLAY=", "WAYLAND_DISPLAY=",
    "XAUTHORITY=", "XDG_", "QT_", "DBUS_", "LANG", "LC_", "HOME=", "DESKTOP_" };

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QVariant valueOf(QXmlStreamReader& reader)
{
    const QString type = reader.name().toString();
    if (type == QLatin1String("true") || type == QLatin1String("false")) {
        reader.skipCurrentElement();
        return type == QLatin1String("true");
    }
    if (type == QLatin1String("string"))
        return reader.readElementText();
    if (type == QLatin1String("real"))
        return reader.readElementText().toDouble();
    if (type == QLatin1String("integer"))
        return reader.readElementText().toLongLong();
    if (type == QLatin1String("data"))
        return QByteArray::fromBase64(reader.readElementText().toLatin1());
    if (type == QLatin1String("array")) {
        QVariantList list;
        while (reader.readNextStartElement())
            list.append(valueOf(reader));
        return list;
    }
    reader.skipCurrentElement();
    return {};
}

void writeValue(QXmlStreamWriter& writer, const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        writer.writeEmptyElement(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
        break;
    case QMetaType::Double:
        writer.writeTextElement(QStringLiteral("real"), value.toString());
        break;
    case QMetaType::Int:
    case QMetaType::LongLong:
        writer.writeTextElement(QStringLiteral("integer"), value.toString());
        break;
    case QMetaType::QByteArray:
        writer.writeTextElement(
            QStringLiteral("data"), QString::fromLatin1(value.toByteArray().toBase64()));
        break;
    case QMetaType::QVariantList:
        writer.writeStartElement(QStringLiteral("array"));
        for (const QVariant& item : value.toList())
            writeValue(writer, item);
        writer.writeEndElement();
        break;
    default:
        writer.writeTextElement(QStringLiteral("string"), value.toString());
    }
}

} // namespace

Viewer::Viewer(const VirtualDesktop* desktop)
{
    for (const char* name : { "config", "data", "cache", "run" })
        QDir().mkpath(folder(name));
    QDir().mkpath(settingsFolder());
    QFile::setPermissions(folder("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    setVariable("HOME", QFile::encodeName(mHome.path()));
    setVariable("XDG_CONFIG_HOME", QFile::encodeName(folder("config")));
    setVariable("XDG_DATA_HOME", QFile::encodeName(folder("data")));
    setVariable("XDG_CACHE_HOME", QFile::encodeName(folder("cache")));
    setVariable("XDG_RUNTIME_DIR", QFile::encodeName(folder("run")));
    setVariable("LC_ALL", "C.UTF-8");
    if (desktop == nullptr)
        return;
    setVariable("DISPLAY", desktop->displayName());
    setVariable("DBUS_SESSION_BUS_ADDRESS", desktop->busAddress());
    setVariable("QT_QPA_PLATFORM", "xcb");
}

void Viewer::setVariable(const QByteArray& name, const std::optional<QByteArray>& value)
{
    std::erase_if(mVariables, [&](const auto& variable) { return variable.first == name; });
    mVariables.emplace_back(name, value);
}

std::vector<QByteArray> Viewer::environment() const
{
    std::vector<QByteArray> result;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const QByteArray text(*variable);
        if (std::none_of(kForeignVariables.begin(), kForeignVariables.end(),
                [&](const char* start) { return text.startsWith(start); })) {
            result.push_back(text);
        }
    }
    for (const auto& [name, value] : mVariables) {
        if (value)
            result.push_back(name + '=' + *value);
    }
    return result;
}

void Viewer::start(std::vector<QByteArray> arguments)
{
    mProcess.reset();
    StartPlan plan;
    plan.command = { mProgram };
    plan.command.insert(plan.command.end(), arguments.begin(), arguments.end());
    plan.environment = environment();
    plan.outputFile = QFile::encodeName(mHome.filePath(QStringLiteral("stdout")));
    plan.errorFile = QFile::encodeName(mHome.filePath(QStringLiteral("stderr")));
    mProcess = std::make_unique<ChildProcess>(plan);
}

pid_t Viewer::pid() const { return mProcess ? mProcess->pid() : 0; }

bool Viewer::running() { return mProcess && !mProcess->exitStatus(); }

std::optional<ExitStatus> Viewer::exitStatus()
{
    return mProcess ? mProcess->exitStatus() : std::nullopt;
}

std::optional<ExitStatus> Viewer::waitForExit(std::chrono::milliseconds limit)
{
    const Moment end = std::chrono::steady_clock::now() + limit;
    while (running() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return exitStatus();
}

void Viewer::kill(int signal)
{
    if (mProcess)
        mProcess->kill(signal);
}

QByteArray Viewer::standardOutput() const
{
    return contentsOf(mHome.filePath(QStringLiteral("stdout")));
}

QByteArray Viewer::standardError() const
{
    return contentsOf(mHome.filePath(QStringLiteral("stderr")));
}

QString Viewer::folder(const char* name) const { return mHome.filePath(QString::fromUtf8(name)); }

QString Viewer::settingsFolder() const { return folder("config") + QStringLiteral("/quorvane"); }

QString Viewer::settingsFile() const
{
    return settingsFolder() + QStringLiteral("/settings.plist");
}

std::optional<QVariantMap> Viewer::settings() const
{
    QXmlStreamReader reader(contentsOf(settingsFile()));
    if (!reader.readNextStartElement() || reader.name() != QLatin1String("plist")
        || !reader.readNextStartElement() || reader.name() != QLatin1String("dict")) {
        return std::nullopt;
    }
    QVariantMap result;
    while (reader.readNextStartElement()) {
        if (reader.name() != QLatin1String("key"))
            return std::nullopt;
        const QString key = reader.readElementText();
        if (!reader.readNextStartElement())
            return std::nullopt;
        if (const QVariant value = valueOf(reader); value.isValid())
            result.insert(key, value);
    }
    while (!reader.atEnd())
        reader.readNext();
    return reader.hasError() ? std::nullopt : std::optional(result);
}

void Viewer::writeSettings(const QVariantMap& settings) const
{
    QByteArray bytes;
    QXmlStreamWriter writer(&bytes);
    writer.writeStartDocument();
    writer.writeDTD(QStringLiteral("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                   "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"));
    writer.writeStartElement(QStringLiteral("plist"));
    writer.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    writer.writeStartElement(QStringLiteral("dict"));
    for (auto entry = settings.begin(); entry != settings.end(); ++entry) {
        writer.writeTextElement(QStringLiteral("key"), entry.key());
        writeValue(writer, entry.value());
    }
    writer.writeEndDocument();
    writeSettingsFile(bytes);
}

void Viewer::writeSettingsFile(const QByteArray& bytes) const
{
    QFile file(settingsFile());
    const bool written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    assert(written);
    static_cast<void>(written);
}

} // namespace quorvane::show
