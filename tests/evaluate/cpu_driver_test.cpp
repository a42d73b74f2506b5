// SPDX-License-Identifier: Apache-2.0
// Whole evaluations: when caches are kept, what failures leave behind, what moves and what does not.
#include "evaluate/cpu_driver.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <cmath>

#include "fixtures/node_test.h"

namespace talvisora {
namespace {

using namespace fixtures;

class CpuDriver : public NodeTest {
protected:
    CpuDriver() { makeRig(); }

    void expectSuccess() {
        ASSERT_EQ(evaluate(), 0);
        ASSERT_EQ(errors(), std::vector<std::string>{});
    }
    /// Points after a successful evaluation.
    std::vector<Vec3d> deformed() {
        EXPECT_EQ(evaluate(), 0);
        EXPECT_EQ(errors(), std::vector<std::string>{});
        return record.points;
    }
    /// Largest distance of the points from `expected`.
    static double distance(const std::vector<Vec3d>& points, const std::vector<Vec3d>& expected) {
        double largest = points.size() == expected.size() ? 0.0 : HUGE_VAL;
        for (std::size_t i = 0; i < points.size() && i < expected.size(); ++i)
            largest = std::fmax(largest, length(points[i] - expected[i]));
        return largest;
    }
    static bool sameBits(const std::vector<Vec3d>& a, const std::vector<Vec3d>& b) {
        return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3d)) == 0;
    }
    void setWeights(std::size_t b, float weight) {
        block(b)[attribute::kBlockWeights] = repeated(input.size(), weight);
    }
    /// Lets the rig stand in its rest pose.
    void rest() {
        for (const std::string& name : jointNames(4))
            hierarchy->find(name)->local = hierarchy->find(name)->restLocal;
    }
    /// Moves the rig as a whole from its rest pose.
    void moveRigidly(const Matrix44d& motion) {
        rest();
        hierarchy->find("j0")->local = hierarchy->find("j0")->restLocal * motion;
    }
};

TEST_F(CpuDriver, LeavesPointsWhereTheyAreInTheRestPose) {
    rest();
    // Single-precision basis values sum to 1 within 1e-7, and the offset is multiplied by that sum.
    EXPECT_LT(distance(deformed(), input), 1e-7);
}

TEST_F(CpuDriver, MovesPointsWithABend) {
    EXPECT_GT(distance(deformed(), input), 0.3);
}

TEST_F(CpuDriver, GivesTheSameBitsAgainAndOnAnyNumberOfThreads) {
    makeRig(8, 3000, 6);
    for (std::size_t b = 0; b < 6; ++b) setWeights(b, 0.5f);
    const std::vector<Vec3d> first = deformed();
    EXPECT_TRUE(sameBits(deformed(), first));
    tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
    node.rebuildCache = true;
    EXPECT_TRUE(sameBits(deformed(), first));
}

TEST_F(CpuDriver, ForgetsTheMarkWhenItIsDone) {
    expectSuccess();
    EXPECT_FALSE(node.rebuildCache);
    EXPECT_TRUE(node.uploadDevice); // the other path's business
}

TEST_F(CpuDriver, KeepsCachedWeightsUntilMarkedOrCachingIsOff) {
    const std::vector<Vec3d> full = deformed();
    setWeights(0, 0.5f);
    EXPECT_TRUE(sameBits(deformed(), full));
    attributes[setting::kCacheAttributes] = boolean(false);
    const std::vector<Vec3d> half = deformed();
    EXPECT_FALSE(sameBits(half, full));
    attributes[setting::kCacheAttributes] = boolean(true);
    setWeights(0, 1.0f);
    EXPECT_TRUE(sameBits(deformed(), half)); // the caches of the last rebuild
    node.rebuildCache = true;
    EXPECT_TRUE(sameBits(deformed(), full));
}

TEST_F(CpuDriver, SeesPoseAndEnvelopesWithoutARebuild) {
    const std::vector<Vec3d> full = deformed();
    block(0)[attribute::kEnv] = number(0.5f);
    const std::vector<Vec3d> half = deformed();
    EXPECT_GT(distance(half, full), 0.1);
    block(0)[attribute::kEnv] = number(1.0f);
    attributes[setting::kEnvelope] = number(0.5f);
    EXPECT_TRUE(sameBits(deformed(), half));
    attributes[setting::kEnvelope] = number(1.0f);
    rest();
    EXPECT_LT(distance(deformed(), input), 1e-6);
}

