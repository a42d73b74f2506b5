// SPDX-License-Identifier: Apache-2.0
// One block's set-up: what it builds for which joints, what it refuses, and that it stays in its slots.
#include "rig/block_setup.h"

#include <gtest/gtest.h>

#include <cstring>

#include "fixtures/small_rig.h"
#include "fixtures/values.h"

namespace talvisora {
namespace {

using namespace fixtures;

/// Block 1 of three: the slots before and after it hold a pattern that must survive.
class BlockSetupTest : public testing::Test {
protected:
    static constexpr int kBlock = 1;

    BlockSetupTest() : tweaks(MAX_CV_MATRICES), parameters(3 * MAX_CV_MATRICES, -7.0f) {
        arrays.resize(3);
        std::memset(arrays.blocks.data(), 0x55, arrays.blocks.size() * sizeof(BlockInfo));
        arrays.knots.assign(arrays.knots.size(), -7.0f);
        Matrix44d pattern;
        for (double& v : pattern.m) v = -7.0;
        arrays.cvMatrices.assign(arrays.cvMatrices.size(), pattern);
    }

    void makeChain(std::size_t joints, bool simple) {
        addChain(hierarchy, bentLine(joints, 0.1), straightLine(joints));
        element = blockElement(jointNames(joints), 0);
        element[attribute::kSimple] = boolean(simple);
    }

    std::vector<std::string> setUp(bool fresh = true, SetupLines lines = kCpuSetupLines) {
        const BlockSetup setup{kBlock, element, hierarchy, tweaks.data(), lines, kRigInBetween, fresh, false};
        std::vector<std::string> texts;
        for (const Fault& fault :
             setUpBlock(setup, {restCurve, &parameters[slot(kBlock, 0)], signature}, arrays))
            texts.push_back(fault.text());
        return texts;
    }

    const BlockInfo& info() const { return arrays.blocks[kBlock]; }
    std::size_t curvePoints() const { return arrays.curves[kBlock].controlPoints.size(); }
    bool isPattern(std::size_t slotIndex) const { return arrays.cvMatrices[slotIndex].m[5] == -7.0; }

    void expectNeighboursUntouched() const {
        for (int k = 0; k < MAX_CV_MATRICES; ++k) {
            EXPECT_TRUE(isPattern(slot(0, k)) && isPattern(slot(2, k)));
            EXPECT_EQ(parameters[slot(0, k)], -7.0f);
            EXPECT_EQ(parameters[slot(2, k)], -7.0f);
        }
        for (int k = 0; k < kMaxKnots; ++k) {
            EXPECT_EQ(arrays.knots[knotSlot(0, k)], -7.0f);
            EXPECT_EQ(arrays.knots[knotSlot(2, k)], -7.0f);
        }
    }

