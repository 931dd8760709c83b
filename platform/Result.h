// SPDX-License-Identifier: GPL-3.0-or-later
// How a function says what the world did to it: a value, or an error that names its kind.
#pragma once

#include <QString>

#include <tl/expected.hpp>

#include <utility>

namespace quorvane {

/// What went wrong, for the caller that decides by it. The person reads Error::message.
enum class ErrorKind {
    NotFound, ///< There is nothing of that name.
    NotReadable, ///< It is there, but it cannot be opened or read.
    Damaged, ///< It is of the expected form but broken, cut short or contradicts itself.
    Unsupported, ///< It may well be sound; this program cannot read that form.
    InvalidArgument, ///< The request itself makes no sense.
    TooLarge, ///< It is beyond a limit that protects memory or time.
    NotWritable, ///< It cannot be written: permissions, a full disk, a failing device.
    Other, ///< None of the above; only the message says more.
};

/// An error, by value, with all that is known about it.
struct Error {
    ErrorKind kind = ErrorKind::Other;
    QString message; ///< One line for the log, without a final full stop.
};

/// A T, or why there is none.
template <typename T> using Result = tl::expected<T, Error>;

/// The error to return from a function that answers a Result of whatever type.
[[nodiscard]] inline tl::unexpected<Error> fail(ErrorKind kind, QString message)
{
    return tl::make_unexpected(Error { kind, std::move(message) });
}

} // namespace quorvane
