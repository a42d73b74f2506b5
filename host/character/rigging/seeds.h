// SPDX-License-Identifier: Apache-2.0
// Per-point data of the blocks: layered weights and curve parameters. Private to the automatic rig.
#pragma once

#include "host/character/rigging/chains.h"

namespace talvisora::host::rigging {

/// What a block's records are at rest, next to the chain that it comes from.
struct PlannedBlock {
    Chain chain;
    std::vector<Vec3d> positions; ///< of all records, the virtual end included
    bool simple = false;          ///< as the deformer decides it: asked for, and more than three records
};

/// Fills weights (layered: s_b / (s_0 + … + s_b), 0 where s_b is 0) and params of all blocks, parallel to
/// `planned`. ownerBlock and ownerRecord answer per joint which block owns it, as which of its records.
void seedBlocks(const Character& character, const std::vector<PlannedBlock>& planned,
                const std::vector<int>& ownerBlock, const std::vector<int>& ownerRecord, ParamSearch search,
                std::vector<RigBlock>& blocks);

} // namespace talvisora::host::rigging
