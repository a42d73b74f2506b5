// SPDX-License-Identifier: Apache-2.0
// Clamped uniform cubic B-spline by de Boor's knot insertion: another road to the same curve than the
// deformer's basis functions, exact enough for parameters that are multiples of 1/299.
#include "host/character/rigging/rest_curve.h"

#include <algorithm>

namespace talvisora::host::rigging {

namespace {

std::vector<Vec3d> controlPoints(const std::vector<Vec3d>& joints, bool simple) {
    if (simple) return joints;
    // The complements are formed in single precision, as the deformer does.
    const float f1 = 0.33333f, f2 = 0.66666f;
    const double g1 = 1.0f - f1, g2 = 1.0f - f2;
    std::vector<Vec3d> points{joints[0]};
    for (std::size_t s = 0; s + 1 < joints.size(); ++s) {
        points.push_back(g1 * joints[s] + double(f1) * joints[s + 1]);
        points.push_back(g2 * joints[s] + double(f2) * joints[s + 1]);
        points.push_back(joints[s + 1]);
    }
    return points;
}

/// Knot k of C control points, clamped and uniform.
double knot(int k, int count) {
    return static_cast<float>(std::clamp(k - 3, 0, count - 3)) / static_cast<float>(count - 3);
}

Vec3d evaluate(const std::vector<Vec3d>& points, double u) {
    const int count = static_cast<int>(points.size());
    int span = 3;
    while (span + 1 < count && knot(span + 1, count) <= u) ++span;
    Vec3d d[4];
    for (int i = 0; i < 4; ++i) d[i] = points[static_cast<std::size_t>(span - 3 + i)];
    for (int level = 1; level <= 3; ++level)
        for (int i = 3; i >= level; --i) {
            const double low = knot(span - 3 + i, count), high = knot(span + 1 + i - level, count);
            const double a = (u - low) / (high - low);
            d[i] = (1.0 - a) * d[i - 1] + a * d[i];
        }
    return d[3];
}

} // namespace

int SampledCurve::nearest(const Vec3d& point, int first, int last) const {
    int best = first;
    double bestSquare = HUGE_VAL;
    for (int i = first; i <= last; ++i) {
        const Vec3d way = points[static_cast<std::size_t>(i)] - point;
        const double square = dot(way, way);
        if (square < bestSquare) {
            bestSquare = square;
            best = i;
        }
    }
    return best;
}

SampledCurve sampleRestCurve(const std::vector<Vec3d>& joints, bool simple) {
    const std::vector<Vec3d> points = controlPoints(joints, simple);
    SampledCurve curve;
    for (int i = 0; i < kSampleCount; ++i)
        curve.points[static_cast<std::size_t>(i)] = evaluate(points, SampledCurve::parameter(i));
    return curve;
}

} // namespace talvisora::host::rigging
