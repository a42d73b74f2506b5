// SPDX-License-Identifier: Apache-2.0
// The four measures against shapes whose answers are known, and the limbs that they are taken on.
#include "host/quality/crossings.h"
#include "host/quality/measures.h"
#include "host/quality/trials.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

namespace talvisora::host {
namespace {

constexpr double kPi = 3.14159265358979323846;

const std::vector<Triangle> kCube = {{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}, {0, 1, 5}, {0, 5, 4},
                                     {1, 2, 6}, {1, 6, 5}, {2, 3, 7}, {2, 7, 6}, {3, 0, 4}, {3, 4, 7}};

std::vector<Vec3d> cube(const Vec3d& at, double size) {
    std::vector<Vec3d> points;
    for (const double z : {0.0, 1.0})
        for (const auto& [x, y] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}})
            points.push_back(at + Vec3d{x, y, z} * size);
    return points;
}

std::size_t crossingCount(const std::vector<Vec3d>& points, const std::vector<Triangle>& triangles) {
    const auto found = crossingTriangles(points, triangles);
    return static_cast<std::size_t>(std::count(found.begin(), found.end(), true));
}

TEST(EnclosedVolume, OfACubeIsItsSideCubedWhereverItStands) {
    EXPECT_NEAR(enclosedVolume(cube({}, 2.0), kCube), 8.0, 1e-12);
    EXPECT_NEAR(enclosedVolume(cube({1e6, -1e6, 1e6}, 2.0), kCube), 8.0, 1e-6);
    auto inside = kCube;
    for (Triangle& t : inside) std::swap(t[0], t[1]);
    EXPECT_NEAR(enclosedVolume(cube({}, 2.0), inside), -8.0, 1e-12);
}

TEST(RingArea, OfAPolygonIsItsOwnAndAFigureOfEightHasNone) {
    std::vector<Vec3d> points;
    std::vector<std::uint32_t> ring;
    for (std::uint32_t k = 0; k < 12; ++k) {
        const double a = 2.0 * kPi * k / 12;
        points.push_back({5.0, 3.0 * std::cos(a), 2.0 * std::sin(a)});
        ring.push_back(k);
    }
    EXPECT_NEAR(ringArea(points, ring), 12.0 / 2.0 * 6.0 * std::sin(2.0 * kPi / 12), 1e-12);
    const std::vector<Vec3d> eight = {{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}};
    EXPECT_NEAR(ringArea(eight, {0, 1, 2, 3}), 0.0, 1e-15);
}

TEST(TrianglesCross, OnlyWhenAnEdgeGoesThrough) {
    const Vec3d flat[3] = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}};
    const Vec3d through[3] = {{1, 1, -1}, {1, 1, 1}, {5, 5, 0.5}};
    const Vec3d beside[3] = {{3, 3, -1}, {3, 3, 1}, {5, 5, 0.5}};
    const Vec3d above[3] = {{1, 1, 0.1}, {1, 1, 1}, {5, 5, 0.5}};
    const Vec3d touching[3] = {{1, 1, 0}, {1, 1, 1}, {5, 5, 0.5}};
    const Vec3d inPlane[3] = {{1, 1, 0}, {6, 1, 0}, {1, 6, 0}};
    // Goes through with its face: the other one's edge pierces it.
    const Vec3d around[3] = {{-9, 1, -9}, {9, 1, -9}, {0, 1, 9}};
    EXPECT_TRUE(trianglesCross(flat, through));
    EXPECT_TRUE(trianglesCross(through, flat));
    EXPECT_TRUE(trianglesCross(flat, around));
    EXPECT_FALSE(trianglesCross(flat, beside));
    EXPECT_FALSE(trianglesCross(flat, above));
    EXPECT_FALSE(trianglesCross(flat, touching));
    EXPECT_FALSE(trianglesCross(flat, inPlane));
}

TEST(CrossingTriangles, TwoCubesCrossWhereTheirSurfacesDo) {
    auto points = cube({}, 1.0);
    const auto both = [&](const Vec3d& at) {
        auto all = points;
        for (const Vec3d& p : cube(at, 1.0)) all.push_back(p);
        auto faces = kCube;
        for (const Triangle& t : kCube) faces.push_back({t[0] + 8, t[1] + 8, t[2] + 8});
        return crossingCount(all, faces);
    };
    EXPECT_EQ(crossingCount(points, kCube), 0u);
    EXPECT_EQ(both({3.0, 0.0, 0.0}), 0u);
    EXPECT_GT(both({0.51, 0.43, 0.37}), 6u);
    EXPECT_EQ(both({1e-3, 1e-3, 1e-3}) > 0, true);
}

// One common corner: the fan folds through itself only when the opposite edge goes through.
TEST(CrossingTriangles, NeighboursWithOneCommonCornerAreTested) {
    std::vector<Vec3d> points = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {2, 1, -1}, {2, 1, 1}};
    EXPECT_EQ(crossingCount(points, {{0, 1, 2}, {0, 3, 4}}), 2u);
    points[3] = {2, 1, 0.5};
    EXPECT_EQ(crossingCount(points, {{0, 1, 2}, {0, 3, 4}}), 0u);
    // Two common corners never count, however far they fold.
    EXPECT_EQ(crossingCount(points, {{0, 1, 2}, {0, 1, 3}}), 0u);
}

