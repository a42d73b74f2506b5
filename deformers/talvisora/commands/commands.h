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

} // namespace talvisora
