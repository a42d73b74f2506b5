// SPDX-License-Identifier: Apache-2.0
// Shares on a strip of four points in a row of three triangles: edges 01, 12, 02, 23, 13.
#include "host/bind/distance_weights.h"

#include "host/made_character.h"
#include "host/rig_edit/layers.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using namespace made_character;

Character strip() {
    Character character = makeSkeleton({{"root", -1, {0, 0, 0}}});
    for (const Vec3d& at : {Vec3d{0, 0, 0}, Vec3d{1, 1, 0}, Vec3d{2, 0, 0}, Vec3d{3, 1, 0}})
        addPoint(character, at, {});
    CharacterMesh mesh;
    mesh.pointOfVertex = {0, 1, 2, 3};
    mesh.triangles = {{0, 1, 2}, {1, 2, 3}};
    character.meshes.push_back(mesh);
    return character;
}

RigFile twoBlocks(const std::vector<float>& first, const std::vector<float>& second) {
    RigFile rig;
    rig.blocks.resize(2);
    rig.blocks[0].weights = first;
    rig.blocks[1].weights = second;
    return rig;
}

TEST(SmoothShares, OnePassIsTheMeanOverAPointAndItsNeighbours) {
    RigFile rig = twoBlocks({1, 1, 1, 0}, {0, 0, 0, 1});
    smoothShares(strip(), 1, rig);
    const Layers layers = layersOf(rig.blocks, 4);
    // Point 0 has neighbours 1, 2; points 1 and 2 have three each; point 3 has 1, 2.
    const double second[] = {0.0, 0.25, 0.25, 1.0 / 3.0};
    for (std::size_t p = 0; p < 4; ++p) {
        EXPECT_NEAR(layers.shares[1][p], second[p], 1e-7);
        EXPECT_NEAR(layers.shares[0][p], 1.0 - second[p], 1e-7);
        EXPECT_NEAR(layers.left[p], 0.0, 1e-7) << "a point that was whole stays whole";
    }
}

TEST(SmoothShares, NoPassChangesNoBit) {
    RigFile rig = twoBlocks({0.25f, 1, 0.7f, 0}, {0.1f, 0, 0.3f, 0.5f});
    const RigFile before = rig;
    smoothShares(strip(), 0, rig);
    for (std::size_t b = 0; b < 2; ++b) EXPECT_EQ(rig.blocks[b].weights, before.blocks[b].weights);
}

TEST(SmoothShares, PointsInOnePlaceStayTogether) {
    // A point more at the place of point 3, without an edge, as where a file splits an eyelid.
    Character character = strip();
    addPoint(character, {3, 1, 0}, {});
    RigFile rig = twoBlocks({1, 1, 1, 0, 1}, {0, 0, 0, 1, 0});
    smoothShares(character, 1, rig);
    const Layers layers = layersOf(rig.blocks, 5);
    EXPECT_EQ(rig.blocks[1].weights[3], rig.blocks[1].weights[4]);
    EXPECT_NEAR(layers.shares[1][3], 0.5 / 3.0, 1e-7) << "half of each, then the mean of three places";
}

TEST(SmoothShares, TracesBelowAThousandthAreDroppedAndTheRestTakesTheirPart) {
    RigFile rig = twoBlocks({1, 1, 1, 1}, {0.0009f, 0.0009f, 0.0009f, 0.0009f});
    smoothShares(strip(), 1, rig);
    EXPECT_EQ(rig.blocks[1].weights, std::vector<float>(4, 0.0f));
    EXPECT_EQ(rig.blocks[0].weights, std::vector<float>(4, 1.0f));
    rig = twoBlocks({1, 1, 1, 1}, {0.0011f, 0.0011f, 0.0011f, 0.0011f});
    smoothShares(strip(), 1, rig);
    for (const float weight : rig.blocks[1].weights) EXPECT_NEAR(weight, 0.0011, 1e-8);
}

TEST(SmoothShares, ManyPassesComeToTheMeanByDegree) {
    // The averaging has the stationary weights (neighbours + 1) / sum: 3, 4, 4, 3 of 14.
    RigFile rig = twoBlocks({1, 1, 1, 0}, {0, 0, 0, 1});
    smoothShares(strip(), 200, rig);
    const Layers layers = layersOf(rig.blocks, 4);
    for (std::size_t p = 0; p < 4; ++p) EXPECT_NEAR(layers.shares[1][p], 3.0 / 14.0, 1e-6);
}

} // namespace
} // namespace talvisora::host
