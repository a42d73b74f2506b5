// SPDX-License-Identifier: Apache-2.0
// Control points and knots.
#include "rig/control_polygon.h"

#include <gtest/gtest.h>

#include <cstring>

#include "fixtures/small_rig.h"

namespace talvisora {
namespace {

using namespace fixtures;

std::vector<Vec3d> controlPoints(const std::vector<Vec3d>& joints, bool simple) {
    std::vector<Vec3d> points;
    buildControlPoints(joints.data(), joints.size(), simple, kRigInBetween, points);
    return points;
}

std::uint32_t bits(float value) {
    std::uint32_t pattern;
    std::memcpy(&pattern, &value, sizeof pattern);
    return pattern;
}

TEST(ControlPoints, FractionsAreFiveDecimalsNotThirds) {
    EXPECT_EQ(bits(kRigInBetween.first), 0x3EAAAA3Bu);
    EXPECT_EQ(bits(kRigInBetween.second), 0x3F2AAA3Bu);
}

TEST(ControlPoints, LieOnJointsAndAtTheFractionsBetween) {
    const std::vector<Vec3d> points = controlPoints({{3, 0, 0}, {0, 0, 6}, {0, 0, 7}}, false);
    ASSERT_EQ(points.size(), 7u);
    EXPECT_EQ(points[0], (Vec3d{3, 0, 0}));
    EXPECT_EQ(points[3], (Vec3d{0, 0, 6}));
    EXPECT_EQ(points[6], (Vec3d{0, 0, 7}));
    // The complement of a fraction is a single-precision number: 1 - 0.33333f = 0.66666996479.
    EXPECT_EQ(points[1].x, 3.0 * static_cast<double>(0.66666996479034424f));
    EXPECT_EQ(points[1].z, 6.0 * static_cast<double>(0.33333f));
    EXPECT_EQ(points[2].x, 3.0 * static_cast<double>(1.0f - 0.66666f));
    EXPECT_EQ(points[2].z, 6.0 * static_cast<double>(0.66666f));
}

TEST(ControlPoints, OfASimpleBlockAreItsJoints) {
    EXPECT_EQ(controlPoints(straightLine(5), true).size(), 5u);
    EXPECT_EQ(controlPoints(straightLine(5), true)[3], (Vec3d{3, 0, 0}));
}

TEST(ControlPoints, FewerThanTwoJointsGiveAnEmptyCurve) {
    for (bool simple : {false, true}) {
        EXPECT_TRUE(controlPoints({}, simple).empty());
        EXPECT_TRUE(controlPoints({{1, 2, 3}}, simple).empty());
    }
    Curve curve;
    buildCurve({{1, 2, 3}}, false, kRigInBetween, curve);
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_TRUE(curve.knots.empty());
}

TEST(Knots, OfFourPointsAreFourZerosAndFourOnes) {
    std::vector<float> knots;
    buildKnots(4, knots);
    EXPECT_EQ(knots, (std::vector<float>{0, 0, 0, 0, 1, 1, 1, 1}));
}

TEST(Knots, AreClampedAndUniformInBetween) {
    std::vector<float> knots;
    buildKnots(7, knots);
    EXPECT_EQ(knots, (std::vector<float>{0, 0, 0, 0, 1.0f / 4.0f, 2.0f / 4.0f, 3.0f / 4.0f, 1, 1, 1, 1}));
    buildKnots(28, knots);
    ASSERT_EQ(knots.size(), 32u);
    EXPECT_EQ(knots[4], 1.0f / 25.0f);
    EXPECT_EQ(knots[27], 24.0f / 25.0f);
    EXPECT_EQ(knots[28], 1.0f);
}

TEST(Knots, AreNotMadeForLessThanFourPoints) {
    std::vector<float> knots(3);
    buildKnots(3, knots);
    EXPECT_TRUE(knots.empty());
}

} // namespace
} // namespace talvisora
