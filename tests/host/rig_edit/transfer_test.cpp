// SPDX-License-Identifier: Apache-2.0
// A rig on one square of two triangles is carried to points inside, beside and far from it; what must come
// out is linear over the square.
#include "host/rig_edit/transfer.h"

#include "host/made_character.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using Points = std::vector<std::uint32_t>;

Character meshOf(const std::vector<Vec3d>& points, const std::vector<Triangle>& triangles) {
    Character c = made_character::makeSkeleton({{"root", -1, {0, 0, 0}}});
    CharacterMesh mesh;
    for (const Vec3d& p : points) {
        mesh.pointOfVertex.push_back(static_cast<std::uint32_t>(made_character::addPoint(c, p, {{0, 1.0}})));
        mesh.positions.push_back(p);
    }
    mesh.triangles = triangles;
    c.meshes.push_back(mesh);
    return c;
}

Character square() {
    return meshOf({{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {10, 10, 0}}, {{0, 1, 2}, {2, 1, 3}});
}

// The first block takes the left edge, the second the right one; parameters are y / 10 in the first and
// constant in the second.
RigFile squareRig() {
    RigFile rig;
    rig.mesh.points = 4;
    RigFileBlock left, right;
    left.name = "left";
    left.weights = {1, 0, 1, 0};
    left.params = {0, 0, 1, 1};
    right.name = "right";
    right.weights = {0, 1, 0, 1};
    right.params = {0.5f, 0.5f, 0.5f, 0.5f};
    rig.blocks = {left, right};
    rig.weightMaps[0] = {0, 1, 0, 1};
    return rig;
}

TEST(TransferRig, IsLinearOverTheSurface) {
    const Character to =
        meshOf({{2.5, 2.5, 0}, {7.5, 7.5, 0.25}, {0, 10, 0}, {12, 5, 0}}, {{0, 1, 2}, {0, 1, 3}});
    RigFile rig = squareRig();
    const TransferResult result = transferRig(rig, square(), to, 3.0);
    EXPECT_TRUE(result.unmatched.empty());
    EXPECT_DOUBLE_EQ(result.farthest, 2.0);
    // Shares: x / 10 for the right block, which acts last; the left one takes all the rest.
    const std::vector<float> right = {0.25f, 0.75f, 0, 1}, first = {1, 1, 1, 0};
    for (std::size_t p = 0; p < 4; ++p) {
        EXPECT_NEAR(rig.blocks[1].weights[p], right[p], 1e-6) << p;
        EXPECT_NEAR(rig.blocks[0].weights[p], first[p], 1e-6) << p;
        EXPECT_NEAR(rig.weightMaps[0][p], right[p], 1e-6) << p;
        EXPECT_NEAR(rig.blocks[1].params[p], 0.5, 1e-6) << p;
    }
    // Point 0 lies in triangle 0, 1, 2 with parts 0.5, 0.25, 0.25: the left block acts at corners 0 and 2
    // only, so its parameter is (0.5 · 0 + 0.25 · 1) / 0.75.
    EXPECT_NEAR(rig.blocks[0].params[0], 1.0 / 3.0, 1e-6);
    EXPECT_NEAR(rig.blocks[0].params[2], 1.0, 1e-6);
}

TEST(TransferRig, TheSameMeshGetsTheSameValues) {
    RigFile rig = squareRig();
    const RigFile old = rig;
    transferRig(rig, square(), square());
    for (std::size_t b = 0; b < 2; ++b)
        for (std::size_t p = 0; p < 4; ++p) {
            EXPECT_FLOAT_EQ(rig.blocks[b].weights[p], old.blocks[b].weights[p]);
            EXPECT_FLOAT_EQ(rig.blocks[b].params[p], old.blocks[b].params[p]);
        }
}

TEST(TransferRig, FillsFarPointsFromTheirNeighboursWaveAfterWave) {
    // 0 and 1 lie on the square; 2 is joined to both, 3 to 2 alone; 4, 5, 6 to nothing that is near.
    const Character to = meshOf(
        {{0, 0, 0}, {10, 0, 0}, {5, 0, 50}, {5, 0, 90}, {0, 0, 99}, {0, 1, 99}, {0, 2, 99}, {5, 1, 91}},
        {{0, 1, 2}, {2, 3, 7}, {4, 5, 6}});
    RigFile rig = squareRig();
    const TransferResult result = transferRig(rig, square(), to);
    EXPECT_EQ(result.unmatched, (Points{2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(result.islands, 3u);
    for (const std::size_t p : {2u, 3u, 7u}) {
        EXPECT_FLOAT_EQ(rig.blocks[0].weights[p], 1.0f) << p;
        EXPECT_FLOAT_EQ(rig.blocks[1].weights[p], 0.5f) << p;
        EXPECT_FLOAT_EQ(rig.weightMaps[0][p], 0.5f) << p;
    }
    EXPECT_FLOAT_EQ(rig.blocks[0].weights[4], 1.0f) << "the closest place of the left edge";
    EXPECT_FLOAT_EQ(rig.blocks[1].weights[4], 0.0f);
}

TEST(TransferRig, TrianglesWithoutAreaGiveTheirNearestCorner) {
    const Character line = meshOf({{0, 0, 0}, {10, 0, 0}, {10, 0, 0}, {10, 10, 0}}, {{0, 1, 2}});
    RigFile rig = squareRig();
    transferRig(rig, line, meshOf({{9, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}), 5.0);
    EXPECT_FLOAT_EQ(rig.blocks[0].weights[1], 1.0f);
    EXPECT_FLOAT_EQ(rig.blocks[1].weights[1], 0.0f);
    EXPECT_FLOAT_EQ(rig.blocks[1].weights[0], 1.0f);
}

TEST(TransferRig, RefusesMeshesThatAreNowhereNear) {
    RigFile rig = squareRig();
    EXPECT_THROW(transferRig(rig, square(), meshOf({{0, 0, 900}, {1, 0, 900}, {0, 1, 900}}, {{0, 1, 2}})),
                 HostError);
    EXPECT_THROW(transferRig(rig, meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {}), square()),
                 HostError);
}

} // namespace
} // namespace talvisora::host
