// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecoderProcess.h"

#include <cstdlib>

namespace quorvane {

namespace {

/// What the decoder is told of the environment: where fonts are, for the text in drawings.
std::vector<std::string> decoderEnvironment()
{
    std::vector<std::string> environment { "LC_ALL=C.UTF-8" };
    for (const char* const name :
        { "HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME" }) {
        if (const char* const value = std::getenv(name))
            environment.push_back(std::string(name) + '=' + value);
    }
    return environment;
}

} // namespace

std::unique_ptr<DecoderProcess> DecoderProcess::start(const QByteArray& program, Kind kind)
{
    ServiceCommand command { program, {}, decoderEnvironment() };
    if (kind == Kind::Photographs)
        command.arguments.emplace_back(kPhotographsOption);
    auto process = ServiceProcess::start(command);
    if (!process)
        return nullptr;
    return std::unique_ptr<DecoderProcess>(new DecoderProcess(std::move(process)));
}

DecoderProcess::DecoderProcess(std::unique_ptr<ServiceProcess> process)
    : mProcess(std::move(process))
    , mBuffers(std::make_shared<SharedBuffers>())
{
}

DecoderProcess::~DecoderProcess() { mBuffers->close(); }

Received DecoderProcess::receive(FromDecoder& message)
{
    const Received received = mProcess->receive(message);
    message.text.back() = '\0';
    return received;
}

} // namespace quorvane
