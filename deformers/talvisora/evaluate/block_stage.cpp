// SPDX-License-Identifier: Apache-2.0
// Blocks are independent: each task writes its own slots and its own list of faults, and nothing else.
#include "evaluate/block_stage.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <atomic>
#include <iterator>
#include <memory>
#include <utility>

#include "rig/block_setup.h"

namespace talvisora {
namespace {

/// One block takes some ten microseconds, and a sleeping thread a hundred until it helps: below this number
/// one thread is done sooner.
constexpr int kFewestParallelBlocks = 8;

} // namespace

RigArrays& rigArrays(MyNode& node) {
    if (!node.rigArrays) node.rigArrays = std::make_shared<RigArrays>();
    return *node.rigArrays;
}

std::vector<Fault> setUpBlocks(const BlockStage& stage, RigCache kept, RigArrays& arrays) {
    const int blockCount = static_cast<int>(stage.blocks.values.size());
    kept.resize(stage.blocks.values.size());
    arrays.resize(stage.blocks.values.size());
    std::atomic<bool> failed{false};

    const auto setUp = [&](int b) {
        const std::size_t block = static_cast<std::size_t>(b);
        const BlockSetup setup{b,
                               stage.blocks.values[block],
                               stage.hierarchy,
                               &stage.tweaks[slot(b, 0)],
                               stage.lines,
                               kRigInBetween,
                               stage.freshParameters,
                               stage.carryTangents};
        arrays.faults[block] = setUpBlock(
            setup, {kept.restCurves[block], &kept.cvParameters[slot(b, 0)], kept.cvSignature[block]}, arrays);
        if (!arrays.faults[block].empty()) failed.store(true, std::memory_order_relaxed);
    };
    if (blockCount < kFewestParallelBlocks) {
        for (int b = 0; b < blockCount; ++b) setUp(b);
    } else {
        tbb::parallel_for(
            tbb::blocked_range<int>(0, blockCount, 1),
            [&](const tbb::blocked_range<int>& range) {
                for (int b = range.begin(); b != range.end(); ++b) setUp(b);
            },
            tbb::auto_partitioner());
    }

    std::vector<Fault> faults;
    if (failed.load(std::memory_order_relaxed))
        for (std::vector<Fault>& block : arrays.faults)
            faults.insert(faults.end(), std::make_move_iterator(block.begin()),
                          std::make_move_iterator(block.end()));
    return faults;
}

} // namespace talvisora
