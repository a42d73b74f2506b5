// SPDX-License-Identifier: Apache-2.0
// The curve formulas one after the other: knots, span, basis triangle, curve point, samples, nearest sample.
#include "reference/literal_curve.h"

#include <algorithm>

namespace talvisora::literal {

std::vector<float> clampedKnots(int controlPointCount) {
    std::vector<float> knots(4, 0.0f);
    for (int i = 1; i <= controlPointCount - 4; ++i)
        knots.push_back(static_cast<float>(i) / static_cast<float>(controlPointCount - 3));
    knots.insert(knots.end(), 4, 1.0f);
    return knots;
}

unsigned findSpan(const float* knots, unsigned knotCount, unsigned power, float u) {
    const unsigned spanCount = knotCount - power - 1;
    unsigned i = 1;
    while (i < spanCount && !(knots[i] > u)) ++i;
    return std::max(power, i - 1);
}

void basisFunction(const float* knots, unsigned power, unsigned span, float u, float* basis) {
    double left[8] = {}, right[8] = {};
    basis[0] = 1.0f;
    for (unsigned j = 1; j <= power; ++j) {
        const float leftDifference = u - knots[span + 1 - j];
        const float rightDifference = knots[span + j] - u;
        left[j] = leftDifference;
        right[j] = rightDifference;
        double saved = 0.0;
        for (unsigned r = 0; r < j; ++r) {
            const double quotient = static_cast<double>(basis[r]) / (right[r + 1] + left[j - r]);
            const float temp = static_cast<float>(quotient);
            basis[r] = static_cast<float>(saved + right[r + 1] * static_cast<double>(temp));
            saved = left[j - r] * static_cast<double>(temp);
        }
        basis[j] = static_cast<float>(saved);
    }
}

Vec3d evaluate(const Vec3d* controlPoints, const float* knots, unsigned power, unsigned knotCount, float u) {
    if (knotCount < 2 * power + 2) return {};
    const unsigned span = findSpan(knots, knotCount, power, u);
    float basis[8];
    basisFunction(knots, power, span, u, basis);
    Vec3d sum{};
    for (unsigned i = 0; i <= power; ++i) {
        const Vec3d& c = controlPoints[span - power + i];
        sum.x = sum.x + c.x * static_cast<double>(basis[i]);
        sum.y = sum.y + c.y * static_cast<double>(basis[i]);
        sum.z = sum.z + c.z * static_cast<double>(basis[i]);
    }
    return sum;
}

std::vector<Sample> sampleCurve(const std::vector<Vec3d>& controlPoints, const std::vector<float>& knots,
                                int count) {
    std::vector<Sample> samples;
    for (int i = 0; i < count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(count - 1);
        const Vec3d p =
            evaluate(controlPoints.data(), knots.data(), 3, static_cast<unsigned>(knots.size()), t);
        samples.push_back({p, static_cast<double>(t)});
    }
    return samples;
}

std::pair<std::int32_t, double> nearestSample(const std::vector<Sample>& samples, const Vec3d& point,
                                              double bound) {
    std::pair<std::int32_t, double> best{-1, bound};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double dx = samples[i].point.x - point.x;
        const double dy = samples[i].point.y - point.y;
        const double dz = samples[i].point.z - point.z;
        const double squared = dx * dx + dy * dy + dz * dz;
        if (squared < best.second) best = {static_cast<std::int32_t>(i), squared};
    }
    return best;
}

} // namespace talvisora::literal
