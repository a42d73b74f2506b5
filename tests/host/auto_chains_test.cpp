// SPDX-License-Identifier: Apache-2.0
// How the automatic rig cuts a skeleton into chains, on skeletons small enough to say what must come out.
#include "host/character/auto_blocks.h"
#include "host/made_character.h"

#include <gtest/gtest.h>

namespace {

using namespace made_character;
using Names = std::vector<std::string>;

std::vector<Names> blockNames(const AutoRig& rig) {
    std::vector<Names> names;
    for (const RigBlock& block : rig.blocks) names.push_back(shortNames(block.joints));
    return names;
}

TEST(Chains, AnUnbranchedRunIsOneBlockThatEndsInAVirtualEnd) {
    const AutoRig rig = buildAutoRig(straight(3));
    EXPECT_EQ(blockNames(rig), (std::vector<Names>{{"j0", "j1", "j2", "end"}}));
    EXPECT_TRUE(rig.blocks[0].virtualEnd);
    EXPECT_FALSE(rig.blocks[0].simple);
    EXPECT_EQ(rig.jointCount, 3u);
}

TEST(Chains, ABranchingJointBelongsToTheRunThatArrivesAtIt) {
    Character c = makeSkeleton({{"root", -1, {0, 0, 0}},
                                {"hub", 0, {1, 0, 0}},
                                {"a1", 1, {2, 1, 0}},
                                {"a2", 2, {3, 1, 0}},
                                {"b1", 1, {2, -1, 0}},
                                {"b2", 4, {3, -1, 0}}});
    for (std::uint32_t j = 0; j < 6; ++j) addPointAt(c, j);
    const AutoRig rig = buildAutoRig(c);
    EXPECT_EQ(
        blockNames(rig),
        (std::vector<Names>{{"root", "hub", "end"}, {"hub", "a1", "a2", "end"}, {"hub", "b1", "b2", "end"}}));
    EXPECT_EQ(rig.blocks[0].ownedJoints, (std::vector<std::uint32_t>{0, 1}));
    EXPECT_EQ(rig.blocks[1].ownedJoints, (std::vector<std::uint32_t>{2, 3}));
    expectOwnedOnce(c, rig);
}

TEST(Chains, ARootThatBranchesAtOnceBelongsToTheFirstRunThatItStarts) {
    Character c = makeSkeleton({{"root", -1, {0, 0, 0}},
                                {"a1", 0, {1, 1, 0}},
                                {"a2", 1, {2, 1, 0}},
                                {"b1", 0, {1, -1, 0}},
                                {"b2", 3, {2, -1, 0}}});
    for (std::uint32_t j = 0; j < 5; ++j) addPointAt(c, j);
    const AutoRig rig = buildAutoRig(c);
    EXPECT_EQ(blockNames(rig),
              (std::vector<Names>{{"root", "a1", "a2", "end"}, {"root", "b1", "b2", "end"}}));
    EXPECT_EQ(rig.blocks[0].ownedJoints, (std::vector<std::uint32_t>{0, 1, 2}));
    EXPECT_EQ(rig.blocks[1].ownedJoints, (std::vector<std::uint32_t>{3, 4}));
}

TEST(Chains, AChainOfOneJointLeavesOutTheJointAbove) {
    Character c = makeSkeleton({{"neck", -1, {0, 0, 0}},
                                {"head", 0, {1, 0, 0}},
                                {"eye", 1, {1.5, 0.2, 0.2}},
                                {"ear", 1, {1.2, 0.5, 0}}});
    for (std::uint32_t j = 0; j < 4; ++j) addPointAt(c, j);
    EXPECT_EQ(blockNames(buildAutoRig(c)),
              (std::vector<Names>{{"neck", "head", "end"}, {"eye", "end"}, {"ear", "end"}}));
}

TEST(Chains, WeightlessJointsAreNoPartOfTheRig) {
    // origin > hip > knee > foot; an IK target and a prop that move nothing hang on origin and knee.
    Character c = makeSkeleton({{"origin", -1, {0, -5, 0}},
                                {"hip", 0, {0, 0, 0}},
                                {"knee", 1, {1, 0, 0}},
                                {"foot", 2, {2, 0, 0}},
                                {"prop", 2, {1, 3, 0}},
                                {"target", 0, {9, 9, 9}}});
    for (std::uint32_t j : {1u, 2u, 3u}) addPointAt(c, j);
    const AutoRig rig = buildAutoRig(c);
    EXPECT_EQ(blockNames(rig), (std::vector<Names>{{"hip", "knee", "foot", "end"}}));
    EXPECT_EQ(rig.notes.size(), 3u);
}

TEST(Chains, AStiffWeightlessLeafServesAsTheEndAndALooseOneDoesNot) {
    Character c = straight(3);
    c.joints.push_back(c.joints[2]);
    c.joints[3].name = "tip";
    c.joints[3].parent = 2;
    c.joints[3].node = 3;
    setTranslation(c.joints[3].restWorld, {3, 0, 0});
    setTranslation(c.joints[3].inverseRest, {-3, 0, 0});
    c.nodes.push_back({"tip", 2, {}});
    setTranslation(c.nodes[3].local, {1, 0, 0});
    const AutoRig stiff = buildAutoRig(c);
    EXPECT_EQ(blockNames(stiff), (std::vector<Names>{{"j0", "j1", "j2", "tip"}}));
    EXPECT_FALSE(stiff.blocks[0].virtualEnd);
    // A leaf that wanders would pull the bone along with it.
    addMotion(c, 3, {}, {0, 1, 0});
    EXPECT_EQ(blockNames(buildAutoRig(c)), (std::vector<Names>{{"j0", "j1", "j2", "end"}}));
}

TEST(Chains, AJointThatCoincidesWithItsParentIsFoldedUnlessItTurns) {
    Character c = makeSkeleton(
        {{"waist", -1, {0, 0, 0}}, {"twin", 0, {0, 0, 0}}, {"chest", 1, {1, 0, 0}}, {"neck", 2, {2, 0, 0}}});
    for (std::uint32_t j = 0; j < 4; ++j) addPointAt(c, j);
    addMotion(c, 2, turnAbout({0, 0, 1}, 0.5));
    const AutoRig folded = buildAutoRig(c);
    EXPECT_EQ(blockNames(folded), (std::vector<Names>{{"waist", "chest", "neck", "end"}}));
    EXPECT_EQ(folded.blocks[0].ownedJoints, (std::vector<std::uint32_t>{0, 1, 2, 3}));
    expectOwnedOnce(c, folded);
    addMotion(c, 1, turnAbout({0, 0, 1}, 0.5));
    const AutoRig apart = buildAutoRig(c);
    EXPECT_EQ(blockNames(apart),
              (std::vector<Names>{{"waist", "end"}, {"twin", "end"}, {"twin", "chest", "neck", "end"}}));
    expectOwnedOnce(c, apart);
}

TEST(Chains, ATwistHelperOnTheBoneIsFoldedAndALeafThatSwingsIsNot) {
    Character c = makeSkeleton({{"arm", -1, {0, 0, 0}},
                                {"helper", 0, {0.5, 0, 0}},
                                {"elbow", 0, {1, 0, 0}},
                                {"hand", 2, {2, 0, 0}}});
    for (std::uint32_t j = 0; j < 4; ++j) addPointAt(c, j);
    addMotion(c, 1, turnAbout({1, 0, 0}, 1.0)); // a pure twist
    const AutoRig rig = buildAutoRig(c);
    EXPECT_EQ(blockNames(rig), (std::vector<Names>{{"arm", "elbow", "hand", "end"}}));
    expectOwnedOnce(c, rig);
    addMotion(c, 1, turnAbout({0, 0, 1}, 1.0));
    EXPECT_EQ(buildAutoRig(c).blocks.size(), 2u);
}

TEST(Chains, LongChainsAreCutIntoPiecesThatShareAJoint) {
    for (int joints : {9, 10, 18, 19, 25, 60}) {
        const Character c = straight(joints);
        const AutoRig rig = buildAutoRig(c);
        std::size_t bones = 0;
        for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
            const Names names = shortNames(rig.blocks[b].joints);
            EXPECT_GE(names.size(), 2u);
            EXPECT_LE(names.size(), 10u);
            bones += names.size() - 1;
            const bool last = b + 1 == rig.blocks.size();
            EXPECT_EQ(rig.blocks[b].virtualEnd, last);
            if (last) continue;
            EXPECT_EQ(names.back(), shortNames(rig.blocks[b + 1].joints).front());
            EXPECT_EQ(c.joints[rig.blocks[b + 1].ownedJoints[0]].name, names.back());
        }
        EXPECT_EQ(bones, static_cast<std::size_t>(joints)) << joints; // the virtual end's bone included
        EXPECT_EQ(rig.blocks.size(), static_cast<std::size_t>((joints + 8) / 9)) << joints;
        expectOwnedOnce(c, rig);
    }
}

TEST(Chains, SimpleBlocksTakeThirtyRecordsAndShortOnesStayAsTheyAre) {
    AutoBlockOptions options;
    options.simple = true;
    const AutoRig rig = buildAutoRig(straight(29), options);
    ASSERT_EQ(rig.blocks.size(), 1u);
    EXPECT_EQ(rig.blocks[0].joints.size(), 30u);
    EXPECT_TRUE(rig.blocks[0].simple);
    EXPECT_EQ(buildAutoRig(straight(30), options).blocks.size(), 2u);
    EXPECT_FALSE(buildAutoRig(straight(2), options).blocks[0].simple); // three records
    EXPECT_TRUE(buildAutoRig(straight(3), options).blocks[0].simple);  // four
}

} // namespace