    GrHierarchy hierarchy;
    ValueMap element;
    std::vector<Tweak> tweaks;
    std::vector<float> parameters;
    std::int32_t signature = 0;
    Curve restCurve;
    RigArrays arrays;
};

const std::string kTooMany = "ASSERT error (deformers/talvisora/talvisora:1156): Joint's number must not be "
                             "> 10 or > 30 (when simple)";

TEST_F(BlockSetupTest, TwoJointsGiveFourControlPointsAndNoCentreJoint) {
    for (bool simple : {false, true}) {
        makeChain(2, simple);
        ASSERT_TRUE(setUp().empty());
        EXPECT_EQ(info().numMatrices, 2);
        EXPECT_EQ(info().simple, 0);
        EXPECT_EQ(curvePoints(), 4u);
        EXPECT_EQ(centreJointCount(info()), 0);
        const float* knots = &arrays.knots[knotSlot(kBlock, 0)];
        EXPECT_EQ(std::vector<float>(knots, knots + 8), (std::vector<float>{0, 0, 0, 0, 1, 1, 1, 1}));
        EXPECT_EQ(knots[8], -7.0f);
        expectNeighboursUntouched();
    }
}

TEST_F(BlockSetupTest, ThreeJointsAreBuiltAsNonSimpleWhateverTheySay) {
    makeChain(3, true);
    ASSERT_TRUE(setUp().empty());
    EXPECT_EQ(info().simple, 0);
    EXPECT_EQ(curvePoints(), 7u);
    EXPECT_EQ(restCurve.controlPoints.size(), 7u);
}

TEST_F(BlockSetupTest, FourJointsCanBeSimple) {
    makeChain(4, true);
    ASSERT_TRUE(setUp().empty());
    EXPECT_EQ(info().simple, 1);
    EXPECT_EQ(curvePoints(), 4u);
}

TEST_F(BlockSetupTest, TenJointsFillTwentyEightSlots) {
    makeChain(10, false);
    ASSERT_TRUE(setUp().empty());
    EXPECT_EQ(controlPointCount(info()), 28);
    EXPECT_EQ(arrays.curves[kBlock].knots.size(), 32u);
    EXPECT_FALSE(isPattern(slot(kBlock, 27)));
    EXPECT_TRUE(isPattern(slot(kBlock, 28)));
    EXPECT_EQ(signature, 28);
    expectNeighboursUntouched();
}

TEST_F(BlockSetupTest, ElevenJointsAreRefusedBeforeAnythingIsWritten) {
    makeChain(11, false);
    EXPECT_EQ(setUp(), std::vector<std::string>{kTooMany});
    for (int k = 0; k < MAX_CV_MATRICES; ++k) EXPECT_TRUE(isPattern(slot(kBlock, k)));
    EXPECT_EQ(parameters[slot(kBlock, 0)], -7.0f);
    expectNeighboursUntouched();
}

TEST_F(BlockSetupTest, ThirtySimpleJointsFillEverySlot) {
    makeChain(30, true);
    ASSERT_TRUE(setUp().empty());
    EXPECT_EQ(controlPointCount(info()), 30);
    EXPECT_FALSE(isPattern(slot(kBlock, 29)));
    expectNeighboursUntouched();
}

TEST_F(BlockSetupTest, ThirtyOneSimpleJointsAreRefused) {
    makeChain(31, true);
    EXPECT_EQ(setUp(), std::vector<std::string>{kTooMany});
    EXPECT_EQ(
        setUp(true, kGpuSetupLines),
        std::vector<std::string>{"ASSERT error (deformers/talvisora/talvisora:1764): Joint's number must "
                                 "not be > 10 or > 30 (when simple)"});
    expectNeighboursUntouched();
}

TEST_F(BlockSetupTest, AThousandJointsAreRefusedToo) {
    makeChain(1000, true);
    EXPECT_EQ(setUp(), std::vector<std::string>{kTooMany});
    expectNeighboursUntouched();
}

TEST_F(BlockSetupTest, FewerThanTwoJointsAreRefused) {
    makeChain(2, false);
    for (std::size_t joints : {0u, 1u}) {
        element[attribute::kJoints] = texts(jointNames(joints));
        EXPECT_EQ(setUp(), std::vector<std::string>{
                               "ASSERT error (deformers/talvisora/talvisora:1117): joints[1] must be > 1"});
    }
}

TEST_F(BlockSetupTest, MissingAndMistypedChildrenAreNamed) {
    const std::pair<std::string, std::string> children[] = {{attribute::kJoints, "GrString"},
                                                            {attribute::kEnv, "GrFloat"},
                                                            {attribute::kSimple, "GrBoolean"},
                                                            {attribute::kBends, "GrString"}};
    for (const auto& [name, type] : children) {
        makeChain(4, false);
        element.erase(name);
        EXPECT_EQ(setUp(), std::vector<std::string>{"get attributes: cannot find '" + name + "' (" + type +
                                                    ") attribute"});
        element[name] = integer(1);
        EXPECT_EQ(setUp(), std::vector<std::string>{"get attributes: invalid type of '" + name + "' (" +
                                                    type + " expected)"});
    }
}

TEST_F(BlockSetupTest, SimpleBlocksDoNotReadBends) {
    makeChain(4, true);
    element.erase(attribute::kBends);
    EXPECT_TRUE(setUp().empty());
}

TEST_F(BlockSetupTest, SeveralMissingBendControlsAreAllNamed) {
    makeChain(3, false);
    element[attribute::kBends] = texts({0, 1}, {"a", "b"});
    EXPECT_EQ(setUp().size(), 2u);
}

TEST_F(BlockSetupTest, BendPastTheChainAndUnnamedBendChangeNoBit) {
    makeChain(3, false);
    ASSERT_TRUE(setUp().empty());
    const std::vector<Vec3d> before = arrays.curves[kBlock].controlPoints;
    hierarchy.set("bend", {translated({0, 1, 0}), {}, "", false});
    element[attribute::kBends] = texts({2, 0}, {"bend", ""});
    EXPECT_TRUE(setUp().empty());
    EXPECT_EQ(
        std::memcmp(before.data(), arrays.curves[kBlock].controlPoints.data(), before.size() * sizeof(Vec3d)),
        0);
}

TEST_F(BlockSetupTest, ABendRaisesTheAngleWeightOfItsJoint) {
    makeChain(3, false);
    ASSERT_TRUE(setUp().empty());
    const float before = arrays.tweakVectors[slot(kBlock, 0)].angleWeight;
    hierarchy.set("bend", {translated({0, 0.1, 0}), {}, "", false});
    element[attribute::kBends] = texts({1}, {"bend"});
    ASSERT_TRUE(setUp().empty());
    EXPECT_GT(arrays.tweakVectors[slot(kBlock, 0)].angleWeight, before + 0.1f);
}

TEST_F(BlockSetupTest, ParametersAreKeptUntilAskedForOrTheCountChanges) {
    makeChain(4, false);
    ASSERT_TRUE(setUp(false).empty()); // nothing was kept yet
    EXPECT_EQ(parameters[slot(kBlock, 9)], 1.0f);
    parameters[slot(kBlock, 5)] = 0.125f;
    ASSERT_TRUE(setUp(false).empty());
    EXPECT_EQ(parameters[slot(kBlock, 5)], 0.125f);
    ASSERT_TRUE(setUp(true).empty());
    EXPECT_NE(parameters[slot(kBlock, 5)], 0.125f);
    parameters[slot(kBlock, 0)] = 0.125f;
    element[attribute::kSimple] = boolean(true);
    ASSERT_TRUE(setUp(false).empty());
    EXPECT_EQ(parameters[slot(kBlock, 0)], 0.0f);
    EXPECT_EQ(signature, 4);
}

TEST_F(BlockSetupTest, DuplicateJointNamesGiveNumbers) {
    makeChain(3, false);
    element[attribute::kJoints] = texts(std::vector<std::string>{"j0", "j0", "j1", "j1"});
    ASSERT_TRUE(setUp().empty());
    for (int k = 0; k < 10; ++k)
        for (double v : arrays.cvMatrices[slot(kBlock, k)].m) EXPECT_TRUE(std::isfinite(v));
}

TEST_F(BlockSetupTest, JointsThatAreNotNumbersAreNoFault) {
    makeChain(4, false);
    hierarchy.find("j2")->local.m[13] = std::nan("");
    hierarchy.find("j1")->restLocal.m[0] = HUGE_VAL;
    EXPECT_TRUE(setUp().empty());
}

/// The rest side is kept between set-ups; nobody must see it.
class KeptRestTest : public BlockSetupTest {
protected:
    /// Sets up with what earlier set-ups left, and once more from nothing: the same bits.
    void expectLikeNew() {
        ASSERT_TRUE(setUp(false).empty());
        const std::size_t first = slot(kBlock, 0), end = first + static_cast<std::size_t>(curvePoints());
        RigArrays fresh;
        fresh.resize(3);
        Curve freshCurve;
        std::int32_t freshSignature = signature;
        const BlockSetup setup{kBlock,         element,       hierarchy, tweaks.data(),
                               kCpuSetupLines, kRigInBetween, false,     false};
        ASSERT_TRUE(setUpBlock(setup, {freshCurve, &parameters[first], freshSignature}, fresh).empty());
        for (std::size_t k = first; k < end; ++k) {
            EXPECT_TRUE(same(arrays.cvMatrices[k], fresh.cvMatrices[k])) << k - first;
            EXPECT_TRUE(same(arrays.cvBaseMatrices[k], fresh.cvBaseMatrices[k])) << k - first;
            EXPECT_TRUE(same(arrays.cvBaseMatricesInverse[k], fresh.cvBaseMatricesInverse[k])) << k - first;
        }
        EXPECT_EQ(std::memcmp(&arrays.tweakVectors[first], &fresh.tweakVectors[first],
                              static_cast<std::size_t>(centreJointCount(info())) * sizeof(TweakVectors)),
                  0);
    }

