// SPDX-License-Identifier: Apache-2.0
// Sampling and the nearest sample. Both run serially: three hundred samples cost less than waking a thread,
// and the order of the search does not matter to the result.
#include "kernels/curve_samples.h"

#include <limits>

namespace talvisora {

std::vector<CurveSample> sampleCurve(const Curve& curve, int count) {
    std::vector<CurveSample> samples;
    if (count < 1 || curve.controlPoints.size() < 4 || curve.knots.size() < curve.controlPoints.size() + 4)
        return samples;
    samples.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const float t = count < 2 ? 0.0f : static_cast<float>(i) / static_cast<float>(count - 1);
        const Vec3d p = evaluate(curve, t);
        samples[static_cast<std::size_t>(i)] = {p.x, p.y, p.z, static_cast<double>(t)};
    }
    return samples;
}

NearestSample nearestSample(const std::vector<CurveSample>& samples, const Vec3d& point, double bound) {
    NearestSample nearest;
    nearest.squaredDistance = bound;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const Vec3d d{samples[i].x - point.x, samples[i].y - point.y, samples[i].z - point.z};
        const double squaredDistance = dot(d, d);
        if (squaredDistance < nearest.squaredDistance) {
            nearest.index = static_cast<std::int32_t>(i);
            nearest.squaredDistance = squaredDistance;
        }
    }
    return nearest;
}

float nearestParameter(const std::vector<CurveSample>& samples, const Vec3d& point) {
    NearestSample nearest = nearestSample(samples, point);
    if (nearest.index < 0) nearest = nearestSample(samples, point, std::numeric_limits<double>::infinity());
    return nearest.index < 0 ? 0.0f : static_cast<float>(samples[static_cast<std::size_t>(nearest.index)].t);
}

} // namespace talvisora
