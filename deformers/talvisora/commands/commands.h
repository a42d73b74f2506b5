// SPDX-License-Identifier: Apache-2.0
// The bodies of the exported commands. Each runs on the host's thread after the prologue and answers 0, or 1
// after one message.
#pragma once

#include <cstdint>
#include <vector>

#include "command.h"

namespace talvisora {

/// Indices of the points whose block weights sum to less than 1, ascending. `weights` are block-major, B
/// rows; a remainder that fills no row is left out. Sums in single precision, block after block.
std::vector<std::int32_t> underWeightedPoints(const std::vector<float>& weights, std::int32_t blockCount);

/// Lists the points that the blocks of the last evaluation leave behind, as a GrInt under "OUTPUT".
int checkFloatingPointsBody(const CommandContext& context);

/// Gives every point of a block the parameter of the nearest of 300 points on the block's guide curve,
/// smooths over the mesh's edges, and writes the values to the Maya node.
int resetParamsBody(const CommandContext& context);

/// Gives every point of a block weight 1 when it lies within the mesh's own thickness round the guide curve,
/// times a factor, and nothing of the mesh stands between; else 0. Smooths and writes like the other.
int resetWeightsBody(const CommandContext& context);

} // namespace talvisora
