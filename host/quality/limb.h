// SPDX-License-Identifier: Apache-2.0
// Made-up limbs to measure deformations on: a capped tube of elliptical rings along the x axis over a chain
// of joints, weighted as a rigger would paint it. Lengths are centimetres.
#pragma once

#include "host/character/clip.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct LimbShape {
    std::string name;
    std::vector<double> joints;    ///< x of every joint, rising; at least two. The last one carries no points
    double start = 0.0, end = 0.0; ///< x of the first and last full ring
    double startRadius = 4.0, endRadius = 3.0; ///< half the mean width there; in between straight
    double flatness = 1.0;                     ///< width along z over width along y
    int rings = 60, sectors = 32;              ///< full rings, and points on each
    double blend = 4.0; ///< how far before and after a joint the weights run from one bone to the next
};

struct Limb {
    LimbShape shape;
    Character character;
    std::vector<std::vector<std::uint32_t>> rings; ///< points of every full ring, in order round it
    std::vector<int> sectorOfPoint;                ///< for stripes; -1 at the two ends of the caps
};

Limb makeLimb(const LimbShape& shape);

/// How one joint stands against its parent.
struct JointTurn {
    double bend = 0.0;  ///< degrees about z, towards +y
    double twist = 0.0; ///< degrees about the bone (x), before the bend
};

/// A pose of the limb: one turn per joint; bones `stretch` times as long as at rest.
Pose poseLimb(const Limb& limb, const std::vector<JointTurn>& turns, double stretch = 1.0);

} // namespace talvisora::host
