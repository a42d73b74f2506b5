// SPDX-License-Identifier: Apache-2.0
// Dual-quaternion and linear skinning against closed forms: rigid motions, half a twist, half a bend.
#include "host/character/linear_blend.h"
#include "host/made_character.h"
#include "host/quality/dual_quaternion.h"

#include <gtest/gtest.h>

#include <cmath>

namespace talvisora::host {
namespace {

constexpr double kPi = 3.14159265358979323846;

Matrix44d turned(const Quatd& q, const Vec3d& at) {
    Matrix44d m = toMatrix(q);
    setTranslation(m, at);
    return m;
}

// Two joints at (0,0,0) and (10,0,0); one point with the given share of the second.
Character pair(const Vec3d& point, double share) {
    Character c = made_character::makeSkeleton({{"a", -1, {0.0, 0.0, 0.0}}, {"b", 0, {10.0, 0.0, 0.0}}});
    std::vector<Influence> weights;
    if (share < 1.0) weights.push_back({0, 1.0 - share});
    if (share > 0.0) weights.push_back({1, share});
    made_character::addPoint(c, point, weights);
    return c;
}

void expectAt(const Vec3d& found, const Vec3d& expected) {
    EXPECT_NEAR(found.x, expected.x, 1e-12);
    EXPECT_NEAR(found.y, expected.y, 1e-12);
    EXPECT_NEAR(found.z, expected.z, 1e-12);
}

TEST(DualQuaternionBlend, OneRigidMotionMovesThePointAsItsMatrixDoes) {
    const Vec3d point{3.0, -2.0, 5.0};
    const Character c = pair(point, 0.35);
    const Quatd q = normalise(Quatd{0.3, -0.4, 0.5, 0.6});
    const Matrix44d motion = turned(q, {7.0, 8.0, -9.0});
    const Pose pose = poseFromWorld(c, {motion, c.joints[1].restWorld * motion});
    const Vec3d expected = pointMultMat(point, motion);
    expectAt(dualQuaternionBlend(c, pose)[0], expected);
    expectAt(linearBlend(c, pose)[0], expected);
}

// The second joint twists by an angle about the bone: in the middle dual quaternions turn by half of it and
// keep the distance from the bone, linear blending keeps its cosine.
TEST(DualQuaternionBlend, HalfOfATwistIsHalfTheAngle) {
    for (const double angle : {0.3, 1.0, 2.0, 3.0}) {
        const Character c = pair({10.0, 2.0, 0.0}, 0.5);
        const Quatd twist{std::sin(angle / 2), 0.0, 0.0, std::cos(angle / 2)};
        const Pose pose = poseFromWorld(c, {c.joints[0].restWorld, turned(twist, {10.0, 0.0, 0.0})});
        expectAt(dualQuaternionBlend(c, pose)[0],
                 {10.0, 2.0 * std::cos(angle / 2), 2.0 * std::sin(angle / 2)});
        const double reach = 2.0 * std::cos(angle / 2);
        expectAt(linearBlend(c, pose)[0], {10.0, reach * std::cos(angle / 2), reach * std::sin(angle / 2)});
    }
}

// Two turns about one axis through the joint: any share turns by that share of it, up to how the length of
// the blend is spread: the angle of the normalised mean of two unit numbers.
TEST(DualQuaternionBlend, AShareOfABendTurnsAboutTheJoint) {
    const double angle = 2.0, share = 0.25;
    const Character c = pair({10.0, -3.0, 1.0}, share);
    const Quatd bend{0.0, 0.0, std::sin(angle / 2), std::cos(angle / 2)};
    const Pose pose = poseFromWorld(c, {c.joints[0].restWorld, turned(bend, {10.0, 0.0, 0.0})});
    const double half = std::atan2(share * std::sin(angle / 2), 1.0 - share + share * std::cos(angle / 2));
    expectAt(dualQuaternionBlend(c, pose)[0],
             {10.0 + 3.0 * std::sin(2 * half), -3.0 * std::cos(2 * half), 1.0});
}

// The quaternion of the second joint comes out on the other side of the sphere; the short way is taken.
TEST(DualQuaternionBlend, OppositeSignsAreOneTurn) {
    const double angle = 1.9 * kPi; // the short way is -0.1 pi
    const Character c = pair({10.0, 2.0, 0.0}, 0.5);
    const Quatd twist{std::sin(angle / 2), 0.0, 0.0, std::cos(angle / 2)};
    const Pose pose = poseFromWorld(c, {c.joints[0].restWorld, turned(twist, {10.0, 0.0, 0.0})});
    expectAt(dualQuaternionBlend(c, pose)[0],
             {10.0, 2.0 * std::cos(0.05 * kPi), -2.0 * std::sin(0.05 * kPi)});
}

TEST(DualQuaternionBlend, PureShiftsBlendStraight) {
    const Character c = pair({4.0, 1.0, 0.0}, 0.25);
    const Pose pose = poseFromWorld(c, {c.joints[0].restWorld, turned({}, {18.0, 4.0, 0.0})});
    expectAt(dualQuaternionBlend(c, pose)[0], {6.0, 2.0, 0.0});
}

TEST(DualQuaternionBlend, ScaleIsDroppedAndUnweightedPointsStay) {
    Character c = pair({12.0, 1.0, 0.0}, 1.0);
    made_character::addPoint(c, {1.0, 2.0, 3.0}, {});
    Matrix44d scaled = turned({}, {20.0, 0.0, 0.0});
    scaled.m[0] = 3.0;
    scaled.m[5] = 2.0;
    const auto moved = dualQuaternionBlend(c, poseFromWorld(c, {c.joints[0].restWorld, scaled}));
    expectAt(moved[0], {22.0, 1.0, 0.0});
    expectAt(moved[1], {1.0, 2.0, 3.0});
}

} // namespace
} // namespace talvisora::host
