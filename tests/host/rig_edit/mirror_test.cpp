// SPDX-License-Identifier: Apache-2.0
// Shares and weights there and back, names of the two sides, and mirroring on rows of points whose values can
// be written down.
#include "host/rig_edit/mirror.h"

#include "host/made_character.h"
#include "host/rig_edit/layers.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using Names = std::vector<std::string>;
using Points = std::vector<std::uint32_t>;

RigFileBlock blockOf(const std::string& name, std::vector<float> weights, std::vector<float> params) {
    RigFileBlock block;
    block.name = name;
    block.joints = {"root", "end"};
    block.weights = std::move(weights);
    block.params = std::move(params);
    return block;
}

// Points 0 … 4 at x = -2, -1, 0, 1, 2.
Character row() {
    Character c = made_character::makeSkeleton({{"root", -1, {0, 0, 0}}});
    for (int x = -2; x <= 2; ++x) made_character::addPoint(c, {static_cast<double>(x), 0, 0}, {{0, 1.0}});
    return c;
}

RigFile rowRig() {
    RigFile rig;
    rig.path = "row.rig.json";
    rig.mesh.points = 5;
    rig.blocks = {blockOf("spine", {1, 1, 1, 1, 1}, {0.9f, 0.8f, 0.5f, 0.2f, 0.1f}),
                  blockOf("arm_L", {0, 0, 0.5f, 0.25f, 1}, {0, 0, 0, 0.25f, 0.75f}),
                  blockOf("arm_R", {0.5f, 0, 0, 0, 0}, {1, 1, 0.5f, 1, 1})};
    return rig;
}

TEST(RigLayers, SharesGoThereAndBack) {
    const std::vector<RigFileBlock> blocks = {blockOf("a", {1, 0.5f, 0, 1}, {}),
                                              blockOf("b", {0.25f, 0.5f, 0, 1}, {})};
    const Layers layers = layersOf(blocks, 4);
    EXPECT_EQ(layers.shares[0], (std::vector<double>{0.75, 0.25, 0, 0}));
    EXPECT_EQ(layers.shares[1], (std::vector<double>{0.25, 0.5, 0, 1}));
    EXPECT_EQ(layers.left, (std::vector<double>{0, 0.25, 1, 0}));
    std::vector<RigFileBlock> back = blocks;
    for (std::size_t p = 0; p < 4; ++p) setWeights(layers, p, back);
    EXPECT_EQ(back[0].weights, (std::vector<float>{1, 0.5f, 0, 0})) << "what is covered is dropped";
    EXPECT_EQ(back[1].weights, blocks[1].weights);
}

TEST(NamePairs, PartsCountWhereTheyStandByThemselves) {
    const auto other = [](const std::string& name) { return otherSideNames(name, defaultNamePairs()); };
    EXPECT_EQ(other("Leg_L"), (Names{"Leg_R"}));
    EXPECT_EQ(other("Leg_R_01"), (Names{"Leg_L_01"}));
    EXPECT_EQ(other("leg.l"), (Names{"leg.r"}));
    EXPECT_EQ(other("L_Hand"), (Names{"R_Hand"}));
    EXPECT_EQ(other("B_Hip_Left"), (Names{"B_Hip_Right"}));
    EXPECT_EQ(other("upperLeftArm"), (Names{"upperRightArm"}));
    EXPECT_EQ(other("rightArm"), (Names{"leftArm"}));
    for (const char* none : {"Leg_Low", "Leftover", "cleft", "SEALS_", "spine", "bright", "", "GOAL_1x"})
        EXPECT_EQ(other(none), Names()) << none;
}

TEST(NamePairs, AreReadFromText) {
    EXPECT_EQ(parseNamePairs("_L/_R"), (NamePairs{{"_L", "_R"}}));
    EXPECT_EQ(parseNamePairs("a/b,c/d"), (NamePairs{{"a", "b"}, {"c", "d"}}));
    for (const char* wrong : {"", "a", "a/", "/b", "a/b,", "a/b/c", "a/a"})
        EXPECT_THROW(parseNamePairs(wrong), HostError) << wrong;
}

TEST(MirrorRig, TakesTheOtherSidesSharesAndParameters) {
    RigFile rig = rowRig();
    const MirrorResult result = mirrorRig(rig, row());
    EXPECT_EQ(result.pairs, (std::vector<std::pair<std::string, std::string>>{{"arm_L", "arm_R"}}));
    EXPECT_EQ(result.centre, (Names{"spine"}));
    EXPECT_EQ(result.mirrored, 2u);
    EXPECT_EQ(result.seam, 1u);
    EXPECT_TRUE(result.unmatched.empty());
    // The left side stays. Point 0 is now what point 4 is, the arms changed over: all of it arm_R.
    EXPECT_EQ(rig.blocks[0].weights, (std::vector<float>{0, 1, 1, 1, 1}));
    // On the seam half a share of arm_L becomes a quarter for each arm: arm_R 0.25, arm_L 0.25 of the 0.75
    // that it leaves.
    EXPECT_FLOAT_EQ(rig.blocks[1].weights[2], 1.0f / 3.0f);
    EXPECT_EQ(rig.blocks[1].weights[0], 0.0f);
    EXPECT_EQ(rig.blocks[1].weights[3], 0.25f);
    EXPECT_EQ(rig.blocks[2].weights, (std::vector<float>{1, 0.25f, 0.25f, 0, 0}));
    EXPECT_EQ(rig.blocks[0].params, (std::vector<float>{0.1f, 0.2f, 0.5f, 0.2f, 0.1f}));
    EXPECT_EQ(rig.blocks[2].params, (std::vector<float>{0.75f, 0.25f, 0, 1, 1}));
}

