// SPDX-License-Identifier: Apache-2.0
// The frame of each centre joint, in which the user's tweaks act, and how much more than at rest it is bent.
// Computed in double, stored in single precision.
#pragma once

#include <vector>

#include "kernels/records.h"
#include "maths/vec3.h"

namespace talvisora {

/// Angle between two vectors in radians; 0 when the product of their lengths is not above 1e-5.
double vectorsAngle(const Vec3d& a, const Vec3d& b);

/// How much smaller the opening `angle` is than `restAngle` (radians, 0 to 2 pi): 0 for a joint that is as
/// straight as at rest, or straighter.
float angleWeight(double angle, double restAngle);

/// Frames of the n - 2 centre joints from n current (aim-corrected) and n rest joint positions, world space.
/// Centre joint j is joint j + 1. `tweaks` (their collision planes are used) and `vectors` hold at least
/// n - 2 records. A straight joint has no bend direction: its vectors are zero. Without `angles` the angle
/// weights stay 0, for callers that measure them on the control polygons.
void buildTweakVectors(const std::vector<Vec3d>& positions, const std::vector<Vec3d>& restPositions,
                       const Tweak* tweaks, TweakVectors* vectors, bool angles = true);

/// Replaces the angle weights by those of the control polygons, 3 n - 2 points each: what a bend control does
/// to its in-between points shows at the joint.
void measureAngleWeights(const std::vector<Vec3d>& controlPoints, const std::vector<Vec3d>& restControlPoints,
                         TweakVectors* vectors);

} // namespace talvisora
