// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Decoding.h"

#include "platform/DecoderPool.h"
#include "platform/DecoderProgram.h"

#include <algorithm>
#include <future>
#include <thread>

namespace quorvane {

namespace {

/// More decoders would only take memory: nobody looks at more than a few pictures at a time.
constexpr int kMostWorkers = 4;

DecoderPool& pool()
{
    // Never destroyed: pictures may be under way when the program ends.
    static DecoderPool* const shared = [] {
        const int processors = static_cast<int>(std::thread::hardware_concurrency());
        return new DecoderPool({ decoderProgram(), std::clamp(processors, 2, kMostWorkers) });
    }();
    return *shared;
}

} // namespace

QSize boundedSize(QSize size, int bound)
{
    if (std::max(size.width(), size.height()) <= bound)
        return size;
    return size.scaled(bound, bound, Qt::KeepAspectRatio).expandedTo({ 1, 1 });
}

DecodeTicket decodeAsync(const FileDescriptor& file, DecodeRequest request, const DecodeDone& done)
{
    return pool().decode(file, std::move(request), done);
}

void cancelDecoding(DecodeTicket ticket) { pool().cancel(ticket); }

void setDecodingTarget(const QByteArray& profile) { pool().setTarget(profile); }

void setDecodingPriority(DecodeTicket ticket, DecodeRequest::Priority priority)
{
    pool().setPriority(ticket, priority);
}

Result<DecodeAnswer> decode(const FileDescriptor& file, DecodeRequest request)
{
    // Shared: it is still at work when the answer is there already.
    const auto promise = std::make_shared<std::promise<Result<DecodeAnswer>>>();
    auto answer = promise->get_future();
    decodeAsync(file, std::move(request),
        [promise](Result<DecodeAnswer> result) { promise->set_value(std::move(result)); });
    return answer.get();
}

void warmUpDecoders() { pool().warmUp(); }

void drainDecoding() { pool().drain(); }

void suspendDecoding(bool isSuspended) { isSuspended ? pool().suspend() : pool().resume(); }

} // namespace quorvane
