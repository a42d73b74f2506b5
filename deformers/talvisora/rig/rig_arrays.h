// SPDX-License-Identifier: Apache-2.0
// What the rig set-up makes anew at every evaluation, for all blocks, in flat arrays (index formulas in
// kernels/records.h), and the working memory of each block.
#pragma once

#include <cstddef>
#include <vector>

#include "fault.h"
#include "kernels/curve.h"
#include "kernels/records.h"
#include "maths/matrix44.h"
#include "rig/control_matrices.h"
#include "rig/joint_chain.h"

namespace talvisora {

/// Working memory of one block; holds the block's intermediate results until its next set-up, and its rest
/// side for as long as the rest pose stays.
struct BlockScratch {
    JointChain chain;
    ControlMatrixScratch matrices;
    bool parametersOfRest =
        false; ///< the parameters that `matrices` remembers were found on the rest at hand
};

/// World space. Slots past a block's own counts hold whatever was there before.
struct RigArrays {
    std::vector<BlockInfo> blocks;                ///< B
    std::vector<float> knots;                     ///< B · (M + 4), at knotSlot
    std::vector<Matrix44d> cvMatrices;            ///< B · M, current, at slot
    std::vector<Matrix44d> cvBaseMatrices;        ///< B · M, rest
    std::vector<Matrix44d> cvBaseMatricesInverse; ///< B · M
    std::vector<TweakVectors> tweakVectors;       ///< B · M
    std::vector<Curve> curves;                    ///< B, current, after the bends
    std::vector<Curve> restCurves;                ///< B, rest; used where the node's own are left alone
    std::vector<BlockScratch> scratch;            ///< B
    std::vector<std::vector<Fault>> faults;       ///< B, of the last set-up; empty lists most of the time

    void resize(std::size_t blockCount) {
        const std::size_t slots = blockCount * MAX_CV_MATRICES;
        blocks.resize(blockCount);
        knots.resize(blockCount * kMaxKnots);
        cvMatrices.resize(slots);
        cvBaseMatrices.resize(slots);
        cvBaseMatricesInverse.resize(slots);
        tweakVectors.resize(slots);
        curves.resize(blockCount);
        scratch.resize(blockCount);
        faults.resize(blockCount);
    }
};

} // namespace talvisora
