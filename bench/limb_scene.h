// SPDX-License-Identifier: Apache-2.0
// The scene that is timed: a limb of chains end to end along x, a tube of points around it, every chain bent.
// The same scene as attribute values for a whole evaluation and as four-influence skin for the yardstick.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "deform_records.h"
#include "gr_data.h"
#include "hierarchy.h"

namespace talvisora::bench {

struct LimbOptions {
    std::size_t points = 100000;
    int blocks = 1;
    bool tweaks = false;   ///< all fourteen amounts on every centre joint, and painted weight maps
    bool shuffled = false; ///< the same points in random order
};

/// A limb with its rig. Fixed seeds: the same options give the same scene. With one block every point belongs
/// to it; with more each point has weight in the block it lies in and, near the ends, in its neighbour too,
/// never above 0.999, so that the block ranges stay wide.
struct LimbScene {
    explicit LimbScene(const LimbOptions& options);

    /// Bends every joint a little less with every step; step 0 is how the scene starts. An animated rig never
    /// stands still, so whoever times a whole evaluation changes the pose before each one.
    void pose(int step);

    LimbOptions options;
    std::vector<Vec3d> restPoints; ///< object space
    ValueMap attributes;
    std::shared_ptr<GrHierarchy> hierarchy;

    // The same mesh as a skin: four joints and weights per point, current matrices of all joints.
    std::vector<std::uint16_t> skinJoints; ///< 4 per point
    std::vector<float> skinWeights;        ///< 4 per point
    /// 16 per joint: three axis columns and the translation, padded to fours. Of step 0.
    std::vector<double> skinMatrices;

private:
    std::vector<double> bends_; ///< degrees, of every joint
};

} // namespace talvisora::bench
