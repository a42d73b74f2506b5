// SPDX-License-Identifier: Apache-2.0
// From joint positions to a curve: control points with two in-between points per segment, or one per joint,
// and the clamped uniform knots.
#pragma once

#include <cstddef>
#include <vector>

#include "kernels/curve.h"
#include "maths/vec3.h"

namespace talvisora {

/// Where the two in-between control points of a segment lie, as fractions of it.
struct InBetween {
    float first;
    float second;
};

/// The rig's fractions. Kept on purpose: five decimals, not exact thirds; the commands use others.
inline constexpr InBetween kRigInBetween{0.33333f, 0.66666f};

/// Control points of `count` joints: the joints themselves when simple, else 3 · count - 2 points. Fewer than
/// two joints give none.
void buildControlPoints(const Vec3d* joints, std::size_t count, bool simple, const InBetween& factors,
                        std::vector<Vec3d>& controlPoints);

/// Clamped uniform knots of degree 3 over [0, 1]: count + 4 values. Fewer than four control points give none.
void buildKnots(std::size_t controlPointCount, std::vector<float>& knots);

/// Both in one: control points, knots and degree of `curve`.
void buildCurve(const std::vector<Vec3d>& joints, bool simple, const InBetween& factors, Curve& curve);

} // namespace talvisora
