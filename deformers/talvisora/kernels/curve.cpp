// SPDX-License-Identifier: Apache-2.0
// The curve functions as callers see them: forwarded to the variant of this process.
#include "kernels/curve.h"

#include "kernels/dispatch.h"

namespace talvisora {

static_assert(sizeof(Vec3d) == 3 * sizeof(double), "control points are handed on as x, y, z triples");

unsigned NURBS_findSpan(const float* knots, unsigned knotCount, unsigned power, float u) {
    return activeTable().findSpan(knots, knotCount, power, u);
}

void NURBS_basisFunction(const float* knots, unsigned power, unsigned span, float u, float* basis) {
    activeTable().basisFunction(knots, power, span, u, basis);
}

Vec3d NURBS_evaluate(const Vec3d* controlPoints, const float* knots, unsigned power, unsigned knotCount,
                     float u) {
    double point[3];
    activeTable().evaluate(&controlPoints->x, knots, power, knotCount, u, point);
    return {point[0], point[1], point[2]};
}

Vec3d evaluate(const Curve& curve, float u) {
    const std::size_t points = curve.controlPoints.size();
    const bool whole = curve.degree == 3 && points >= 4 && curve.knots.size() >= points + 4;
    if (!whole) return {};
    return NURBS_evaluate(curve.controlPoints.data(), curve.knots.data(), 3,
                          static_cast<unsigned>(points) + 4, u);
}

} // namespace talvisora