    static bool same(const Matrix44d& a, const Matrix44d& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

    void moveRest(double by) { hierarchy.find("j2")->restLocal(3, 1) += by; }
    void movePose(double by) { hierarchy.find("j2")->local(3, 1) += by; }
};

TEST_F(KeptRestTest, FollowsThePoseWhileTheRestStays) {
    makeChain(6, false);
    ASSERT_TRUE(setUp().empty());
    for (double by : {0.1, -0.4, 0.0}) {
        movePose(by);
        expectLikeNew();
    }
}

TEST_F(KeptRestTest, IsMadeAnewWhenARestMatrixChanges) {
    makeChain(6, false);
    ASSERT_TRUE(setUp().empty());
    const Matrix44d before = arrays.cvBaseMatrices[slot(kBlock, 6)];
    moveRest(0.25);
    expectLikeNew();
    EXPECT_FALSE(same(arrays.cvBaseMatrices[slot(kBlock, 6)], before));
    moveRest(-0.25);
    expectLikeNew();
}

TEST_F(KeptRestTest, IsMadeAnewWhenTheBlockBecomesSimpleOrItsParametersChange) {
    makeChain(6, false);
    ASSERT_TRUE(setUp().empty());
    element[attribute::kSimple] = boolean(true);
    ASSERT_TRUE(setUp().empty());
    expectLikeNew();
    element[attribute::kSimple] = boolean(false);
    ASSERT_TRUE(setUp().empty());
    parameters[slot(kBlock, 3)] += 0.05f;
    expectLikeNew();
}

// The rest changes, the set-up fails half-way, and the next one finds the rest unchanged since.
TEST_F(KeptRestTest, IsMadeAnewAfterASetUpThatFailed) {
    makeChain(6, false);
    ASSERT_TRUE(setUp().empty());
    moveRest(0.25);
    const auto env = element[attribute::kEnv];
    element.erase(attribute::kEnv);
    ASSERT_FALSE(setUp(false).empty());
    element[attribute::kEnv] = env;
    expectLikeNew();
}

TEST_F(KeptRestTest, SeesOtherJointsUnderTheSameNames) {
    makeChain(6, false);
    ASSERT_TRUE(setUp().empty());
    makeChain(4, false);
    ASSERT_TRUE(setUp().empty());
    expectLikeNew();
}

} // namespace
} // namespace talvisora
