// SPDX-License-Identifier: GPL-3.0-or-later
// Wakes a thread that waits for descriptors.
#pragma once

#include "platform/FileDescriptor.h"

namespace quorvane {

/// A descriptor that becomes readable when somebody rings. Thread: any; silence() the one that
/// waits.
class Doorbell {
public:
    Doorbell();

    /// Never waits. Twice is as good as once.
    void ring() const;

    /// Before looking what there is to do.
    void silence() const;

    /// To wait for.
    int descriptor() const { return mCounter.get(); }

private:
    FileDescriptor mCounter;
};

} // namespace quorvane
