// SPDX-License-Identifier: Apache-2.0
// What both resets share: the arguments, one block's joints, the mesh's points, and the guide curve with its
// samples. Read in a fixed order, so that of several things that are wrong the same one is always reported.
#pragma once

#include <maya/MObject.h>

#include <cstdint>
#include <string>
#include <vector>

#include "command.h"
#include "kernels/curve.h"
#include "kernels/curve_samples.h"
#include "rig/control_polygon.h"

namespace talvisora {

/// The commands' fractions of a segment. Kept on purpose: three decimals where the rig has five.
inline constexpr InBetween kGuideInBetween{0.333f, 0.667f};

/// Which of the two resets asks.
enum class Reset { kParams, kWeights };

struct ResetArguments {
    std::int32_t block = 0;        ///< index of the block, to read and to write
    double maxDistanceCoeff = 0.0; ///< of kWeights only
    std::int32_t smooth = 0;       ///< passes; none when 0 or less
    std::string mesh;              ///< Maya name
    bool fast = false;             ///< write through one data handle, not by one command per point
};

/// One block ready to be measured.
struct BlockFrame {
    std::vector<Vec3d> joints; ///< rest positions in chain order, world space
    Curve guide;               ///< world space
    std::vector<CurveSample> samples;
    MObject mesh;
    std::vector<Vec3d> points; ///< the mesh's, object space; as many as the record has
};

/// All arguments, in the order in which a missing one is reported.
Fault readArguments(const ValueMap& values, Reset reset, ResetArguments& arguments);

/// Attributes, block, joints, mesh, points, guide curve. Calling thread only: it asks Maya for the mesh.
Fault readFrame(const CommandContext& context, Reset reset, const ResetArguments& arguments,
                BlockFrame& frame);

/// The guide curve through rest positions of at least two joints. Fewer than four of a simple block make no
/// cubic curve: such a block is taken as one that is not simple.
Curve guideCurve(const std::vector<Vec3d>& joints, bool simple);

} // namespace talvisora
