// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecoderProgram.h"

#include <unistd.h>

#include <filesystem>

namespace quorvane {

namespace {

constexpr char kName[] = "quorvane-decoder";
constexpr char kPlayerName[] = "quorvane-movies";

QByteArray& chosenProgram()
{
    static QByteArray path;
    return path;
}

std::filesystem::path ownFolder()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

} // namespace

QByteArray decoderProgram()
{
    if (!chosenProgram().isEmpty())
        return chosenProgram();
    const std::filesystem::path beside = ownFolder() / kName;
    const std::filesystem::path installed
        = (ownFolder() / QUORVANE_DECODER_FOLDER / kName).lexically_normal();
    const bool isBeside = access(beside.c_str(), X_OK) == 0;
    const bool isInstalled = access(installed.c_str(), X_OK) == 0;
    return QByteArray::fromStdString((isInstalled && !isBeside ? installed : beside).native());
}

QByteArray playerProgram()
{
    const auto folder = std::filesystem::path(decoderProgram().toStdString()).parent_path();
    return QByteArray::fromStdString((folder / kPlayerName).native());
}

void setDecoderProgram(const QByteArray& path) { chosenProgram() = path; }

} // namespace quorvane
