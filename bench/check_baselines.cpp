// SPDX-License-Identifier: Apache-2.0
// Made-up skins with a part of the points to be blended, so that what lies outside is seen as well.
#include "bench/check_baselines.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "bench/baselines.h"

namespace talvisora::bench {
namespace {

constexpr std::size_t kPoints = 203, kFirst = 5, kEnd = 198, kJoints = 17;

/// A point by each of its four matrices, the results weighted and added: no blended matrix.
template <class T>
double expected(const SkinJob<T>& job, std::size_t i, std::size_t axis) {
    double sum = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const T* m = job.matrices + 16 * std::size_t(job.joints[4 * i + k]);
        double moved = double(m[12 + axis]);
        for (std::size_t c = 0; c < 3; ++c) moved += double(job.points[3 * i + c]) * double(m[4 * c + axis]);
        sum += double(job.weights[4 * i + k]) * moved;
    }
    return sum;
}

template <class T>
std::string wrongBlend(const std::vector<Blend<T>>& blends, double tolerance) {
    std::mt19937 random(7);
    const auto unit = [&random] { return double(random()) / 4294967296.0; };
    std::vector<T> rest(3 * kPoints), matrices(16 * kJoints);
    std::vector<std::uint16_t> joints(4 * kPoints);
    std::vector<float> weights(4 * kPoints);
    for (T& v : rest) v = T(4.0 * unit() - 2.0);
    for (std::size_t e = 0; e < matrices.size(); ++e) matrices[e] = e % 4 == 3 ? T(0) : T(2.0 * unit() - 1.0);
    for (std::uint16_t& j : joints) j = std::uint16_t(random() % kJoints);
    for (float& w : weights) w = float(0.5 * unit());
    for (const Blend<T>& blend : blends) {
        std::vector<T> points = rest;
        blend.run({points.data(), joints.data(), weights.data(), matrices.data()}, kFirst, kEnd);
        const SkinJob<T> before{rest.data(), joints.data(), weights.data(), matrices.data()};
        for (std::size_t i = 0; i < kPoints; ++i)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const bool in = i >= kFirst && i < kEnd;
                const double right = in ? expected(before, i, axis) : double(rest[3 * i + axis]);
                if (std::fabs(double(points[3 * i + axis]) - right) > (in ? tolerance : 0.0))
                    return std::string("the linear blend '") + blend.name + "' in " +
                           (sizeof(T) == 4 ? "single" : "double") + " precision gets point " +
                           std::to_string(i) + " wrong";
            }
    }
    return {};
}

std::string wrongBytes() {
    std::vector<float> floats[3];
    for (auto& stream : floats) stream.assign(kPoints, 0.25f);
    std::vector<std::int32_t> orders[2];
    for (auto& stream : orders) stream.assign(kPoints, 1);
    const auto moved = [&] {
        std::vector<double> points(3 * kPoints, 0.5);
        moveBytes({points.data(), floats[0].data(), floats[1].data(), floats[2].data(), orders[0].data(),
                   orders[1].data()},
                  0, kPoints);
        return points;
    };
    const std::vector<double> before = moved();
    const std::size_t whole = kPoints / 4 * 4; // the few after that stand for less than one register
    for (std::size_t k = 0; k < 3 * whole; ++k)
        if (before[k] == 0.5) return "the byte-moving loop leaves point " + std::to_string(k / 3) + " alone";
    for (std::size_t stream = 0; stream < 5; ++stream) {
        if (stream < 3)
            floats[stream].assign(kPoints, 0.75f);
        else
            orders[stream - 3].assign(kPoints, 6);
        const std::vector<double> after = moved();
        for (std::size_t i = 0; i < whole; ++i)
            if (std::equal(&after[3 * i], &after[3 * i] + 3, &before[3 * i]))
                return "the byte-moving loop does not read stream " + std::to_string(stream) + " of point " +
                       std::to_string(i);
        if (stream < 3)
            floats[stream].assign(kPoints, 0.25f);
        else
            orders[stream - 3].assign(kPoints, 1);
    }
    return {};
}

} // namespace

std::string wrongBaseline() {
    std::string wrong = wrongBlend(floatBlends(), 2e-6);
    if (wrong.empty()) wrong = wrongBlend(doubleBlends(), 4e-15);
    return wrong.empty() ? wrongBytes() : wrong;
}

} // namespace talvisora::bench
