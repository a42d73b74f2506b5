// SPDX-License-Identifier: Apache-2.0
// Samples of a curve and the nearest one: parameters, ties, the fixed bound, points that are not numbers.
#include "kernels/curve_samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fixtures/golden.h"
#include "reference/literal_curve.h"

namespace talvisora {
namespace {

using namespace fixtures;

Curve goldenCurve(const Json& file) {
    return {points(file.at("input").at("controlPoints")), numbers<float>(file.at("expect").at("knots")), 3};
}

TEST(CurveSamples, AgreeWithTheIndependentTable) {
    const Json file = golden("curve.expected.json");
    const auto samples = sampleCurve(goldenCurve(file));
    const Json& expected = file.at("expect").at("samples");
    ASSERT_EQ(samples.size(), expected.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const CurveSample& s = samples[i];
        EXPECT_EQ((std::vector<double>{s.x, s.y, s.z, s.t}), numbers<double>(expected[i])) << i;
    }
}

TEST(CurveSamples, NearestAgreesWithTheIndependentTable) {
    const Json file = golden("curve.expected.json");
    const auto samples = sampleCurve(goldenCurve(file));
    const auto queries = points(file.at("input").at("nearestPoints"));
    const Json& expected = file.at("expect").at("nearest");
    ASSERT_EQ(queries.size(), expected.size());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        const NearestSample nearest = nearestSample(samples, queries[i]);
        EXPECT_EQ(nearest.index, expected[i].at("index").get<int>()) << i;
        const double distance = expected[i].at("squaredDistance").get<double>();
        EXPECT_NEAR(nearest.squaredDistance, distance, 1e-14 * (1.0 + distance)) << i;
    }
}

TEST(CurveSamples, EveryFoundParameterIsAMultipleOfOneOver299) {
    const Json file = golden("curve.expected.json");
    const auto samples = sampleCurve(goldenCurve(file));
    for (int i = 0; i < 2000; ++i) {
        const Vec3d p{std::sin(i * 0.37) * 6, std::cos(i * 0.11) * 6, std::sin(i * 0.07) * 4};
        const NearestSample nearest = nearestSample(samples, p);
        ASSERT_GE(nearest.index, 0);
        EXPECT_EQ(nearestParameter(samples, p), static_cast<float>(nearest.index) / 299.0f);
    }
}

TEST(CurveSamples, NearestIsThatOfTheLiteralSearch) {
    const Json file = golden("curve.expected.json");
    const Curve curve = goldenCurve(file);
    const auto samples = sampleCurve(curve);
    const auto literalSamples = literal::sampleCurve(curve.controlPoints, curve.knots, 300);
    for (int i = 0; i < 500; ++i) {
        const Vec3d p{std::sin(i * 0.37) * 8, std::cos(i * 0.11) * 8, std::sin(i * 0.07) * 8};
        EXPECT_EQ(nearestSample(samples, p).index, literal::nearestSample(literalSamples, p, 99999.0).first);
    }
}

TEST(CurveSamples, AmongEquallyNearOnesTheLowestIndexWins) {
    std::vector<CurveSample> samples{
        {5, 0, 0, 0.0}, {1, 0, 0, 0.25}, {-1, 0, 0, 0.5}, {0, 1, 0, 0.75}, {0, 0, 1, 1.0}};
    EXPECT_EQ(nearestSample(samples, {0, 0, 0}).index, 1);
    EXPECT_EQ(nearestParameter(samples, {0, 0, 0}), 0.25f);
    // A closed loop: first and last sample coincide.
    samples = {{0, 0, 0, 0.0}, {1, 0, 0, 0.5}, {0, 0, 0, 1.0}};
    EXPECT_EQ(nearestSample(samples, {-1, 0, 0}).index, 0);
}

// 316 squared plus 143: the root's square rounds so that the sum is the wanted number itself.
Vec3d atSquaredDistance(double squared) {
    return {316.0, std::sqrt(squared - 99856.0), 0.0};
}

TEST(CurveSamples, ASquaredDistanceOf99999FindsNothing) {
    const std::vector<CurveSample> samples{{0, 0, 0, 0.5}};
    const Vec3d point = atSquaredDistance(99999.0);
    ASSERT_EQ(dot(point, point), 99999.0);
    const NearestSample nearest = nearestSample(samples, point);
    EXPECT_EQ(nearest.index, -1);
    EXPECT_EQ(nearest.squaredDistance, 99999.0);
    EXPECT_EQ(nearestSample(samples, {1000, 0, 0}).index, -1);
}

TEST(CurveSamples, TheLargestDoubleBelow99999IsFound) {
    const std::vector<CurveSample> samples{{0, 0, 0, 0.5}};
    const double below = std::nextafter(99999.0, 0.0);
    const Vec3d point = atSquaredDistance(below);
    ASSERT_EQ(dot(point, point), below);
    const NearestSample nearest = nearestSample(samples, point);
    EXPECT_EQ(nearest.index, 0);
    EXPECT_EQ(nearest.squaredDistance, below);
}

TEST(CurveSamples, AParameterIsFoundBeyondTheBoundToo) {
    const std::vector<CurveSample> samples{{0, 0, 0, 0.0}, {1, 0, 0, 0.5}, {2, 0, 0, 1.0}};
    EXPECT_EQ(nearestParameter(samples, {5000, 0, 0}), 1.0f);
    EXPECT_EQ(nearestParameter(samples, {1.1, 4000, 0}), 0.5f);
}

TEST(CurveSamples, PointsThatAreNotNumbersFindNothingAndGetParameterZero) {
    const std::vector<CurveSample> samples{{0, 0, 0, 0.25}, {1, 0, 0, 0.5}};
    for (double odd : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_EQ(nearestSample(samples, {odd, 0, 0}).index, -1) << odd;
        EXPECT_EQ(nearestParameter(samples, {0, odd, 0}), 0.0f) << odd;
    }
}

TEST(CurveSamples, ASampleThatIsNotANumberNeverWins) {
    const std::vector<CurveSample> samples{{std::nan(""), 0, 0, 0.0}, {7, 0, 0, 0.5}, {HUGE_VAL, 0, 0, 1.0}};
    EXPECT_EQ(nearestSample(samples, {0, 0, 0}).index, 1);
}

TEST(CurveSamples, AnEmptyListFindsNothing) {
    const NearestSample nearest = nearestSample({}, {0, 0, 0});
    EXPECT_EQ(nearest.index, -1);
    EXPECT_EQ(nearest.squaredDistance, 99999.0);
    EXPECT_EQ(nearestParameter({}, {0, 0, 0}), 0.0f);
}

TEST(CurveSamples, CurvesThatCannotBeEvaluatedHaveNone) {
    const Curve whole = goldenCurve(golden("curve.expected.json"));
    EXPECT_TRUE(sampleCurve(Curve{}).empty());
    EXPECT_TRUE(sampleCurve(Curve{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, whole.knots, 3}).empty());
    EXPECT_TRUE(sampleCurve(whole, 0).empty());
    EXPECT_TRUE(sampleCurve(whole, -5).empty());
}

TEST(CurveSamples, ASingleSampleLiesAtTheBeginning) {
    const Curve curve = goldenCurve(golden("curve.expected.json"));
    const auto samples = sampleCurve(curve, 1);
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0].t, 0.0);
    EXPECT_EQ((Vec3d{samples[0].x, samples[0].y, samples[0].z}), curve.controlPoints.front());
}

} // namespace
} // namespace talvisora