TEST(CrossingTriangles, TheTreeFindsWhatTestingEveryPairFinds) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(0.0, 10.0), small(-0.8, 0.8);
    std::vector<Vec3d> points;
    std::vector<Triangle> triangles;
    for (std::uint32_t t = 0; t < 400; ++t) {
        const Vec3d at{place(random), place(random), place(random)};
        for (int k = 0; k < 3; ++k) points.push_back(at + Vec3d{small(random), small(random), small(random)});
        triangles.push_back({3 * t, 3 * t + 1, 3 * t + 2});
    }
    points[30].x = NAN; // triangle 10 crosses nothing
    std::vector<bool> expected(triangles.size(), false);
    for (std::size_t s = 0; s < triangles.size(); ++s) {
        for (std::size_t t = s + 1; t < triangles.size(); ++t) {
            if (s == 10 || t == 10) continue;
            const Vec3d a[3] = {points[3 * s], points[3 * s + 1], points[3 * s + 2]};
            const Vec3d b[3] = {points[3 * t], points[3 * t + 1], points[3 * t + 2]};
            if (trianglesCross(a, b)) expected[s] = expected[t] = true;
        }
    }
    EXPECT_GT(std::count(expected.begin(), expected.end(), true), 20);
    EXPECT_EQ(crossingTriangles(points, triangles), expected);
}

TEST(Limbs, AreClosedWholeAndQuietAtRest) {
    for (const Trial& trial : allTrials()) {
        const Limb limb = makeLimb(trial.shape);
        const Character& c = limb.character;
        const auto triangles = c.pointTriangles();
        // Every edge has two sides, run through once each way.
        std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
        for (const Triangle& t : triangles)
            for (std::size_t k = 0; k < 3; ++k) ++edges[{t[k], t[(k + 1) % 3]}];
        for (const auto& [edge, count] : edges) {
            EXPECT_EQ(count, 1);
            EXPECT_EQ(edges.count({edge.second, edge.first}), 1u);
        }
        EXPECT_GT(enclosedVolume(c.points, triangles), 0.0) << "faces look outwards";
        for (std::size_t p = 0; p < c.points.size(); ++p) {
            double sum = 0.0;
            for (std::uint32_t i = c.influenceStart[p]; i < c.influenceStart[p + 1]; ++i)
                sum += c.influences[i].weight;
            ASSERT_NEAR(sum, 1.0, 1e-12);
        }
        const LimbMeasures m = measureLimb(limb, c.points);
        EXPECT_EQ(m.volume, 1.0);
        EXPECT_EQ(m.crossSection, 1.0);
        EXPECT_EQ(m.edgeStretch, 1.0);
        EXPECT_EQ(m.crossingFaces, 0u);
        EXPECT_EQ(m.brokenPoints, 0u);
    }
}

// Everything twice as large: volume by 8, sections by 4, edges by 2; squeezed flat: no volume, no section.
TEST(Limbs, MeasuresFollowScale) {
    const Limb limb = makeLimb(allTrials().front().shape);
    std::vector<Vec3d> twice, flat;
    for (const Vec3d& p : limb.character.points) {
        twice.push_back(p * 2.0);
        flat.push_back({p.x, p.y, 0.0});
    }
    const LimbMeasures large = measureLimb(limb, twice), thin = measureLimb(limb, flat);
    EXPECT_NEAR(large.volume, 8.0, 1e-9);
    EXPECT_NEAR(large.crossSection, 4.0, 1e-9);
    EXPECT_NEAR(large.edgeStretch, 2.0, 1e-9);
    EXPECT_NEAR(thin.volume, 0.0, 1e-9);
    EXPECT_NEAR(thin.crossSection, 0.0, 1e-9);
    flat[7].x = NAN;
    EXPECT_EQ(measureLimb(limb, flat).brokenPoints, 1u);
}

// The elbow turned by 90 degrees lifts the end joint as high as the forearm is long.
TEST(Limbs, PosesTurnWhatIsBehindTheJoint) {
    const Limb limb = makeLimb(allTrials().front().shape);
    const Pose pose = poseLimb(limb, {{}, {90.0, 0.0}, {}});
    const Vec3d end = translation(pose.world[2]);
    EXPECT_NEAR(end.x, 19.0, 1e-12);
    EXPECT_NEAR(end.y, 19.0, 1e-12);
    const Pose longer = poseLimb(limb, {{}, {90.0, 0.0}, {}}, 2.0);
    EXPECT_NEAR(translation(longer.world[2]).y, 38.0, 1e-12);
    // A twist alone leaves the bone where it is and turns y into z.
    const Pose twisted = poseLimb(limb, {{}, {0.0, 90.0}, {}});
    EXPECT_NEAR(translation(twisted.world[2]).x, 38.0, 1e-12);
    EXPECT_NEAR(row(twisted.world[1], 1).z, 1.0, 1e-12);
}

} // namespace
} // namespace talvisora::host
