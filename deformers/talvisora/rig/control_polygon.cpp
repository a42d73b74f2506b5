// SPDX-License-Identifier: Apache-2.0
// The control polygon in the widths that fix its bits: fractions and knots single, positions double.
#include "rig/control_polygon.h"

namespace talvisora {

void buildControlPoints(const Vec3d* joints, std::size_t count, bool simple, const InBetween& factors,
                        std::vector<Vec3d>& controlPoints) {
    controlPoints.clear();
    if (count < 2) return;
    if (simple) {
        controlPoints.assign(joints, joints + count);
        return;
    }
    // The complements are formed in single precision: fraction and complement sum to 1 less 3e-8.
    const double f1 = factors.first, g1 = 1.0f - factors.first;
    const double f2 = factors.second, g2 = 1.0f - factors.second;
    controlPoints.resize(count * 3 - 2);
    controlPoints[0] = joints[0];
    for (std::size_t segment = 0; segment + 1 < count; ++segment) {
        const Vec3d& start = joints[segment];
        const Vec3d& end = joints[segment + 1];
        controlPoints[segment * 3 + 1] = g1 * start + f1 * end;
        controlPoints[segment * 3 + 2] = g2 * start + f2 * end;
        controlPoints[segment * 3 + 3] = end;
    }
}

void buildKnots(std::size_t controlPointCount, std::vector<float>& knots) {
    knots.clear();
    if (controlPointCount < 4) return;
    const std::size_t spans = controlPointCount - 3;
    knots.resize(controlPointCount + 4, 0.0f);
    for (std::size_t i = 1; i < spans; ++i) knots[3 + i] = static_cast<float>(i) / static_cast<float>(spans);
    for (std::size_t i = 0; i < 4; ++i) knots[controlPointCount + i] = 1.0f;
}

void buildCurve(const std::vector<Vec3d>& joints, bool simple, const InBetween& factors, Curve& curve) {
    buildControlPoints(joints.data(), joints.size(), simple, factors, curve.controlPoints);
    buildKnots(curve.controlPoints.size(), curve.knots);
    curve.degree = 3;
}

} // namespace talvisora
