// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Assertion.h"

#include <cstdio>
#include <cstdlib>

namespace quorvane {

void Assertion::fail(const char* text, const char* file, int line)
{
    std::fprintf(stderr, "quorvane: assertion failure in %s:%d: %s\n", file, line, text);
    std::abort();
}

void Assertion::invalidParameter(const char* condition, const char* file, int line)
{
    std::fprintf(stderr,
        "quorvane: assertion failure in %s:%d: Invalid parameter not satisfying: %s\n", file, line,
        condition);
    std::abort();
}

} // namespace quorvane
