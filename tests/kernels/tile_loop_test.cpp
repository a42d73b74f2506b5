// SPDX-License-Identifier: Apache-2.0
// Every tile once, whoever takes it; and the hint about the next one never names a tile that is gone.
#include "kernels/tile_loop.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <atomic>
#include <thread>
#include <vector>

namespace talvisora {
namespace {

constexpr std::size_t kNone = TileRange::kNone;

TEST(TileLoop, VisitsEveryTileOnceWhateverTheNumberOfThreads) {
    for (const int threads : {1, 2, 3, 4, 5, 8, 17, 300})
        for (const std::size_t count : {0u, 1u, 2u, 3u, 7u, 64u, 1000u}) {
            std::vector<std::atomic<int>> visits(count);
            tbb::task_arena arena(threads);
            arena.execute([&] { forTiles(count, true, [&](std::size_t t, std::size_t) { ++visits[t]; }); });
            for (std::size_t t = 0; t < count; ++t)
                EXPECT_EQ(visits[t], 1) << "tile " << t << " of " << count << ", " << threads << " threads";
        }
}

TEST(TileLoop, StaysOnOneThreadAndInOrderWhenItIsNotShared) {
    std::vector<std::size_t> tiles, hints;
    const std::thread::id here = std::this_thread::get_id();
    tbb::task_arena arena(4);
    std::thread::id there;
    arena.execute([&] {
        there = std::this_thread::get_id();
        forTiles(5, false, [&](std::size_t t, std::size_t next) {
            EXPECT_EQ(std::this_thread::get_id(), there);
            tiles.push_back(t);
            hints.push_back(next);
        });
    });
    EXPECT_EQ(there, here);
    EXPECT_EQ(tiles, (std::vector<std::size_t>{0, 1, 2, 3, 4}));
    EXPECT_EQ(hints, (std::vector<std::size_t>{1, 2, 3, kNone, kNone}));
}

TEST(TileLoop, RangesAreTakenFromBothEndsUntilTheyMeet) {
    TileRange range;
    range.set(10, 15);
    std::size_t tile = 0, next = 0;
    ASSERT_TRUE(range.take(false, tile, next));
    EXPECT_EQ(tile, 10u);
    EXPECT_EQ(next, 11u);
    ASSERT_TRUE(range.take(true, tile, next));
    EXPECT_EQ(tile, 14u);
    EXPECT_EQ(next, 13u);
    ASSERT_TRUE(range.take(true, tile, next));
    EXPECT_EQ(tile, 13u);
    EXPECT_EQ(next, 12u);
    ASSERT_TRUE(range.take(true, tile, next));
    EXPECT_EQ(tile, 12u);
    EXPECT_EQ(next, kNone) << "the last one left may be another thread's by now";
    ASSERT_TRUE(range.take(false, tile, next));
    EXPECT_EQ(tile, 11u);
    EXPECT_EQ(next, kNone);
    EXPECT_FALSE(range.take(false, tile, next));
    EXPECT_FALSE(range.take(true, tile, next));
}

TEST(TileLoop, AThreadThatNeverComesLeavesNothingUndone) {
    // The arena has four places, but only the calling thread may work.
    tbb::global_control alone(tbb::global_control::max_allowed_parallelism, 1);
    std::vector<int> visits(100);
    tbb::task_arena arena(4);
    arena.execute([&] { forTiles(visits.size(), true, [&](std::size_t t, std::size_t) { ++visits[t]; }); });
    EXPECT_EQ(visits, std::vector<int>(100, 1));
}

} // namespace
} // namespace talvisora
