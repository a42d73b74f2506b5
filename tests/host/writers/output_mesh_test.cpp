// SPDX-License-Identifier: Apache-2.0
// What writers and pictures derive from meshes, on shapes whose answers are plain.
#include "host/writers/output_mesh.h"

#include "host/writers/sample_meshes.h"

#include <cmath>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

OutputMesh single(std::vector<std::uint32_t> counts, std::vector<std::uint32_t> corners,
                  std::uint32_t vertices) {
    OutputMesh mesh;
    for (std::uint32_t v = 0; v < vertices; ++v) mesh.pointOfVertex.push_back(v);
    mesh.faceCounts = std::move(counts);
    mesh.faceVertices = std::move(corners);
    return mesh;
}

TEST(OutputMesh, PolygonsBecomeFansAndEdgesNothing) {
    const OutputMesh mesh = single({5, 2, 1, 0, 3}, {4, 3, 2, 1, 0, 7, 8, 9, 5, 6, 7}, 10);
    EXPECT_EQ(triangulate(mesh), (std::vector<std::uint32_t>{4, 3, 2, 4, 2, 1, 4, 1, 0, 5, 6, 7}));
}

TEST(OutputMesh, EveryCornerOfATriangleGetsItsNormal) {
    std::vector<Vec3d> normals;
    smoothNormals({single({3}, {0, 1, 2}, 3)}, {{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}, normals);
    ASSERT_EQ(normals.size(), 3u);
    for (const Vec3d& normal : normals) EXPECT_EQ(normal, (Vec3d{0, 0, 1}));
}

TEST(OutputMesh, NormalsAreWeightedByArea) {
    // At the shared edge meet an upright face of area 4 and a level one of area 1.
    const std::vector<Vec3d> points{{0, 0, 0}, {1, 0, 0}, {0, 0, -2}, {0, 8, 0}};
    std::vector<Vec3d> normals;
    smoothNormals({single({3, 3}, {0, 1, 2, 0, 1, 3}, 4)}, points, normals);
    const double l = std::sqrt(17.0);
    EXPECT_NEAR(normals[0].y, 1.0 / l, 1e-15);
    EXPECT_NEAR(normals[0].z, 4.0 / l, 1e-15);
    EXPECT_EQ(normals[2], (Vec3d{0, 1, 0}));
    EXPECT_EQ(normals[3], (Vec3d{0, 0, 1}));
}

TEST(OutputMesh, PointsWithoutAFaceOrWithABrokenOneHaveNoNormal) {
    const std::vector<Vec3d> points{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, std::nan(""), 0}, {5, 5, 5}};
    std::vector<Vec3d> normals;
    smoothNormals({single({3, 3}, {0, 1, 2, 0, 1, 3}, 5)}, points, normals);
    for (const Vec3d& normal : normals) EXPECT_EQ(normal, Vec3d{});
}

TEST(OutputMesh, SeamsShareTheirNormalsAcrossMeshes) {
    std::vector<OutputMesh> meshes{single({3}, {0, 1, 2}, 3), single({3}, {0, 1, 2}, 3)};
    meshes[1].pointOfVertex = {0, 3, 1};
    const std::vector<Vec3d> points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}};
    std::vector<Vec3d> normals;
    smoothNormals(meshes, points, normals);
    EXPECT_EQ(normals[2], (Vec3d{0, 0, 1}));
    EXPECT_EQ(normals[3], (Vec3d{0, -1, 0}));
    EXPECT_NEAR(normals[0].y, -std::sqrt(0.5), 1e-15);
    EXPECT_NEAR(normals[0].z, std::sqrt(0.5), 1e-15);
}

} // namespace
} // namespace talvisora::host
