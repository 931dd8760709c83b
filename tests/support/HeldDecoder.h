// SPDX-License-Identifier: GPL-3.0-or-later
// Holds the decoder, and tells in which order it takes what waits.
#pragma once

#include "BusyPool.h"
#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"

#include <atomic>
#include <thread>

namespace quorvane::tests {

/// While it lives, files are opened and handed to the decoder, which begins none of them. Thread:
/// main.
class HeldDecoder {
public:
    HeldDecoder() { suspendDecoding(true); }
    ~HeldDecoder() { release(); }
    HeldDecoder(const HeldDecoder&) = delete;
    HeldDecoder& operator=(const HeldDecoder&) = delete;

    static void release() { suspendDecoding(false); }
};

/// Hands more files to a held decoder than it can begin at a time. Once it is let go, the first of
/// them, or of those with hold(), that it opens holds it again: no file is begun that waits behind
/// them. Thread: main.
class DecoderCrowd {
public:
    DecoderCrowd(const FileURL& url, DecodeRequest::Priority priority)
    {
        constexpr int kMoreThanDecoders = 8;
        const auto file = openForReading(url);
        for (int i = 0; i < kMoreThanDecoders; ++i) {
            decodeAsync(*file,
                { DecodeRequest::What::Picture,
                    [hold = hold()](QSize picture) {
                        hold();
                        return picture;
                    },
                    priority },
                [](const auto&) {});
        }
    }

    /// To be called when a file is opened.
    std::function<void()> hold() const
    {
        return [hasHeld = mHasHeld] {
            if (!hasHeld->exchange(true))
                suspendDecoding(true);
        };
    }

private:
    std::shared_ptr<std::atomic<bool>> mHasHeld = std::make_shared<std::atomic<bool>>(false);
};

/// Counts how often a picture is decoded.
class DecodingCounter {
public:
    /// A target size for one request; in the main thread it may also be asked for to compare.
    std::function<QSize(QSize)> target(QSize size)
    {
        return [this, size](QSize) {
            if (std::this_thread::get_id() != mMainThread)
                ++mCount;
            return size;
        };
    }

    int count() const { return mCount; }

private:
    const std::thread::id mMainThread = std::this_thread::get_id();
    std::atomic<int> mCount = 0;
};

} // namespace quorvane::tests
