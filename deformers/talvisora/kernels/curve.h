// SPDX-License-Identifier: Apache-2.0
// Non-rational cubic B-splines: knot span, basis values, curve point (Cox-de Boor in the form of Piegl and
// Tiller, The NURBS Book). The calls go to the processor variant that was chosen for this process; all
// variants give the same bits. No state; any thread.
#pragma once

#include <vector>

#include "maths/vec3.h"

namespace talvisora {

/// Control points in world space; controlPoints.size() + degree + 1 knots, not decreasing.
struct Curve {
    std::vector<Vec3d> controlPoints;
    std::vector<float> knots;
    unsigned degree = 3;
};

/// Index of the knot span that holds u, between `power` and knotCount - power - 2 for any u, NaN included (it
/// lands on the last one). Needs knotCount > 2 · power + 1.
unsigned NURBS_findSpan(const float* knots, unsigned knotCount, unsigned power, float u);

/// The power + 1 (at most 8) non-zero basis values at u, into `basis`. Differences and results in single
/// precision, quotients and sums in double. No guard against a zero span: the knots of a clamped uniform
/// curve have none.
void NURBS_basisFunction(const float* knots, unsigned power, unsigned span, float u, float* basis);

/// The curve point at u, accumulated in double. `controlPoints` holds knotCount - power - 1 points.
Vec3d NURBS_evaluate(const Vec3d* controlPoints, const float* knots, unsigned power, unsigned knotCount,
                     float u);

/// The same on a curve record; (0, 0, 0) for a curve with fewer than four control points or too few knots.
Vec3d evaluate(const Curve& curve, float u);

} // namespace talvisora
