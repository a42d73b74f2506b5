// SPDX-License-Identifier: Apache-2.0
// The deformation of points exactly as the formulas are told: every control point through both matrices, both
// curve evaluations from scratch, every centre joint's tweaks in order, one point after the other. Slow on
// purpose; the fast point stage must agree with it within 1e-12 of the largest coordinate.
//
// Where the formulas round to single precision this form does too: the block weight, bulge times angle
// weight, the collision distance and the collision's displacement.
#pragma once

#include <cstdint>
#include <vector>

#include "kernels/deform_points.h"

namespace talvisora::literal {

/// How far another order of the same sums may lie from this one, for one point.
struct Trace {
    /// Largest absolute coordinate that took part: points, control points and their weighted terms.
    double largest = 0.0;
    /// A collision distance lay so close to a rounding boundary of single precision that another order of
    /// its sum may round to the neighbouring float.
    bool collisionNearBoundary = false;
};

/// Deforms all points in place. `traces`, when given, is filled with one entry per point.
void deformPoints(const PointStage& stage, std::vector<Trace>* traces = nullptr);

/// Which blocks can matter for each point: `start` the highest block that covers it fully (0 when none),
/// `end` one past the highest that weighs on it (0 when none). Weights are block-major, B · N.
void blockRanges(const std::vector<float>& blockWeights, const std::vector<float>& envs,
                 std::size_t pointCount, std::vector<std::int32_t>& start, std::vector<std::int32_t>& end);

} // namespace talvisora::literal
