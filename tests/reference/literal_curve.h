// SPDX-License-Identifier: Apache-2.0
// Cubic B-splines, samples and the nearest sample exactly as the formulas are told, one value at a time: the
// yardstick for the fast forms. Shares no code with kernels/. Scalar, slow on purpose.
//
// Widths: knots, parameter and basis values single; control points, quotients and sums double.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "maths/vec3.h"

namespace talvisora::literal {

/// A curve point and its parameter.
struct Sample {
    Vec3d point;
    double t;
};

/// Knots of a clamped uniform cubic curve with `controlPointCount` points (at least four).
std::vector<float> clampedKnots(int controlPointCount);

/// The span that holds u: the scan from the first knot on, never below the degree.
unsigned findSpan(const float* knots, unsigned knotCount, unsigned power, float u);

/// The power + 1 basis values at u (the Cox-de Boor triangle).
void basisFunction(const float* knots, unsigned power, unsigned span, float u, float* basis);

/// The curve point at u; (0, 0, 0) for a cubic curve with fewer than four control points.
Vec3d evaluate(const Vec3d* controlPoints, const float* knots, unsigned power, unsigned knotCount, float u);

/// `count` samples at t = i / (count - 1), divided in single precision.
std::vector<Sample> sampleCurve(const std::vector<Vec3d>& controlPoints, const std::vector<float>& knots,
                                int count);

/// Index and squared distance of the nearest sample; (-1, bound) when none is nearer than the bound.
std::pair<std::int32_t, double> nearestSample(const std::vector<Sample>& samples, const Vec3d& point,
                                              double bound);

} // namespace talvisora::literal
