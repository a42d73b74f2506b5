// SPDX-License-Identifier: Apache-2.0
// The loop over blocks: sets every block up, in parallel when there are enough of them, and collects what
// went wrong for the calling thread to show.
#pragma once

#include <vector>

#include "fault.h"
#include "gr_data.h"
#include "hierarchy.h"
#include "node/messages.h"
#include "node/my_node.h"
#include "rig/rig_arrays.h"

namespace talvisora {

/// What is the same for every block.
struct BlockStage {
    const GrCompound& blocks; ///< B elements
    const GrHierarchy& hierarchy;
    const std::vector<Tweak>& tweaks; ///< B · M
    SetupLines lines;
    bool freshParameters;
    bool carryTangents;
};

/// The node's memory for per-evaluation arrays, made when first asked for.
RigArrays& rigArrays(MyNode& node);

/// Sizes `kept` and `arrays` for B blocks and sets all blocks up. Returns all faults by ascending block, in
/// the order in which each block raised them; empty when every block is ready. May throw std::bad_alloc.
std::vector<Fault> setUpBlocks(const BlockStage& stage, RigCache kept, RigArrays& arrays);

} // namespace talvisora
