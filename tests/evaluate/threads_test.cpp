// SPDX-License-Identifier: Apache-2.0
// What worker threads may not do, and nodes that are evaluated at the same time.
#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "fixtures/node_test.h"
#include "headless/scene/thread_check.h"

namespace talvisora {
namespace {

using namespace fixtures;

class Threads : public NodeTest {};

TEST_F(Threads, FaultsOfManyBlocksAreShownByTheCallingThreadOnly) {
    constexpr std::size_t kBlocks = 200;
    makeRig(4, 12, kBlocks);
    for (std::size_t b = 0; b < kBlocks; b += 2)
        block(b)[attribute::kJoints] = texts(std::vector<std::string>{"j0", "joint " + std::to_string(b)});
    headless::resetThreadCheck();
    EXPECT_EQ(evaluate(), 1);
    const std::vector<std::string> shown = errors();
    EXPECT_EQ(headless::foreignCallCount(), 0u) << headless::firstForeignCall();
    ASSERT_EQ(shown.size(), kBlocks / 2);
    for (std::size_t b = 0; b < kBlocks; b += 2)
        EXPECT_EQ(shown[b / 2],
                  assertionText(1127, "Cannot find 'joint " + std::to_string(b) + "' in hier!"));
}

TEST_F(Threads, NodesEvaluatedAtOnceGiveWhatEachGivesAlone) {
    constexpr std::size_t kNodes = 4, kRounds = 25;
    makeRig(6, 4000, 6); // large enough for the points to be shared among threads
    ASSERT_EQ(evaluate(), 0);
    const std::vector<Vec3d> expected = record.points;
    std::array<std::size_t, kNodes> same{};
    std::vector<std::thread> threads;
    for (std::size_t n = 0; n < kNodes; ++n)
        threads.emplace_back([&, n] {
            MyNode own; // each with its own caches, all of them with one hierarchy and one set of values
            own.sharedInputs["Hier hier"] = hierarchy;
            ValueMap values = attributes;
            for (std::size_t round = 0; round < kRounds; ++round) {
                values[setting::kCacheAttributes] = boolean(round % 2 == 0);
                DeformRecord copy = record;
                copy.points = input;
                if (own.deformCpu(values, copy) == 0 &&
                    std::memcmp(copy.points.data(), expected.data(), expected.size() * sizeof(Vec3d)) == 0)
                    ++same[n];
            }
        });
    for (std::thread& thread : threads) thread.join();
    for (std::size_t count : same) EXPECT_EQ(count, kRounds);
    EXPECT_EQ(errors(), std::vector<std::string>{});
}

} // namespace
} // namespace talvisora
