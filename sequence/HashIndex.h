// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers of items, found by a hash.
#pragma once

#include <bit>
#include <cstddef>
#include <optional>
#include <vector>

namespace quorvane {

/// Numbers of items by a hash of theirs: a flat table, since a list of 100,000 items is far larger
/// than the processor's caches and each step of a search would wait for memory.
class HashIndex {
public:
    /// \param count  how many items there are.
    explicit HashIndex(size_t count)
        : mHeads(std::bit_ceil(count + 1), kNone)
        , mNext(count, kNone)
    {
    }

    /// Each number at most once. The one added last is found first.
    void add(size_t hash, size_t number)
    {
        size_t& head = mHeads[place(hash)];
        mNext[number] = head;
        head = number;
    }

    /// The first number among those of like hash that the test accepts.
    template <typename Accepts> std::optional<size_t> find(size_t hash, Accepts accepts) const
    {
        for (size_t number = mHeads[place(hash)]; number != kNone; number = mNext[number]) {
            if (accepts(number))
                return number;
        }
        return {};
    }

private:
    static constexpr size_t kNone = static_cast<size_t>(-1);

    size_t place(size_t hash) const { return hash & (mHeads.size() - 1); }

    std::vector<size_t> mHeads;
    std::vector<size_t> mNext;
};

} // namespace quorvane