TEST_F(CpuDriver, RebuildsWhenTheNumberOfPointsOrBlocksChanges) {
    expectSuccess();
    makeRig(4, 20);
    expectSuccess();
    EXPECT_EQ(node.blockWeights.size(), 20u);
    makeRig(4, 20, 3);
    expectSuccess();
    EXPECT_EQ(node.blockWeights.size(), 60u);
    makeRig(4, 5, 3);
    expectSuccess();
    EXPECT_EQ(node.ordersEnd, std::vector<std::int32_t>(5, 3));
}

TEST_F(CpuDriver, FindsParametersAnewWhenABlockGetsOtherControlPoints) {
    expectSuccess();
    EXPECT_EQ(node.cvSignature, std::vector<std::int32_t>{10});
    block(0)[attribute::kSimple] = boolean(true);
    expectSuccess();
    EXPECT_EQ(node.cvSignature, std::vector<std::int32_t>{4});
    EXPECT_EQ(node.cvParameters[3], 1.0f);
    block(0)[attribute::kJoints] = texts(jointNames(3));
    expectSuccess();
    EXPECT_EQ(node.cvSignature, std::vector<std::int32_t>{7});
    EXPECT_EQ(node.cvParameters[6], 1.0f);
}

TEST_F(CpuDriver, RebuildsAfterAFailureInTheSetUpAlthoughCachesWereKept) {
    const std::vector<Vec3d> full = deformed();
    setWeights(0, 0.5f);
    block(0)[attribute::kJoints] = texts(std::vector<std::string>{"j0", "elbow"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(errors(), std::vector<std::string>{assertionText(1127, "Cannot find 'elbow' in hier!")});
    EXPECT_TRUE(pointsAreUntouched());
    EXPECT_TRUE(node.rebuildCache);
    EXPECT_FALSE(node.shape.valid);
    block(0)[attribute::kJoints] = texts(jointNames(4));
    EXPECT_FALSE(sameBits(deformed(), full));
    EXPECT_FALSE(node.rebuildCache);
}

TEST_F(CpuDriver, AnInactiveRecordBetweenDoesNotHideAFailure) {
    expectSuccess();
    block(0).erase(attribute::kEnv);
    EXPECT_EQ(evaluate(), 1);
    block(0)[attribute::kEnv] = number(1.0f);
    setWeights(0, 0.25f);
    record.active = 0;
    EXPECT_EQ(evaluate(), 0);
    EXPECT_FALSE(node.rebuildCache);
    record.active = 1;
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(node.blockWeights[0], 0.25f);
}

TEST_F(CpuDriver, FailureInTheRebuildIsRebuiltNextTime) {
    expectSuccess();
    attributes[setting::kCacheAttributes] = boolean(false);
    block(0)[attribute::kParams] = repeated(3, 0.0f);
    EXPECT_EQ(evaluate(), 1);
    EXPECT_TRUE(node.rebuildCache);
    EXPECT_TRUE(pointsAreUntouched());
    errors();
    attributes[setting::kCacheAttributes] = boolean(true);
    block(0)[attribute::kParams] = repeated(input.size(), 0.5f);
    expectSuccess();
    EXPECT_EQ(node.params[0], 0.5f);
}

TEST_F(CpuDriver, FailureOfAnInputLeavesTheCacheAsItIs) {
    const std::vector<Vec3d> full = deformed();
    setWeights(0, 0.5f);
    const auto kept = attributes[attribute::kTempWeights];
    attributes.erase(attribute::kTempWeights);
    EXPECT_EQ(evaluate(), 1);
    EXPECT_FALSE(node.rebuildCache);
    errors();
    attributes[attribute::kTempWeights] = kept;
    EXPECT_TRUE(sameBits(deformed(), full));
}

TEST_F(CpuDriver, NamesTheHighestBlockWithTooFewParams) {
    makeRig(4, 12, 4);
    block(1)[attribute::kParams] = repeated(11, 0.0f);
    block(3)[attribute::kParams] = repeated(11, 0.0f);
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(errorsWithoutLine(),
              std::vector<std::string>{
                  "arm: ASSERT error (deformers/talvisora/talvisora:LINE): block[3].params != NUM_ELEMENTS"});
}

TEST_F(CpuDriver, ShowsTheFaultsOfAllBlocksInTheirOrder) {
    makeRig(4, 12, 9);
    block(7)[attribute::kJoints] = texts(std::vector<std::string>{"j0"});
    block(2)[attribute::kJoints] = texts(std::vector<std::string>{"j0", "hip"});
    block(5)[attribute::kBends] = texts({0, 1}, {"b1", "b2"});
    block(4)[attribute::kJoints] = texts(std::vector<std::string>(11, "j0"));
    block(8).erase(attribute::kSimple);
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(errors(), (std::vector<std::string>{
                            assertionText(1127, "Cannot find 'hip' in hier!"),
                            assertionText(1156, "Joint's number must not be > 10 or > 30 (when simple)"),
                            assertionText(1253, "Cannot find bend control 'b1' in hier!"),
                            assertionText(1253, "Cannot find bend control 'b2' in hier!"),
                            assertionText(1117, "joints[7] must be > 1"),
                            "arm: get attributes: cannot find 'talvisora__simple' (GrBoolean) attribute",
                        }));
    EXPECT_TRUE(pointsAreUntouched());
}

TEST_F(CpuDriver, ReportsBrokenTablesByTheNameThatWasNotFound) {
    hierarchy->find("j0")->parent = "world";
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(errors(), std::vector<std::string>{"arm: worldMatrix: cannot find world"});
    hierarchy->find("j0")->parent = "j0";
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(errors(), std::vector<std::string>{"arm: worldMatrix: cannot find j0"});
}

TEST_F(CpuDriver, WorksWithoutPoints) {
    makeRig(4, 0);
    expectSuccess();
    EXPECT_FALSE(node.rebuildCache);
    EXPECT_EQ(node.restCurves[0].controlPoints.size(), 10u);
}

TEST_F(CpuDriver, MissingPointWeightsCountAsOneAndFurtherOnesAreIgnored) {
    const std::vector<Vec3d> full = deformed();
    record.weights.clear();
    EXPECT_TRUE(sameBits(deformed(), full));
    record.weights.assign(1000, 1.0f);
    EXPECT_TRUE(sameBits(deformed(), full));
}

TEST_F(CpuDriver, WeightlessPointsKeepTheirBits) {
    input[0] = {-0.0, std::nan(""), 1e-310};
    record.weights[0] = 0.0f;
    record.weights[1] = kNaN;
    record.weights[2] = -1.0f;
    expectSuccess();
    EXPECT_EQ(std::memcmp(record.points.data(), input.data(), 3 * sizeof(Vec3d)), 0);
    EXPECT_NE(record.points[5], input[5]);
}

TEST_F(CpuDriver, BrokenNumbersBreakTheirPointsOnly) {
    const std::vector<Vec3d> full = deformed();
    auto params = castTo<GrFloat>(block(0)[attribute::kParams]);
    params->values[3] = kNaN;
    params->values[4] = 7.5f;
    params->values[5] = -kInfinity;
    node.rebuildCache = true;
    const std::vector<Vec3d> points = deformed();
    for (std::size_t i : {0u, 1u, 2u, 6u, 11u}) EXPECT_EQ(points[i], full[i]) << i;
}

TEST_F(CpuDriver, WeightsBeyondOneActAsOne) {
    const std::vector<Vec3d> full = deformed();
    setWeights(0, 1e30f);
    attributes[setting::kEnvelope] = number(1e30f);
    block(0)[attribute::kEnv] = number(1e30f);
    node.rebuildCache = true;
    EXPECT_TRUE(sameBits(deformed(), full));
}

TEST_F(CpuDriver, SingularAndBrokenGeometryMatricesAreNoFault) {
    Matrix44d broken;
    broken.m[0] = 0.0;
    attributes[attribute::kGeoMatrix] = matrixValue(broken);
    expectSuccess();
    EXPECT_EQ(node.geoMatrixInverse, Matrix44d{});
    broken.m[0] = std::nan("");
    broken.m[15] = 0.0;
    attributes[attribute::kGeoMatrix] = matrixValue(broken);
    record.matrix = broken;
    expectSuccess();
    EXPECT_EQ(node.geoMatrixInverse, Matrix44d{});
}

TEST_F(CpuDriver, WorksInWorldSpaceWhateverTheGeometryMatrix) {
    const std::vector<Vec3d> world = deformed();
    const Matrix44d geo = frameAlong({3, -2, 1}, {0.2, 0.4, -0.7});
    attributes[attribute::kGeoMatrix] = matrixValue(geo);
    for (Vec3d& p : input) p = pointMultMat(p, inverse(geo));
    std::vector<Vec3d> object = deformed();
    for (Vec3d& p : object) p = pointMultMat(p, geo);
    EXPECT_LT(distance(object, world), 1e-12);
    EXPECT_LT(length(vectorMultMat({1, 0, 0}, node.geoMatrixInverse * geo) - Vec3d{1, 0, 0}), 1e-15);
}

TEST_F(CpuDriver, ManyBlocksOnOneChainDoNotDisturbEachOther) {
    makeRig(4, 12, 1);
    const std::vector<Vec3d> one = deformed();
    makeRig(4, 12, 50);
    EXPECT_TRUE(sameBits(deformed(), one)); // the last block covers all others
}

TEST_F(CpuDriver, MovesRigidlyWithTangentTurn) {
    attributes[setting::kTangentTurn] = integer(1);
    rest();
    for (double away : {0.0, 1000.0}) {
        Matrix44d motion = frameAlong({0.3, 2, -1}, {-0.5, 0.6, 0.2});
        motion = motion * translated({away, 0, -away});
        moveRigidly(motion);
        std::vector<Vec3d> expected = input;
        for (Vec3d& p : expected) p = pointMultMat(p, motion);
        EXPECT_LT(distance(deformed(), expected), 1e-6 * (away + 3.0));
    }
}

TEST_F(CpuDriver, TurnsOffsetsOfAStraightChainTwiceWithoutTangentTurn) {
    const Matrix44d quarter = turnedZ(std::acos(0.0));
    moveRigidly(quarter);
    expectSuccess();
    for (std::size_t i = 0; i < input.size(); ++i) {
        // The curve turns by a right angle, the offset from it by two.
        const Vec3d onCurve = ::talvisora::evaluate(node.restCurves[0], node.params[i]);
        const Vec3d offset = input[i] - onCurve;
        const Vec3d expected = vectorMultMat(onCurve, quarter) + Vec3d{-offset.x, -offset.y, offset.z};
        EXPECT_LT(length(record.points[i] - expected), 1e-6) << i;
    }
}

TEST_F(CpuDriver, FollowsATranslationWithAndWithoutTangentTurn) {
    for (int turn : {0, 1}) {
        attributes[setting::kTangentTurn] = integer(turn);
        moveRigidly(translated({4, -5, 6}));
        std::vector<Vec3d> expected = input;
        for (Vec3d& p : expected) p += Vec3d{4, -5, 6};
        EXPECT_LT(distance(deformed(), expected), 1e-5);
    }
}

TEST_F(CpuDriver, TakesAnyTangentTurnButZeroForOne) {
    const std::vector<Vec3d> absent = deformed();
    attributes[setting::kTangentTurn] = integer(0);
    EXPECT_TRUE(sameBits(deformed(), absent));
    attributes[setting::kTangentTurn] = integer(1);
    const std::vector<Vec3d> one = deformed();
    EXPECT_FALSE(sameBits(one, absent));
    attributes[setting::kTangentTurn] = integer(-5);
    EXPECT_TRUE(sameBits(deformed(), one));
}

TEST_F(CpuDriver, NodesAreIndependent) {
    const std::vector<Vec3d> expected = deformed();
    MyNode other;
    other.object = headless::createNode("talvisora", "leg");
    other.sharedInputs["Hier hier"] = hierarchy;
    DeformRecord copy = record;
    copy.points = input;
    ASSERT_EQ(other.deformCpu(attributes, copy), 0);
    EXPECT_TRUE(sameBits(copy.points, expected));
}

} // namespace
} // namespace talvisora
