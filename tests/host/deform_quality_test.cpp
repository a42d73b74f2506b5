// SPDX-License-Identifier: Apache-2.0
// The measures against figures worked out by hand on a cube and on two triangles.
#include "host/character/deform_quality.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace talvisora;
using namespace talvisora::host;

constexpr double kPi = 3.14159265358979323846;

/// Unit cube, outward triangles; volume 1, diagonal sqrt(3).
std::vector<Vec3d> cube() {
    return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
}
std::vector<Triangle> cubeTriangles() {
    return {{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}, {0, 1, 5}, {0, 5, 4},
            {1, 2, 6}, {1, 6, 5}, {2, 3, 7}, {2, 7, 6}, {3, 0, 4}, {3, 4, 7}};
}

/// Two triangles that share the edge (0, 0, 0) to (0, 0, 1), the second one turned up by an angle.
std::vector<Vec3d> hinge(double angle) {
    return {{0, 0, 0}, {0, 0, 1}, {-1, 0, 0}, {std::cos(angle), std::sin(angle), 0}};
}
std::vector<Triangle> hingeTriangles() {
    return {{0, 1, 2}, {1, 0, 3}};
}

std::vector<Vec3d> scaled(std::vector<Vec3d> points, double factor) {
    for (Vec3d& p : points) p = p * factor;
    return points;
}

TEST(DeformQuality, EqualDeformationsHaveNoDistanceAndRestHasNoCrease) {
    DeformQuality quality(cube(), cubeTriangles());
    quality.addFrame(cube(), cube());
    const QualityReport report = quality.report();
    EXPECT_EQ(report.frames, 1u);
    EXPECT_DOUBLE_EQ(report.diagonal, std::sqrt(3.0));
    EXPECT_EQ(report.rmsPercent, 0.0);
    EXPECT_EQ(report.maxPercent, 0.0);
    EXPECT_EQ(report.deformed.creaseDegrees, 0.0);
    EXPECT_EQ(report.deformed.hardFolds, 0u);
    EXPECT_NEAR(report.deformed.edgeLow, 1.0, 1e-9);
    EXPECT_NEAR(report.deformed.edgeHigh, 1.0, 1e-9);
    EXPECT_DOUBLE_EQ(report.deformed.volumeLow, 1.0);
}

TEST(DeformQuality, DistanceIsAShareOfTheDiagonalOverPointsAndFrames) {
    DeformQuality quality(cube(), cubeTriangles());
    std::vector<Vec3d> moved = cube();
    moved[5].x += 0.3; // one of eight points, in one of two frames
    quality.addFrame(cube(), cube());
    quality.addFrame(moved, cube());
    const QualityReport report = quality.report();
    EXPECT_NEAR(report.maxPercent, 100.0 * 0.3 / std::sqrt(3.0), 1e-9);
    EXPECT_NEAR(report.rmsPercent, 100.0 * 0.3 / std::sqrt(16.0) / std::sqrt(3.0), 1e-9);
    EXPECT_EQ(report.maxPoint, 5u);
    EXPECT_EQ(report.maxFrame, 1u);
}

TEST(DeformQuality, FoldsPastFortyDegreesAreHardAndCountedPerFrame) {
    DeformQuality quality(hinge(0.0), hingeTriangles());
    for (const double degrees : {39.0, 41.0, 90.0})
        quality.addFrame(hinge(degrees * kPi / 180.0), hinge(0.0));
    const QualityReport report = quality.report();
    EXPECT_EQ(report.deformed.hardFolds, 2u);
    EXPECT_EQ(report.reference.hardFolds, 0u);
    EXPECT_NEAR(report.deformed.creaseDegrees, std::sqrt((39.0 * 39 + 41.0 * 41 + 90.0 * 90) / 3.0), 1e-6);
}

TEST(DeformQuality, CreasesAreTakenAgainstRestAndNotAgainstFlat) {
    DeformQuality quality(hinge(0.5), hingeTriangles());
    quality.addFrame(hinge(0.5), hinge(0.75));
    EXPECT_NEAR(quality.report().deformed.creaseDegrees, 0.0, 1e-6);
    EXPECT_NEAR(quality.report().reference.creaseDegrees, 0.25 * 180.0 / kPi, 1e-6);
}

TEST(DeformQuality, EdgesAndVolumeScaleAsTheMeshDoes) {
    DeformQuality quality(cube(), cubeTriangles());
    quality.addFrame(scaled(cube(), 2.0), scaled(cube(), 0.5));
    quality.addFrame(scaled(cube(), 1.5), scaled(cube(), 0.5));
    const QualityReport report = quality.report();
    EXPECT_NEAR(report.deformed.edgeHigh, 2.0, 0.002); // percentiles are kept to 0.1 %
    EXPECT_NEAR(report.deformed.edgeLow, 1.5, 0.002);
    EXPECT_NEAR(report.deformed.volumeHigh, 8.0, 1e-9);
    EXPECT_NEAR(report.deformed.volumeLow, 3.375, 1e-9);
    EXPECT_NEAR(report.reference.edgeLow, 0.5, 0.001);
    EXPECT_NEAR(report.reference.volumeHigh, 0.125, 1e-9);
}

TEST(DeformQuality, PointsThatAreNotFiniteAreCountedAndNothingElse) {
    DeformQuality quality(cube(), cubeTriangles());
    std::vector<Vec3d> broken = cube();
    broken[3].y = std::nan("");
    quality.addFrame(broken, cube());
    const QualityReport report = quality.report();
    EXPECT_EQ(report.deformed.brokenPoints, 1u);
    EXPECT_EQ(report.rmsPercent, 0.0);
    EXPECT_TRUE(std::isfinite(report.deformed.creaseDegrees));
}

TEST(DeformQuality, NothingAtAllIsNoFault) {
    DeformQuality quality({}, {});
    quality.addFrame({}, {});
    EXPECT_EQ(quality.report().rmsPercent, 0.0);
    EXPECT_EQ(quality.report().deformed.edgeHigh, 1.0);
}

} // namespace
