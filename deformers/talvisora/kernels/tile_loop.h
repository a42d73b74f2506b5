// SPDX-License-Identifier: Apache-2.0
// The parallel loop of the point stage. Tiles cost about the same and lie one behind the other in memory, and
// a thread that sleeps comes late: so two threads share a range and work from its two ends towards each
// other. Each goes through memory in one direction, knows its next tile in time to ask for it, and whoever
// comes late simply finds less to do. Halving by tasks, in contrast, leaves the late one's half to be stolen
// in pieces.
#pragma once

#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace talvisora {

/// What is left of a range of tiles. Any number of threads may take from both ends.
class alignas(64) TileRange {
public:
    void set(std::size_t first, std::size_t end) { ends_.store(pack(first, end), std::memory_order_relaxed); }

    /// Takes the first or the last tile, and tells the one that lies next to it: `next` is kNone when that is
    /// the last one left, which another thread may be about to take and to write. False when the range is
    /// empty.
    bool take(bool last, std::size_t& tile, std::size_t& next) {
        std::uint64_t ends = ends_.load(std::memory_order_relaxed);
        for (;;) {
            const std::size_t first = ends >> 32, end = ends & 0xffffffffu;
            if (first >= end) return false;
            const std::uint64_t rest = last ? pack(first, end - 1) : pack(first + 1, end);
            if (!ends_.compare_exchange_weak(ends, rest, std::memory_order_relaxed)) continue;
            tile = last ? end - 1 : first;
            next = end - first <= 2 ? kNone : last ? tile - 1 : tile + 1;
            return true;
        }
    }
    static constexpr std::size_t kNone = ~std::size_t(0);

private:
    static std::uint64_t pack(std::size_t first, std::size_t end) {
        return static_cast<std::uint64_t>(first) << 32 | static_cast<std::uint64_t>(end);
    }
    std::atomic<std::uint64_t> ends_;
};

/// Calls body(tile, next) once for every tile below `count` (less than 2^32), on the threads of the arena or,
/// with `shared` false, on this one in ascending order; `next` is the tile that the same thread takes next
/// unless another is faster, or TileRange::kNone. Neither allocates nor locks; `body` must not throw.
template <class Body>
void forTiles(std::size_t count, bool shared, const Body& body) {
    constexpr std::size_t kMostHands = 128;
    const std::size_t threads =
        static_cast<std::size_t>(std::max(1, tbb::this_task_arena::max_concurrency()));
    const std::size_t hands = shared ? std::min({threads, count, kMostHands}) : 1;
    const std::size_t rangeCount = (hands + 1) / 2;
    if (rangeCount == 0) return;
    TileRange ranges[kMostHands / 2]; // as many as are set are ever looked at
    for (std::size_t r = 0; r < rangeCount; ++r)
        ranges[r].set(count * r / rangeCount, count * (r + 1) / rangeCount);

    const auto work = [&](std::size_t hand) {
        // Its own range first; then what slower threads have left of theirs.
        for (std::size_t r = 0; r < rangeCount; ++r) {
            TileRange& range = ranges[(hand / 2 + r) % rangeCount];
            for (std::size_t tile, next; range.take(hand % 2 != 0, tile, next);) body(tile, next);
        }
    };
    if (hands > 1)
        tbb::parallel_for(std::size_t(0), hands, work, tbb::simple_partitioner());
    else
        work(0);
}

} // namespace talvisora
