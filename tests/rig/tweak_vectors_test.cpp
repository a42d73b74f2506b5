// SPDX-License-Identifier: Apache-2.0
// Frames and angle weights of centre joints.
#include "rig/tweak_vectors.h"

#include <gtest/gtest.h>

#include <cmath>

#include "fixtures/small_rig.h"
#include "rig/control_polygon.h"

namespace talvisora {
namespace {

using namespace fixtures;

TweakVectors vectorsOf(const std::vector<Vec3d>& positions, const std::vector<Vec3d>& rest,
                       float plane = 0.5f) {
    Tweak tweak{};
    tweak.collisionPlane = plane;
    TweakVectors vectors{};
    buildTweakVectors(positions, rest, &tweak, &vectors);
    return vectors;
}

void expectSlot(const Float3Slot& slot, float x, float y, float z, float tolerance = 0.0f) {
    EXPECT_NEAR(slot.x, x, tolerance);
    EXPECT_NEAR(slot.y, y, tolerance);
    EXPECT_NEAR(slot.z, z, tolerance);
}

void expectStraight(const TweakVectors& v, const Vec3d& joint) {
    expectSlot(v.deformVec, 0, 0, 0);
    expectSlot(v.zAxis, 0, 0, 0);
    expectSlot(v.planeNormal, 0, 0, 0);
    expectSlot(v.planePoint, static_cast<float>(joint.x), static_cast<float>(joint.y),
               static_cast<float>(joint.z));
    EXPECT_EQ(v.angleWeight, 0.0f);
}

const std::vector<Vec3d> kRightAngle{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};

TEST(TweakVectors, OfAStraightJointHaveNoBendDirection) {
    const std::vector<Vec3d> line = straightLine(3);
    const TweakVectors v = vectorsOf(line, line);
    expectStraight(v, line[1]);
    expectSlot(v.prevVec, -1, 0, 0);
    expectSlot(v.nextVec, 1, 0, 0);
}

TEST(TweakVectors, OfAStraightJointFarAwayAndOffAxisTakeNoNoiseForADirection) {
    const Vec3d start{1000, -873, 951}, direction = normalise(Vec3d{0.3, -0.71, 0.42});
    for (double step : {1.0, 1.37, 0.9731}) {
        std::vector<Vec3d> line;
        for (int i = 0; i < 3; ++i) line.push_back(start + direction * (step * i));
        expectStraight(vectorsOf(line, line), line[1]);
    }
}

TEST(TweakVectors, OfARightAngleFollowFromItsGeometry) {
    const TweakVectors v = vectorsOf(kRightAngle, straightLine(3));
    const float half = static_cast<float>(std::sqrt(0.5));
    expectSlot(v.prevVec, -1, 0, 0);
    expectSlot(v.nextVec, 0, 1, 0);
    expectSlot(v.deformVec, -half, half, 0, 1e-7f);
    expectSlot(v.zAxis, 0, 0, -1);
    // next × z = (-1, 0, 0), prev × z = (0, -1, 0): the normal halves them, the plane passes one unit inside.
    expectSlot(v.planeNormal, -half, -half, 0, 1e-7f);
    expectSlot(v.planePoint, 1 - half, half, 0, 1e-7f);
}

TEST(TweakVectors, CollisionPlaneTiltsFromThePreviousToTheNextSegment) {
    expectSlot(vectorsOf(kRightAngle, straightLine(3), 1.0f).planeNormal, -1, 0, 0);
    expectSlot(vectorsOf(kRightAngle, straightLine(3), 0.0f).planeNormal, 0, -1, 0);
}

TEST(TweakVectors, OfCoincidentJointsAreZeroNotBroken) {
    for (const std::vector<Vec3d>& joints :
         {std::vector<Vec3d>{{1, 1, 1}, {1, 1, 1}, {2, 1, 1}}, std::vector<Vec3d>(3, Vec3d{1, 1, 1})}) {
        const TweakVectors v = vectorsOf(joints, joints);
        expectSlot(v.prevVec, 0, 0, 0);
        const float* fields = &v.deformVec.x;
        for (int f = 0; f < 25; ++f) EXPECT_TRUE(std::isfinite(fields[f])) << f;
        EXPECT_EQ(v.angleWeight, 0.0f);
    }
    EXPECT_EQ(vectorsAngle({}, {1, 0, 0}), 0.0);
}

TEST(TweakVectors, OfAFoldedJointHaveNoAxis) {
    const std::vector<Vec3d> folded{{0, 0, 0}, {1, 0, 0}, {0, 0, 0}};
    const TweakVectors v = vectorsOf(folded, straightLine(3));
    expectSlot(v.deformVec, -1, 0, 0);
    expectSlot(v.zAxis, 0, 0, 0);
    expectSlot(v.planeNormal, 0, 0, 0);
    EXPECT_NEAR(v.angleWeight, 3.14159265f, 1e-6f);
}

TEST(AngleWeight, IsTheBendBeyondTheRestBend) {
    // A right angle more than at rest.
    EXPECT_EQ(vectorsOf(kRightAngle, straightLine(3)).angleWeight, 1.57079637f);
    EXPECT_EQ(vectorsOf(straightLine(3), kRightAngle).angleWeight, 0.0f);
    EXPECT_EQ(vectorsOf(kRightAngle, kRightAngle).angleWeight, 0.0f);
}

TEST(AngleWeight, IsHeldBetweenZeroAndTwoPi) {
    EXPECT_EQ(angleWeight(0.0, 3.0), static_cast<float>(3.141592653589) - static_cast<float>(0.141592653589));
    EXPECT_EQ(angleWeight(3.0, 0.0), 0.0f);
    EXPECT_EQ(angleWeight(-10.0, 3.0), 6.2831855f);
    EXPECT_EQ(angleWeight(std::nan(""), 0.0), 0.0f);
}

TEST(AngleWeight, OfTheControlPolygonReplacesThatOfTheJoints) {
    std::vector<Vec3d> current, rest;
    buildControlPoints(kRightAngle.data(), 3, false, kRigInBetween, current);
    buildControlPoints(straightLine(3).data(), 3, false, kRigInBetween, rest);
    TweakVectors v{};
    measureAngleWeights(current, rest, &v);
    // The fractions are five decimals, so the neighbours lie a hair off the segments.
    EXPECT_NEAR(v.angleWeight, 1.57079633f, 1e-5f);
    current[2] = {1, -1, 0};
    measureAngleWeights(current, rest, &v);
    EXPECT_NEAR(v.angleWeight, 0.0f, 1e-5f);
}

TEST(AngleWeight, OfVectorsTooShortIsZero) {
    EXPECT_EQ(vectorsAngle({1e-3, 0, 0}, {0, 0.99e-2, 0}), 0.0);
    EXPECT_NEAR(vectorsAngle({1e-3, 0, 0}, {0, 1.01e-2, 0}), std::acos(0.0), 1e-15);
    EXPECT_EQ(vectorsAngle({1, 1, 1}, {3, 3, 3}), 0.0); // cosine a hair above 1
}

} // namespace
} // namespace talvisora
