// SPDX-License-Identifier: Apache-2.0
// Points that the blocks of the last evaluation leave partly behind.
#include "commands/commands.h"

#include <algorithm>
#include <cstddef>

#include "node/messages.h"
#include "node/my_node.h"

namespace talvisora {
namespace {

/// Kept on purpose as a double: sums that miss 1 by single-precision error only are not reported.
constexpr double kWholeSum = 0.99999;
/// Sums of so many points stay in the nearest cache while the blocks are added.
constexpr std::size_t kSumTile = 4096;

} // namespace

std::vector<std::int32_t> underWeightedPoints(const std::vector<float>& weights, std::int32_t blockCount) {
    std::vector<std::int32_t> points;
    if (blockCount <= 0) return points;
    const std::size_t blocks = static_cast<std::size_t>(blockCount);
    const std::size_t pointCount = weights.size() / blocks;
    std::vector<float> sums(std::min(pointCount, kSumTile));
    for (std::size_t first = 0; first < pointCount; first += kSumTile) {
        const std::size_t count = std::min(kSumTile, pointCount - first);
        std::fill(sums.begin(), sums.end(), 0.0f);
        for (std::size_t b = 0; b < blocks; ++b) {
            const float* row = &weights[b * pointCount + first];
            for (std::size_t i = 0; i < count; ++i) sums[i] += row[i];
        }
        for (std::size_t i = 0; i < count; ++i)
            if (kWholeSum > static_cast<double>(sums[i]))
                points.push_back(static_cast<std::int32_t>(first + i));
    }
    return points;
}

int checkFloatingPointsBody(const CommandContext& context) {
    // A node of another class has no cache to look at.
    const MyNode* node = dynamic_cast<const MyNode*>(context.node);
    if (!node || node->blockCount <= 0) return report(*context.node, noCachedBlocks());
    context.arguments[key::kOutput] = makeInts(underWeightedPoints(node->blockWeights, node->blockCount));
    return 0;
}

} // namespace talvisora
