// SPDX-License-Identifier: GPL-3.0-or-later
// Messages between two programs of this machine, with an open file in the envelope.
#pragma once

#include "platform/FileDescriptor.h"

#include <optional>
#include <span>
#include <utility>

namespace quorvane {

/// Two ends of a socket that keeps messages apart; neither survives an exec().
std::optional<std::pair<FileDescriptor, FileDescriptor>> makeMessageSockets();

/// Sends one message, never waiting. \param file  goes along; -1 for none. \return false when the
/// other end is gone or does not keep up.
bool sendMessage(int socket, std::span<const std::byte> message, int file = -1);

/// What came in.
enum class Received {
    Message,
    Nothing, ///< Not now.
    End, ///< The other end is gone.
    Nonsense, ///< What came is no message of this size.
};

/// Takes one message, never waiting. A descriptor that came along is closed.
Received receiveMessage(int socket, std::span<std::byte> message);

/// Takes one message, waiting for it. \param file  the descriptor that came along, if any.
Received awaitMessage(int socket, std::span<std::byte> message, FileDescriptor& file);

} // namespace quorvane
