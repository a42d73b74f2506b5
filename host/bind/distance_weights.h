// SPDX-License-Identifier: Apache-2.0
// Block weights from the mesh alone. The module's resetWeights says, block by block, which points a block can
// take: near enough, and nothing of the mesh in between. Blocks overlap where limbs leave the trunk; a point
// then goes to the block whose bones are nearest. A point that no block can take goes to the nearest bones,
// too, so that nothing is left behind. Smoothing averages the shares over the mesh, not the layered weights,
// and keeps every point whole.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/reset/reset_stage.h"
#include "host/rig_file/rig_file.h"

namespace talvisora::host {

struct DistanceResult {
    std::vector<std::size_t> reached; ///< per block: points that resetWeights gave it
    std::size_t unreached = 0;        ///< points that no block could take
};

/// Replaces the weights of all blocks of `file`, which was made from `rig` (whose ownedJoints count); each
/// point belongs to one block. Throws what ResetStage::run throws.
DistanceResult weighByDistance(ResetStage& stage, const Character& character, const AutoRig& rig,
                               double maxDistanceCoeff, RigFile& file);

/// `passes` times, every point's shares become the mean of its own and its neighbours' along the edges; then
/// shares below a thousandth are dropped and the blocks are layered again. Points in one place count as one,
/// or the surface would open between them.
void smoothShares(const Character& character, int passes, RigFile& file);

} // namespace talvisora::host
