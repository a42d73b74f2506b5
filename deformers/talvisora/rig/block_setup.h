// SPDX-License-Identifier: Apache-2.0
// One block from its attributes to the data that the point mathematics reads.
#pragma once

#include <cstdint>
#include <vector>

#include "fault.h"
#include "gr_data.h"
#include "hierarchy.h"
#include "kernels/curve.h"
#include "kernels/records.h"
#include "node/messages.h"
#include "rig/control_polygon.h"
#include "rig/rig_arrays.h"

namespace talvisora {

/// What the set-up of block `b` reads. Everything is borrowed and only read.
struct BlockSetup {
    int b;
    const ValueMap& element; ///< children of the block under their long names
    const GrHierarchy& hierarchy;
    const Tweak* tweaks; ///< the block's MAX_CV_MATRICES records
    SetupLines lines;
    InBetween factors = kRigInBetween;
    bool freshParameters = true; ///< find the control points' parameters anew
    bool carryTangents = false;  ///< see tangentTurn
};

/// What is kept of one block between evaluations.
struct KeptBlock {
    Curve& restCurve;        ///< rebuilt every time
    float* parameters;       ///< MAX_CV_MATRICES floats, one per control point
    std::int32_t& signature; ///< control-point count that `parameters` were found for; 0 for none
};

/// Fills the slots of block b in `arrays` (sized for it) and in `kept`. The parameters are found anew when
/// asked for, and when the number of control points is not the one they were found for. Returns what was
/// wrong, in order, without the node's name: one fault, or one per bend control that is not there; the slots
/// are not to be used then. Threads: any block on any thread, each touches its own slots only.
std::vector<Fault> setUpBlock(const BlockSetup& setup, KeptBlock kept, RigArrays& arrays);

} // namespace talvisora
