// SPDX-License-Identifier: Apache-2.0
// Control matrices and their parts: orientations, tangents, the tangent's turn.
#include "rig/control_matrices.h"

#include <gtest/gtest.h>

#include <cmath>

#include "fixtures/small_rig.h"
#include "rig/cv_parameters.h"

namespace talvisora {
namespace {

using namespace fixtures;

void expectSame(const Matrix44d& a, const Matrix44d& b, double tolerance) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(a.m[i], b.m[i], tolerance) << "element " << i;
}

TEST(Orientation, OfPerpendicularAxesIsTheMatrixItself) {
    const Matrix44d frame = frameAlong({}, {0.3, -0.8, 0.5});
    expectSame(toMatrix(orientationOf(frame)), frame, 1e-15);
    EXPECT_FALSE(orientationOf(frame).mirrored);
}

TEST(Orientation, OfAMirroredMatrixComesBackMirrored) {
    Matrix44d frame = frameAlong({}, {0.3, -0.8, 0.5});
    setRow(frame, 2, -row(frame, 2));
    EXPECT_TRUE(orientationOf(frame).mirrored);
    expectSame(toMatrix(orientationOf(frame)), frame, 1e-15);
}

TEST(Orientation, OfShearedAxesKeepsXAndIsPerpendicular) {
    Matrix44d sheared;
    setRow(sheared, 0, {2, 0, 0});
    setRow(sheared, 1, {1, 1, 0});
    setRow(sheared, 2, {0.5, 0.25, 3});
    expectSame(toMatrix(orientationOf(sheared)), Matrix44d{}, 1e-15);
}

TEST(Orientation, OfBrokenAxesIsSomeTurnOfFiniteNumbers) {
    Matrix44d broken;
    for (int axis = 0; axis < 3; ++axis) setRow(broken, axis, {});
    for (double v : toMatrix(orientationOf(broken)).m) EXPECT_TRUE(std::isfinite(v));
    setRow(broken, 1, {std::nan(""), 0, 0});
    setRow(broken, 2, {HUGE_VAL, 0, 0});
    for (double v : toMatrix(orientationOf(broken)).m) EXPECT_TRUE(std::isfinite(v));
}

TEST(CurveTangent, PointsAlongGrowingParametersAtBothEnds) {
    Curve curve;
    buildCurve(bentLine(4, 0.2), false, kRigInBetween, curve);
    for (float u : {0.0f, 0.5f, 0.999f, 1.0f}) {
        const Vec3d tangent = curveTangent(curve.controlPoints.data(), curve.knots, u);
        EXPECT_NEAR(length(tangent), 1.0, 1e-15);
        EXPECT_GT(tangent.x, 0.5);
    }
}

TEST(CurveTangent, OfACurveThatStandsStillIsZero) {
    Curve curve;
    buildCurve(std::vector<Vec3d>(2, Vec3d{}), false, kRigInBetween, curve);
    EXPECT_EQ(curveTangent(curve.controlPoints.data(), curve.knots, 0.5f), Vec3d{});
}

/// All control matrices of one block.
struct Matrices {
    std::vector<Matrix44d> current, rest, restInverse;
};

Matrices matricesOf(const GrHierarchy& hierarchy, std::size_t joints, bool simple, bool carried) {
    JointChain chain;
    const Fault fault = readJointChain(jointNames(joints), hierarchy, kCpuSetupLines, chain);
    EXPECT_FALSE(fault) << fault.text();
    aimJoints(chain);
    buildJointFrames(chain);
    Curve current, rest;
    buildCurve(chain.positions, simple, kRigInBetween, current);
    buildCurve(chain.restPositions, simple, kRigInBetween, rest);
    const std::size_t count = rest.controlPoints.size();
    std::vector<float> parameters(count);
    findControlPointParameters(rest, parameters.data());
    Matrices m{std::vector<Matrix44d>(count), std::vector<Matrix44d>(count), std::vector<Matrix44d>(count)};
    ControlMatrixScratch scratch;
    buildControlMatrices({chain, current, rest, parameters.data(), simple, kRigInBetween, carried}, scratch,
                         m.current.data(), m.rest.data(), m.restInverse.data());
    return m;
}

Matrices matricesOf(const std::vector<Matrix44d>& current, const std::vector<Matrix44d>& rest, bool simple,
                    bool carried) {
    GrHierarchy hierarchy;
    addChain(hierarchy, current, rest);
    return matricesOf(hierarchy, rest.size(), simple, carried);
}

TEST(ControlMatrices, InTheRestPoseAreTheRestMatrices) {
    const std::vector<Vec3d> offAxis{{3, 1, -2}, {3.4, 2.1, -1}, {3, 3, 0.5}, {2, 4, 1}, {2, 5, 1}};
    for (const std::vector<Vec3d>& pose : {straightLine(5), bentLine(5, 0.3), offAxis})
        for (bool simple : {false, true})
            for (bool carried : {false, true}) {
                const std::vector<Matrix44d> frames = chainFrames(pose);
                const Matrices m = matricesOf(frames, frames, simple, carried);
                ASSERT_EQ(m.current.size(), simple ? 5u : 13u);
                for (std::size_t k = 0; k < m.current.size(); ++k) {
                    expectSame(m.current[k], m.rest[k], 1e-9);
                    expectSame(m.rest[k] * m.restInverse[k], Matrix44d{}, 1e-12);
                }
            }
}

TEST(ControlMatrices, StandOnTheControlPointsWithTheJointsLengths) {
    std::vector<Matrix44d> frames = chainFrames(straightLine(3));
    for (std::size_t i = 0; i < 3; ++i) {
        setRow(frames[i], 1, row(frames[i], 1) * (i + 1.0));
        setRow(frames[i], 2, row(frames[i], 2) * (2.0 * i + 1.0));
    }
    const Matrices m = matricesOf(frames, frames, false, false);
    for (std::size_t k = 0; k < 7; ++k) {
        EXPECT_NEAR(length(row(m.rest[k], 0)), 1.0, 1e-14);
        const double at = k % 3 == 0 ? k / 3 : k / 3 + (k % 3 == 1 ? 0.33333 : 0.66666);
        EXPECT_NEAR(length(row(m.rest[k], 1)), 1.0 + at, 1e-6) << k;
        EXPECT_NEAR(length(row(m.rest[k], 2)), 1.0 + 2.0 * at, 1e-6) << k;
        EXPECT_NEAR(translation(m.rest[k]).x, at, 1e-6);
    }
}

TEST(ControlMatrices, MoveRigidlyWithACarriedTangent) {
    // A bent, scaled, mirrored chain, also far from the origin: turned as a whole, every control matrix must
    // turn exactly as the rig does.
    const Matrix44d motion = frameAlong({5, -3, 2}, {-0.4, 0.2, 0.9});
    for (double away : {0.0, 1000.0})
        for (double mirror : {1.0, -1.0}) {
            std::vector<Vec3d> pose = bentLine(5, 0.35);
            for (Vec3d& p : pose) p += Vec3d{away, away, away};
            std::vector<Matrix44d> rest = chainFrames(pose), current;
            for (Matrix44d& frame : rest) {
                setRow(frame, 1, row(frame, 1) * 1.7);
                setRow(frame, 2, row(frame, 2) * (mirror * 0.6));
                current.push_back(frame * motion);
            }
            const Matrices m = matricesOf(current, rest, false, true);
            for (std::size_t k = 0; k < m.current.size(); ++k)
                expectSame(m.current[k], m.rest[k] * motion, 1e-6 * (away + 5.0));
        }
}

TEST(ControlMatrices, TurnAStraightChainTwiceWithoutIt) {
    const Matrix44d quarter = turnedZ(std::acos(0.0));
    const std::vector<Matrix44d> rest = chainFrames(straightLine(4));
    std::vector<Matrix44d> current;
    for (const Matrix44d& frame : rest) current.push_back(frame * quarter);
    const Matrices twice = matricesOf(current, rest, false, false);
    for (std::size_t k = 0; k < twice.current.size(); ++k) {
        EXPECT_NEAR(length(row(twice.current[k], 1) + row(twice.rest[k], 1)), 0, 1e-7) << k;
        EXPECT_NEAR(length(row(twice.current[k], 0) + row(twice.rest[k], 0)), 0, 1e-7) << k;
    }
    const Matrices once = matricesOf(current, rest, false, true);
    for (std::size_t k = 0; k < once.current.size(); ++k)
        expectSame(once.current[k], once.rest[k] * quarter, 1e-7);
}

TEST(ControlMatrices, FollowATranslationWithAndWithoutIt) {
    const std::vector<Matrix44d> rest = chainFrames(bentLine(4, 0.5));
    const Matrix44d motion = translated({7, -11, 13});
    std::vector<Matrix44d> current;
    for (const Matrix44d& frame : rest) current.push_back(frame * motion);
    for (bool carried : {false, true}) {
        const Matrices m = matricesOf(current, rest, false, carried);
        // In-between points shift by 3e-8 of their distance from the origin.
        for (std::size_t k = 0; k < m.current.size(); ++k) expectSame(m.current[k], m.rest[k] * motion, 2e-6);
    }
}

TEST(ControlMatrices, OfCoincidentJointsAreFinite) {
    const std::vector<Matrix44d> frames(4, frameAlong({1, 2, 3}, {0, 1, 0}));
    const Matrices m = matricesOf(frames, frames, false, false);
    for (std::size_t k = 0; k < m.current.size(); ++k)
        for (int i = 0; i < 16; ++i) {
            EXPECT_TRUE(std::isfinite(m.current[k].m[i]));
            EXPECT_TRUE(std::isfinite(m.restInverse[k].m[i]));
        }
}

TEST(ControlPointParameters, AreMultiplesOfTheSampleStepInOrder) {
    Curve rest;
    buildCurve(bentLine(6, 0.4), false, kRigInBetween, rest);
    std::vector<float> parameters(rest.controlPoints.size());
    findControlPointParameters(rest, parameters.data());
    EXPECT_EQ(parameters.front(), 0.0f);
    EXPECT_EQ(parameters.back(), 1.0f);
    for (std::size_t k = 0; k < parameters.size(); ++k) {
        const int sample = static_cast<int>(std::lround(parameters[k] * 299.0f));
        EXPECT_EQ(parameters[k], static_cast<float>(sample) / 299.0f);
        EXPECT_GE(parameters[k], parameters[k ? k - 1 : 0]);
    }
}

TEST(ControlPointParameters, OfBrokenControlPointsAreZero) {
    Curve rest;
    buildCurve(straightLine(2), false, kRigInBetween, rest);
    rest.controlPoints[2].y = std::nan("");
    std::vector<float> parameters(4, 9.0f);
    findControlPointParameters(rest, parameters.data());
    EXPECT_EQ(parameters[2], 0.0f);
    for (float u : parameters) EXPECT_TRUE(u >= 0.0f && u <= 1.0f);
}

} // namespace
} // namespace talvisora
