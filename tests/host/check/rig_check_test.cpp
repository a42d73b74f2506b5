// SPDX-License-Identifier: Apache-2.0
// What a check must find, on rigs small enough to say it beforehand: a strip of points along x, ten apart,
// over a chain of eleven unit steps.
#include "host/check/rig_check.h"

#include "host/made_character.h"

#include <gtest/gtest.h>

#include <limits>

namespace talvisora::host {
namespace {

// Two rows of five points at x = 0, 10, … 40; y = 0 and 10.
Character strip() {
    Character c = made_character::makeSkeleton({{"root", -1, {0, 0, 0}}, {"end", 0, {40, 0, 0}}});
    CharacterMesh mesh;
    for (std::uint32_t p = 0; p < 10; ++p) {
        const Vec3d at{10.0 * (p / 2), 10.0 * (p % 2), 0.0};
        made_character::addPoint(c, at, {{0, 1.0}});
        mesh.positions.push_back(at);
        mesh.pointOfVertex.push_back(p);
    }
    for (std::uint32_t p = 0; p + 3 < 10; p += 2) {
        mesh.triangles.push_back({p, p + 1, p + 2});
        mesh.triangles.push_back({p + 2, p + 1, p + 3});
    }
    c.meshes.push_back(mesh);
    return c;
}

RigRecord record(const std::string& name, const std::string& parent, double x) {
    RigRecord r;
    r.name = name;
    r.parent = parent;
    setTranslation(r.restLocal, {x, 0, 0});
    r.local = r.restLocal;
    return r;
}

// One block per list of weights, all over root and end, params rising with x.
AutoRig rigOf(const std::vector<std::vector<float>>& weights) {
    AutoRig rig;
    rig.records = {record("root", "", 0), record("end", "root", 40)};
    for (std::size_t b = 0; b < weights.size(); ++b) {
        RigBlock block;
        block.name = std::string(1, static_cast<char>('a' + b));
        block.joints = {"root", "end"};
        block.weights = weights[b];
        for (std::size_t p = 0; p < weights[b].size(); ++p)
            block.params.push_back(0.25f * static_cast<float>(p / 2));
        rig.blocks.push_back(block);
    }
    return rig;
}

using Points = std::vector<std::uint32_t>;
const std::vector<float> kAll(10, 1.0f), kNone(10, 0.0f);

TEST(RigCheck, FindsNothingWhereOneBlockTakesAll) {
    const AutoRig rig = rigOf({kAll});
    EXPECT_TRUE(checkChains(rig).empty());
    EXPECT_TRUE(checkLeftBehind(rig, {}).empty());
    EXPECT_TRUE(checkCovered(rig).empty());
    EXPECT_TRUE(checkParamJumps(strip(), rig).empty());
}

TEST(RigCheck, FindsPointsLeftBehindAlthoughTheirWeightsSumToOne) {
    std::vector<float> first = kAll, second = kNone;
    first[3] = 0.5f, second[3] = 0.5f;     // leaves a quarter
    first[4] = 0.999f, second[4] = 0.999f; // leaves a millionth
    first[6] = 0.25f;                      // known to float
    const std::vector<Finding> found = checkLeftBehind(rigOf({first, second}), {6});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].kind, FindingKind::kLeftBehind);
    EXPECT_EQ(found[0].points, (Points{3}));
}

TEST(RigCheck, FindsWeightsThatLaterBlocksCover) {
    std::vector<float> first = kAll, second = kNone, third = kNone;
    second[2] = 1.0f;                     // covers the first
    second[5] = 0.75f;                    // leaves a quarter of it
    third[7] = 1.0f, second[7] = 0.5f;    // covers both
    first[8] = 0.0005f, second[8] = 1.0f; // nothing to speak of
    AutoRig rig = rigOf({first, second, third});
    const std::vector<Finding> found = checkCovered(rig);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].block, "a");
    EXPECT_EQ(found[0].points, (Points{2, 7}));
    EXPECT_EQ(found[1].block, "b");
    EXPECT_EQ(found[1].points, (Points{7}));

    rig.blocks[1].env = rig.blocks[2].env = 0.5f; // half envelopes cover nothing
    EXPECT_TRUE(checkCovered(rig).empty());
}

TEST(RigCheck, ActingSharesAreWhatLaterBlocksLeave) {
    std::vector<float> first = kAll, second = kNone;
    second[0] = 0.75f;
    AutoRig rig = rigOf({first, second});
    EXPECT_DOUBLE_EQ(actingShares(rig)[0][0], 0.25);
    EXPECT_DOUBLE_EQ(actingShares(rig)[1][0], 0.75);
    rig.blocks[1].env = 0.5f;
    EXPECT_DOUBLE_EQ(actingShares(rig)[0][0], 0.625);
    EXPECT_DOUBLE_EQ(actingShares(rig)[1][0], 0.375);
}

TEST(RigCheck, FindsParametersThatJumpAlongAnEdge) {
    // The chain is 40 long, edges are 10 to 14: no difference of parameters can be eight edges.
    AutoRig rig = rigOf({kAll});
    rig.blocks[0].params[4] = 1.0f;
    EXPECT_TRUE(checkParamJumps(strip(), rig).empty());

    // Ten times the chain: 0.25 per column is ten edges' lengths and just not more than the part allowed;
    // half the curve between two columns is twenty.
    setTranslation(rig.records[1].restLocal, {400, 0, 0});
    rig.blocks[0].params = {0, 0, 0.25f, 0.25f, 0.5f, 0.5f, 0.75f, 0.75f, 1, 1};
    EXPECT_TRUE(checkParamJumps(strip(), rig).empty());
    rig.blocks[0].params = {0, 0, 0, 0, 0, 0, 0.5f, 0.5f, 0.5f, 0.5f};
    std::vector<Finding> found = checkParamJumps(strip(), rig);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].kind, FindingKind::kParamJump);
    EXPECT_EQ(found[0].block, "a");
    EXPECT_EQ(found[0].points, (Points{4, 5, 6, 7}));

    // Where the block hardly moves one end, nobody sees it.
    for (const std::size_t p : {4u, 5u}) rig.blocks[0].weights[p] = 0.05f;
    EXPECT_TRUE(checkParamJumps(strip(), rig).empty());
}

TEST(RigCheck, FindsChainsThatTheModuleRefuses) {
    const auto chainOf = [](std::size_t joints, bool simple) {
        AutoRig rig = rigOf({kAll});
        rig.blocks[0].joints.assign(joints, "root");
        rig.blocks[0].simple = simple;
        return checkChains(rig).size();
    };
    EXPECT_EQ(chainOf(1, false), 1u);
    EXPECT_EQ(chainOf(1, true), 1u);
    EXPECT_EQ(chainOf(2, false), 0u);
    EXPECT_EQ(chainOf(10, false), 0u);
    EXPECT_EQ(chainOf(11, false), 1u);
    EXPECT_EQ(chainOf(30, true), 0u);
    EXPECT_EQ(chainOf(31, true), 1u);
    EXPECT_EQ(checkChains(AutoRig{}).size(), 1u) << "no blocks at all";
}

TEST(RigCheck, FindsPointsAtNoFinitePlace) {
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(checkFinite({{0, 0, 0}, {1e300, 0, 0}}).empty());
    const std::vector<Finding> found = checkFinite({{0, 0, 0}, {0, nan, 0}, {1, 1, 1}, {0, 0, -inf}});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].points, (Points{1, 3}));
}

} // namespace
} // namespace talvisora::host
