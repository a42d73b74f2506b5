// SPDX-License-Identifier: Apache-2.0
// A curve as a list of points at even parameters, and the search for the sample nearest to a point. No state;
// any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "kernels/curve.h"
#include "maths/vec3.h"

namespace talvisora {

/// Samples that stand for a curve wherever the system measures against one.
static constexpr int kSampleCount = 300;
/// Squared distance that a sample must undercut to be found; about 316 units, kept on purpose, not scaled.
static constexpr double kNearestBound = 99999.0;

/// A curve point and the parameter it was taken at.
struct CurveSample {
    double x;
    double y;
    double z;
    double t;
};

/// A sample's index, or -1 when none lies within the bound, and its squared distance.
struct NearestSample {
    std::int32_t index = -1;
    double squaredDistance = kNearestBound;
};

/// `count` samples at t = i / (count - 1), divided in single precision. Empty for a curve that cannot be
/// evaluated or a count below 1; a single sample lies at t = 0.
std::vector<CurveSample> sampleCurve(const Curve& curve, int count = kSampleCount);

/// The nearest sample; among equally near ones the lowest index. Distances that are not numbers never win.
NearestSample nearestSample(const std::vector<CurveSample>& samples, const Vec3d& point,
                            double bound = kNearestBound);

/// The parameter of the nearest sample. Beyond the bound the search is repeated without one; a point that is
/// not a number, and an empty list, give 0.
float nearestParameter(const std::vector<CurveSample>& samples, const Vec3d& point);

} // namespace talvisora
