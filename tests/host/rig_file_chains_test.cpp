// SPDX-License-Identifier: Apache-2.0
// Chains chosen by hand.
#include "host/character/auto_blocks.h"
#include "host/made_character.h"

#include <gtest/gtest.h>

namespace {

using namespace made_character;
using Names = std::vector<std::string>;

// hips > spine > chest > neck, and two arms and a leg with names that need care.
Character figure() {
    Character c = makeSkeleton({{"hips", -1, {0, 0, 0}},
                                {"spine", 0, {0, 1, 0}},
                                {"chest", 1, {0, 2, 0}},
                                {"neck", 2, {0, 3, 0}},
                                {"arm.L", 2, {1, 2, 0}},
                                {"hand,L", 4, {2, 2, 0}},
                                {"arm=R", 2, {-1, 2, 0}},
                                {"leg..1", 0, {0, -1, 0}}});
    for (std::uint32_t j = 0; j < c.joints.size(); ++j) addPointAt(c, j);
    return c;
}

AutoRig rigOver(const Character& c, const std::string& chains, bool simple = false) {
    AutoBlockOptions options;
    options.chains = chains;
    options.simple = simple;
    return buildAutoRig(c, options);
}

std::string fault(const Character& c, const std::string& chains) {
    try {
        rigOver(c, chains);
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kUsage);
        return error.what();
    }
    return {};
}

std::size_t pointOf(const Character&, std::size_t joint) {
    return joint; // one point per joint, in their order
}

TEST(ChosenChains, AreBuiltAsNamedInTheirOrder) {
    const Character c = figure();
    const AutoRig rig = rigOver(c, " arm = arm.L .. hand\\,L ,\n\nspine=hips..neck,r=arm\\=R,leg=leg\\..1\n");
    ASSERT_EQ(rig.blocks.size(), 4u);
    EXPECT_EQ(rig.blocks[0].name, "arm");
    EXPECT_EQ(shortNames(rig.blocks[0].joints), (Names{"arm.L", "hand,L", "end"}));
    EXPECT_EQ(rig.blocks[0].joints[0], "arm/arm.L");
    EXPECT_EQ(rig.blocks[1].name, "spine");
    EXPECT_EQ(shortNames(rig.blocks[1].joints), (Names{"hips", "spine", "chest", "neck", "end"}));
    EXPECT_EQ(shortNames(rig.blocks[2].joints), (Names{"arm=R", "end"}));
    EXPECT_EQ(shortNames(rig.blocks[3].joints), (Names{"leg..1", "end"}));
    EXPECT_TRUE(rig.notes.empty());
    for (const double left : rig.shareLeftBehind()) EXPECT_EQ(left, 0.0);
}

TEST(ChosenChains, AJointBelongsToTheChainThatArrivesAtIt) {
    const Character c = figure();
    const AutoRig rig =
        rigOver(c, "arm=chest..hand\\,L,spine=hips..neck,leg=hips..leg\\..1,other=chest..arm\\=R");
    const auto weight = [&](std::size_t block, std::size_t joint) {
        return rig.blocks[block].weights[pointOf(c, joint)];
    };
    EXPECT_EQ(weight(0, 2), 0.0f); // the chest is the spine's, though the arm starts with it
    EXPECT_EQ(weight(1, 2), 1.0f);
    EXPECT_EQ(weight(3, 2), 0.0f);
    EXPECT_EQ(weight(1, 0), 1.0f); // the hips: the first chain that starts with them
    EXPECT_EQ(weight(2, 0), 0.0f);
    EXPECT_EQ(weight(0, 4), 1.0f);
    EXPECT_EQ(weight(2, 7), 1.0f);
    EXPECT_EQ(weight(3, 6), 1.0f);
}

TEST(ChosenChains, JointsInNoneGiveTheirPointsToTheJointAbove) {
    const Character c = figure();
    const AutoRig rig = rigOver(c, "upper=spine..chest");
    ASSERT_EQ(rig.blocks.size(), 1u);
    for (const std::size_t joint : {1u, 2u, 3u, 4u, 5u, 6u})
        EXPECT_EQ(rig.blocks[0].weights[pointOf(c, joint)], 1.0f) << joint;
    for (const std::size_t joint : {0u, 7u})
        EXPECT_EQ(rig.blocks[0].weights[pointOf(c, joint)], 0.0f) << joint;
    EXPECT_EQ(rig.notes, (Names{"joint 'hips' is in no chain: its points stay where they are",
                                "joint 'neck' is in no chain: its points go with 'chest'",
                                "joint 'arm.L' is in no chain: its points go with 'chest'",
                                "joint 'hand,L' is in no chain: its points go with 'chest'",
                                "joint 'arm=R' is in no chain: its points go with 'chest'",
                                "joint 'leg..1' is in no chain: its points stay where they are"}));
}

TEST(ChosenChains, WhatCannotBeFollowedIsNamed) {
    const Character c = figure();
    const std::string cure = "; write NAME=FIRST..LAST or NAME=JOINT, with commas in between";
    EXPECT_EQ(fault(c, " \n,"), "--blocks: no chain; write NAME=FIRST..LAST,…");
    EXPECT_EQ(fault(c, "a"), "--blocks: cannot read chain 1 'a'" + cure);
    EXPECT_EQ(fault(c, "=hips"), "--blocks: cannot read chain 1" + cure);
    EXPECT_EQ(fault(c, "a="), "--blocks: cannot read chain 1 'a'" + cure);
    EXPECT_EQ(fault(c, "a=hips..,b=neck"), "--blocks: cannot read chain 1 'a'" + cure);
    EXPECT_EQ(fault(c, "b=neck,a=hips..spine..neck"), "--blocks: cannot read chain 2 'a'" + cure);
    EXPECT_EQ(fault(c, "a=hips=neck"), "--blocks: cannot read chain 1 'a'" + cure);
    EXPECT_EQ(fault(c, "a=hips,a=neck"), "--blocks: chain 'a' is given twice");
    EXPECT_EQ(fault(c, "a=hips..tail"),
              "--blocks: chain 'a': 'made.glb' has no joint 'tail'; see grhost info");
    EXPECT_EQ(fault(c, "a=neck..hips"), "--blocks: chain 'a': joint 'hips' does not lie below 'neck'");
    EXPECT_EQ(fault(c, "a=hips..neck,b=spine..chest"),
              "--blocks: joint 'chest' lies inside two chains, 'a' and 'b'");
    EXPECT_EQ(fault(c, "a=hips..neck,b=chest"), "--blocks: chain 'b': its only joint belongs to chain 'a'");
}

TEST(ChosenChains, KeepToTheLimitsOfABlock) {
    std::vector<Bone> bones;
    for (int j = 0; j < 12; ++j) bones.push_back({"j" + std::to_string(j), j - 1, {1.0 * j, 0, 0}});
    Character c = makeSkeleton(bones);
    for (std::uint32_t j = 0; j < 12; ++j) addPointAt(c, j);
    EXPECT_EQ(rigOver(c, "a=j0..j8").blocks[0].joints.size(), 10u);
    EXPECT_EQ(fault(c, "a=j0..j9"),
              "--blocks: chain 'a' has 11 records with its end, 10 at most; cut it in two "
              "that share a joint, or use --simple (30)");
    EXPECT_EQ(rigOver(c, "a=j0..j11", true).blocks[0].joints.size(), 13u);
    EXPECT_EQ(rigOver(c, "a=j0..j5,b=j5..j11").blocks.size(), 2u);
}

} // namespace
