// SPDX-License-Identifier: Apache-2.0
// Openness of shapes for which it is known: convex bodies hide nothing outside and everything inside, a plate
// close over a plate hides what is between them.
#include "host/picture/occlusion.h"

#include "host/picture/cells.h"
#include "host/writers/output_mesh.h"

#include <cmath>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

struct Body {
    std::vector<Vec3d> points, normals;
    std::vector<std::uint32_t> triangles;
};

Body sphere() {
    Body body;
    constexpr std::uint32_t kRings = 24, kSectors = 48;
    for (std::uint32_t ring = 0; ring <= kRings; ++ring) {
        for (std::uint32_t sector = 0; sector < kSectors; ++sector) {
            const double polar = 3.14159265358979 * ring / kRings,
                         turn = 6.28318530717959 * sector / kSectors;
            body.points.push_back(
                {std::sin(polar) * std::cos(turn), std::cos(polar), std::sin(polar) * std::sin(turn)});
        }
    }
    for (std::uint32_t ring = 0; ring < kRings; ++ring) {
        for (std::uint32_t sector = 0; sector < kSectors; ++sector) {
            const std::uint32_t a = ring * kSectors + sector, b = ring * kSectors + (sector + 1) % kSectors;
            for (const std::uint32_t i : {a, b, b + kSectors, a, b + kSectors, a + kSectors})
                body.triangles.push_back(i);
        }
    }
    body.normals = body.points;
    return body;
}

TEST(Openness, SphereIsOpenOutsideAndClosedInside) {
    const Body body = sphere();
    const Vec3d key = normalise({0.3, 0.8, 0.5});
    const std::vector<Openness> open = openness(body.points, body.normals, body.triangles, key);
    ASSERT_EQ(open.size(), body.points.size());
    for (std::size_t i = 0; i < open.size(); ++i) {
        // Flat facets stand off a little from the round normals at their corners.
        EXPECT_GE(open[i].around[0], 0.97f) << i;
        EXPECT_LE(open[i].around[1], 0.03f) << i;
        if (dot(body.normals[i], key) > 0.3) {
            EXPECT_EQ(open[i].key[0], 1.0f) << i;
        }
        if (dot(body.normals[i], key) < -0.4) {
            EXPECT_LE(open[i].key[1], 0.1f) << "the inside opposite the light " << i;
        }
    }
}

// Two level plates over each other, normals upwards; 13 × 13 points each, the upper one comes second.
Body plates(double distance) {
    Body body;
    constexpr std::uint32_t kSide = 13;
    for (const double height : {0.0, distance}) {
        const auto first = static_cast<std::uint32_t>(body.points.size());
        for (std::uint32_t i = 0; i < kSide * kSide; ++i) {
            body.points.push_back(
                {-1.0 + 2.0 * (i % kSide) / (kSide - 1), height, -1.0 + 2.0 * (i / kSide) / (kSide - 1.0)});
            body.normals.push_back({0.0, 1.0, 0.0});
            if (i % kSide == kSide - 1 || i / kSide == kSide - 1) continue;
            const std::uint32_t a = first + i;
            for (const std::uint32_t k : {a, a + kSide, a + kSide + 1, a, a + kSide + 1, a + 1})
                body.triangles.push_back(k);
        }
    }
    return body;
}

TEST(Openness, PlateCloseAboveHidesTheSky) {
    const Body body = plates(0.2);
    const std::vector<Openness> open = openness(body.points, body.normals, body.triangles, {0.0, 1.0, 0.0});
    const std::size_t lower = 84, upper = 169 + 84; // the middles
    EXPECT_LT(open[lower].around[0], 0.1f) << "under the other plate";
    EXPECT_EQ(open[lower].around[1], 1.0f) << "nothing below it";
    EXPECT_EQ(open[lower].key[0], 0.0f);
    EXPECT_EQ(open[upper].around[0], 1.0f);
    EXPECT_EQ(open[upper].key[0], 1.0f);
    EXPECT_LT(open[upper].around[1], 0.1f);
}

TEST(Openness, DistanceOpensTheView) {
    const Body near = plates(0.3), far = plates(1.5);
    const Vec3d key{0.0, 1.0, 0.0};
    const float nearOpen = openness(near.points, near.normals, near.triangles, key)[84].around[0];
    const float farOpen = openness(far.points, far.normals, far.triangles, key)[84].around[0];
    EXPECT_GT(farOpen, nearOpen + 0.2f);
    // What a parallel square of half side 1 at height h takes away above its middle: four times the form
    // factor of a corner, (1/π)·(1/r)·atan(1/r) with r = √(1 + h²), as tables of form factors have it.
    const double root = std::sqrt(1.0 + 1.5 * 1.5);
    EXPECT_NEAR(farOpen, 1.0 - 4.0 / 3.14159265358979 * (1.0 / root) * std::atan(1.0 / root), 0.08);
}

TEST(Openness, PointsWithoutExtentOrNumberAreOpen) {
    const Vec3d up{0.0, 1.0, 0.0};
    EXPECT_TRUE(openness({}, {}, {}, up).empty());
    const std::vector<Openness> same = openness({{1, 1, 1}, {1, 1, 1}}, {up, up}, {}, up);
    EXPECT_EQ(same[1].around[0], 1.0f);
    const std::vector<Openness> odd = openness({{0, 0, 0}, {1, 0, 0}, {std::nan(""), 0, 0}, {0, HUGE_VAL, 1}},
                                               {up, up, up, {}}, {0, 1, 2, 1, 2, 3}, up);
    for (const Openness& point : odd) EXPECT_EQ(point.around[0], 1.0f);
}

TEST(Cells, SharesSumToOneAndEveryCellOfASquareIsVisited) {
    int visits = 0;
    const auto visit = [&](int column, int row, double a, double b, double c) {
        EXPECT_TRUE(column >= 0 && column < 8 && row >= 0 && row < 8);
        EXPECT_NEAR(a + b + c, 1.0, 1e-12);
        ++visits;
    };
    forEachCell({0.0, 8.0, 8.0}, {0.0, 0.0, 8.0}, 8, 8, visit);
    forEachCell({0.0, 8.0, 0.0}, {0.0, 8.0, 8.0}, 8, 8, visit);
    EXPECT_EQ(visits, 64 + 8) << "the eight cells on the common edge belong to both";
    visits = 0;
    forEachCell({1.0, 1.0, 1.0}, {0.0, 5.0, 9.0}, 8, 8, visit);
    forEachCell({0.0, std::nan(""), 5.0}, {0.0, 5.0, 9.0}, 8, 8, visit);
    forEachCell({0.0, 1e308, 5.0}, {0.0, 5.0, 1e308}, 8, 8, visit);
    forEachCell({20.0, 30.0, 20.0}, {0.0, 5.0, 9.0}, 8, 8, visit);
    EXPECT_EQ(visits, 0);
    forEachCell({-1e9, 1e9, 0.0}, {-1e9, -1e9, 1e9}, 8, 8, visit);
    EXPECT_EQ(visits, 64) << "cut off at the grid";
}

} // namespace
} // namespace talvisora::host