TEST(MirrorRig, LeavesNothingBehindThatWasNotLeftBefore) {
    RigFile rig = rowRig();
    mirrorRig(rig, row());
    for (const double left : layersOf(rig.blocks, 5).left) EXPECT_EQ(left, 0.0);
}

TEST(MirrorRig, DoneTwiceChangesNothingMore) {
    RigFile once = rowRig();
    mirrorRig(once, row());
    RigFile twice = once;
    mirrorRig(twice, row());
    for (std::size_t b = 0; b < 3; ++b)
        for (std::size_t p = 0; p < 5; ++p) {
            EXPECT_FLOAT_EQ(once.blocks[b].weights[p], twice.blocks[b].weights[p]) << b << " " << p;
            EXPECT_FLOAT_EQ(once.blocks[b].params[p], twice.blocks[b].params[p]) << b << " " << p;
        }
}

TEST(MirrorRig, GoesTheOtherWayOnRequest) {
    RigFile rig = rowRig();
    MirrorOptions options;
    options.fromPositive = false;
    mirrorRig(rig, row(), options);
    EXPECT_EQ(rig.blocks[2].weights[0], 0.5f);
    EXPECT_EQ(rig.blocks[1].weights[4], 0.5f);
    EXPECT_EQ(rig.blocks[2].weights[4], 0.0f);
}

TEST(MirrorRig, SeamWidthAndWeightMapsCount) {
    RigFile rig = rowRig();
    rig.weightMaps[1] = {0, 0, 0, 0.5f, 1};
    MirrorOptions options;
    options.seam = 1.5;
    const MirrorResult result = mirrorRig(rig, row(), options);
    EXPECT_EQ(result.seam, 3u);
    EXPECT_EQ(result.mirrored, 1u);
    EXPECT_EQ(rig.weightMaps[1], (std::vector<float>{1, 0.25f, 0, 0.25f, 1}));
}

TEST(MirrorRig, ListsPointsWithoutAPartnerAndLeavesThem) {
    Character c = row();
    c.points[1].x = -1.25;
    RigFile rig = rowRig();
    const RigFile old = rig;
    const MirrorResult result = mirrorRig(rig, c);
    EXPECT_EQ(result.unmatched, (Points{1}));
    for (std::size_t b = 0; b < 3; ++b) EXPECT_EQ(rig.blocks[b].weights[1], old.blocks[b].weights[1]);
    MirrorOptions wide;
    wide.tolerance = 0.3;
    wide.seam = 0.1;
    EXPECT_TRUE(mirrorRig(rig, c, wide).unmatched.empty());
}

TEST(MirrorRig, TwinsAreToldApartByTheirNeighbours) {
    // Two points at x = 1 and two at x = -1, one of each joined to what lies above, one to what lies below.
    Character c = made_character::makeSkeleton({{"root", -1, {0, 0, 0}}});
    CharacterMesh mesh;
    const std::vector<Vec3d> at = {{-1, 0, 0},  {-1, 0, 0}, {1, 0, 0}, {1, 0, 0},  {-1, 1, 0},
                                   {-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-2, 0, 0}, {2, 0, 0}};
    for (const Vec3d& p : at) {
        mesh.pointOfVertex.push_back(static_cast<std::uint32_t>(made_character::addPoint(c, p, {{0, 1.0}})));
        mesh.positions.push_back(p);
    }
    mesh.triangles = {{0, 4, 8}, {1, 5, 8}, {2, 6, 9}, {3, 7, 9}};
    c.meshes.push_back(mesh);
    const auto partners = mirrorPartners(c, 0, 0.01);
    EXPECT_EQ(partners[0], 3u);
    EXPECT_EQ(partners[1], 2u);
    EXPECT_EQ(partners[2], 1u);
    EXPECT_EQ(partners[3], 0u);
}

TEST(MirrorRig, RefusesBlocksThatDoNotPair) {
    RigFile lone = rowRig();
    lone.blocks.pop_back();
    EXPECT_THROW(mirrorRig(lone, row()), HostError);
    RigFile unequal = rowRig();
    unequal.blocks[2].joints.push_back("tip");
    EXPECT_THROW(mirrorRig(unequal, row()), HostError);
}

} // namespace
} // namespace talvisora::host
