// SPDX-License-Identifier: Apache-2.0
// The tree of boxes against brute force in long double, and hit counts along rays that graze everything there
// is to graze on closed meshes.
#include "mesh_shapes.h"
#include "scene/mesh_queries.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace {

using headless::MeshQueries;
using headless::MeshTriangle;
using headless::NearestPoint;
using headless::RayHit;
using headless::Vec3d;
using mesh_shapes::Shape;

struct Soup {
    std::vector<Vec3d> points;
    std::vector<MeshTriangle> triangles;
    MeshQueries queries() const { return MeshQueries(points, triangles); }
};

Soup soupOf(const Shape& shape) {
    Soup soup;
    for (const headless::Position& p : shape.points) soup.points.push_back({p.x, p.y, p.z});
    soup.triangles = headless::meshTriangles(shape.counts, shape.vertices);
    return soup;
}

// Triangles of all sizes without any connection, some of them slivers, segments and single points.
Soup looseTriangles(unsigned int seed, int count) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> where(-1.0, 1.0);
    Soup soup;
    for (int i = 0; i < count; ++i) {
        const Vec3d centre{where(random), where(random), where(random)};
        const double size = std::pow(10.0, 2.0 * where(random) - 1.5);
        for (int c = 0; c < 3; ++c) {
            soup.points.push_back({centre[0] + size * where(random), centre[1] + size * where(random),
                                   centre[2] + size * where(random)});
        }
        const std::size_t last = soup.points.size() - 1;
        if (i % 10 == 3) soup.points[last] = soup.points[last - 1];
        if (i % 10 == 7) soup.points[last] = soup.points[last - 1] = soup.points[last - 2];
        soup.triangles.push_back({{3 * i, 3 * i + 1, 3 * i + 2}, i, 0});
    }
    return soup;
}

using Real = long double;
struct Wide {
    Real x, y, z;
};
Wide wide(const Vec3d& v) {
    return {v[0], v[1], v[2]};
}
Wide operator-(Wide a, Wide b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Wide operator+(Wide a, Wide b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Wide operator*(Real s, Wide a) {
    return {s * a.x, s * a.y, s * a.z};
}
Real dot(Wide a, Wide b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Wide cross(Wide a, Wide b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Distance to a triangle by its regions (corner, side, inside), degenerate ones by their sides.
Real distanceTo(Wide p, Wide a, Wide b, Wide c) {
    const auto toSegment = [&](Wide u, Wide v) {
        const Wide d = v - u;
        const Real l = dot(d, d);
        const Real s = l > 0 ? std::clamp(dot(p - u, d) / l, Real(0), Real(1)) : Real(0);
        const Wide e = p - (u + s * d);
        return std::sqrt(dot(e, e));
    };
    Real best = std::min({toSegment(a, b), toSegment(b, c), toSegment(c, a)});
    const Wide n = cross(b - a, c - a);
    const Real area = dot(n, n);
    if (area > 0 && dot(cross(b - a, p - a), n) >= 0 && dot(cross(c - b, p - b), n) >= 0 &&
        dot(cross(a - c, p - c), n) >= 0) {
        best = std::min(best, std::fabs(dot(p - a, n)) / std::sqrt(area));
    }
    return best;
}

Real bruteDistance(const Soup& soup, const Vec3d& p) {
    Real best = std::numeric_limits<Real>::infinity();
    for (const MeshTriangle& t : soup.triangles) {
        best = std::min(best, distanceTo(wide(p), wide(soup.points[static_cast<std::size_t>(t.vertices[0])]),
                                         wide(soup.points[static_cast<std::size_t>(t.vertices[1])]),
                                         wide(soup.points[static_cast<std::size_t>(t.vertices[2])])));
    }
    return best;
}

// Parameters at which the ray meets a triangle's inside, by Cramer's rule; rays through edges are not for it.
std::vector<double> bruteHits(const Soup& soup, const Vec3d& source, const Vec3d& direction, Real from,
                              Real to) {
    std::vector<double> found;
    for (const MeshTriangle& t : soup.triangles) {
        const Wide a = wide(soup.points[static_cast<std::size_t>(t.vertices[0])]);
        const Wide e1 = wide(soup.points[static_cast<std::size_t>(t.vertices[1])]) - a;
        const Wide e2 = wide(soup.points[static_cast<std::size_t>(t.vertices[2])]) - a;
        const Wide d = wide(direction), s = wide(source) - a, q = cross(d, e2);
        const Real det = dot(e1, q);
        if (det == 0) continue;
        const Real u = dot(s, q) / det, v = dot(d, cross(s, e1)) / det, at = dot(e2, cross(s, e1)) / det;
        if (u > 0 && v > 0 && u + v < 1 && at > from && at <= to && at != 0)
            found.push_back(static_cast<double>(at));
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<double> sortedHits(const MeshQueries& queries, const Vec3d& source, const Vec3d& direction,
                               double to, bool bothWays = false) {
    std::vector<RayHit> hits;
    queries.allHits(source, direction, to, bothWays, hits);
    std::vector<double> found;
    for (const RayHit& hit : hits) found.push_back(hit.t);
    std::sort(found.begin(), found.end());
    return found;
}

TEST(MeshQueries, ClosestPointIsThatOfBruteForce) {
    for (const Soup& soup :
         {looseTriangles(1, 700), soupOf(mesh_shapes::torus(24, 12)), looseTriangles(2, 3)}) {
        const MeshQueries queries = soup.queries();
        std::mt19937 random(3);
        std::uniform_real_distribution<double> where(-2.0, 2.0);
        for (int i = 0; i < 400; ++i) {
            const Vec3d p{where(random), where(random), where(random)};
            const NearestPoint nearest = queries.closestPoint(p);
            ASSERT_TRUE(nearest.found);
            const double expected = static_cast<double>(bruteDistance(soup, p));
            EXPECT_NEAR(nearest.distance, expected, 1e-12) << i;
            // The point itself lies that far away, and on the face that is named.
            EXPECT_NEAR(std::hypot(nearest.point[0] - p[0], nearest.point[1] - p[1], nearest.point[2] - p[2]),
                        expected, 1e-12);
            Real onFace = std::numeric_limits<Real>::infinity();
            for (const MeshTriangle& t : soup.triangles) {
                if (t.face != nearest.face || t.indexInFace != nearest.indexInFace) continue;
                onFace = distanceTo(wide(nearest.point),
                                    wide(soup.points[static_cast<std::size_t>(t.vertices[0])]),
                                    wide(soup.points[static_cast<std::size_t>(t.vertices[1])]),
                                    wide(soup.points[static_cast<std::size_t>(t.vertices[2])]));
            }
            EXPECT_LT(static_cast<double>(onFace), 1e-12);
        }
    }
}

TEST(MeshQueries, ClosestPointOfAPointOnTheSurfaceIsThatPoint) {
    const Soup soup = soupOf(mesh_shapes::griddedCube(4));
    const MeshQueries queries = soup.queries();
    for (const Vec3d& p : soup.points) {
        const NearestPoint nearest = queries.closestPoint(p);
        EXPECT_EQ(nearest.distance, 0.0);
        EXPECT_EQ(nearest.point, p);
    }
    EXPECT_EQ(queries.closestPoint({0.5, 0.375, 0.25}).distance, 0.25);
    EXPECT_EQ(queries.closestPoint({0.5, 0.375, -2.0}).point, (Vec3d{0.5, 0.375, 0.0}));
}

TEST(MeshQueries, HitsOfRandomRaysAreThoseOfBruteForce) {
    for (const Soup& soup :
         {looseTriangles(4, 700), soupOf(mesh_shapes::torus(24, 12)), looseTriangles(5, 2)}) {
        const MeshQueries queries = soup.queries();
        std::mt19937 random(6);
        std::uniform_real_distribution<double> where(-2.0, 2.0);
        std::size_t total = 0;
        for (int i = 0; i < 400; ++i) {
            const Vec3d source{where(random), where(random), where(random)};
            const Vec3d direction{where(random), where(random), where(random)};
            const bool bothWays = i % 3 == 0;
            const double to = i % 2 ? 100.0 : 0.75;
            const std::vector<double> expected = bruteHits(soup, source, direction, bothWays ? -to : 0, to);
            const std::vector<double> found = sortedHits(queries, source, direction, to, bothWays);
            ASSERT_EQ(found.size(), expected.size()) << i;
            for (std::size_t k = 0; k < found.size(); ++k) EXPECT_NEAR(found[k], expected[k], 1e-9) << i;
            total += found.size();
        }
        EXPECT_GT(total, 10u);
    }
}

// Rays from points inside and outside, each exactly at a vertex or at the middle of an edge.
void countWrongParity(const Shape& shape, const std::vector<Vec3d>& inside,
                      const std::vector<Vec3d>& outside) {
    const Soup soup = soupOf(shape);
    const MeshQueries queries = soup.queries();
    const std::vector<std::array<int, 2>> edges = headless::meshEdges(shape.counts, shape.vertices);
    std::mt19937 random(7);
    int wrong = 0, insideRays = 0;
    std::vector<RayHit> hits;
    for (int i = 0; i < 20000; ++i) {
        const bool isInside = i % 2 == 0;
        const std::vector<Vec3d>& sources = isInside ? inside : outside;
        const Vec3d source = sources[random() % sources.size()];
        Vec3d target;
        if (i % 4 < 2) {
            target = soup.points[random() % soup.points.size()];
        } else {
            const std::array<int, 2>& edge = edges[random() % edges.size()];
            const Vec3d& u = soup.points[static_cast<std::size_t>(edge[0])];
            const Vec3d& v = soup.points[static_cast<std::size_t>(edge[1])];
            target = {(u[0] + v[0]) / 2, (u[1] + v[1]) / 2, (u[2] + v[2]) / 2};
        }
        hits.clear();
        queries.allHits(source, {target[0] - source[0], target[1] - source[1], target[2] - source[2]}, 1e6,
                        false, hits);
        if ((hits.size() % 2 == 1) != isInside) ++wrong;
        if (isInside) ++insideRays;
    }
    EXPECT_EQ(insideRays, 10000);
    EXPECT_EQ(wrong, 0);
}

TEST(MeshQueries, NoRayThroughVerticesAndEdgesOfATorusCountsWrong) {
    std::vector<Vec3d> inside, outside{{0, 0, 0}, {0, 0, 0.5}, {3, 0, 0}, {-2, 2, 0.1}, {0.1, -0.2, 5}};
    for (int i = 0; i < 16; ++i) inside.push_back({std::cos(0.4 * i), std::sin(0.4 * i), 0.05 * (i % 3)});
    inside.push_back({1, 0, 0});
    inside.push_back({0, 1, 0});
    countWrongParity(mesh_shapes::torus(256, 196), inside, outside);
}

TEST(MeshQueries, NoRayThroughVerticesAndEdgesOfAGriddedCubeCountsWrong) {
    // On the lattice of the vertices, so that rays run within rows of edges, and off it.
    const std::vector<Vec3d> inside{
        {0.5, 0.5, 0.5}, {0.25, 0.5, 0.75}, {0.3, 0.4, 0.7}, {1.0 / 64, 0.5, 0.25}};
    // Some in the planes of the sides.
    const std::vector<Vec3d> outside{{2, 0, 0},   {-1, 1, 1},       {0.5, 0.5, -3},
                                     {0.5, 1, 2}, {1.7, -0.3, 0.2}, {2, 2, 2}};
    countWrongParity(mesh_shapes::griddedCube(64), inside, outside);
}

TEST(MeshQueries, RaysAlongAxesThroughVerticesCrossTwice) {
    const Soup soup = soupOf(mesh_shapes::griddedCube(8));
    const MeshQueries queries = soup.queries();
    for (double x : {0.125, 0.5, 0.875}) {
        for (double y : {0.25, 0.5, 0.75}) {
            EXPECT_EQ(sortedHits(queries, {x, y, -1}, {0, 0, 1}, 10), (std::vector<double>{1, 2}));
            EXPECT_EQ(sortedHits(queries, {x, 3, y}, {0, -2, 0}, 10), (std::vector<double>{1, 1.5}));
            EXPECT_EQ(sortedHits(queries, {0.5, x, y}, {1, 0, 0}, 10, true),
                      (std::vector<double>{-0.5, 0.5}));
        }
    }
}

TEST(MeshQueries, RangeTakesItsEndAndNotItsStart) {
    Shape wall;
    wall.points = {{-1, -1, 0}, {2, -1, 0}, {-1, 2, 0}};
    wall.face({0, 1, 2});
    const MeshQueries queries = soupOf(wall).queries();
    EXPECT_EQ(sortedHits(queries, {0, 0, -1}, {0, 0, 1}, 1.0).size(), 1u);
    EXPECT_EQ(sortedHits(queries, {0, 0, -1}, {0, 0, 1}, std::nextafter(1.0, 0.0)).size(), 0u);
    EXPECT_EQ(sortedHits(queries, {0, 0, 0}, {0, 0, 1}, 1.0).size(), 0u);
    EXPECT_EQ(sortedHits(queries, {0, 0, 1}, {0, 0, 1}, 5.0).size(), 0u);
    EXPECT_EQ(sortedHits(queries, {0, 0, 1}, {0, 0, 1}, 1.0, true), std::vector<double>{-1.0});
    EXPECT_EQ(sortedHits(queries, {0, 0, 1}, {0, 0, -1}, std::numeric_limits<double>::infinity()).size(), 1u);
}

TEST(MeshQueries, HitNamesFaceTriangleAndWeights) {
    Shape pentagon; // its fan: (0 1 2), (0 2 3), (0 3 4)
    pentagon.points = {{0, 0, 0}, {2, -1, 0}, {3, 1, 0}, {2, 3, 0}, {0, 2, 0}, {9, 9, 9}};
    pentagon.face({5, 5, 5});
    pentagon.face({0, 1, 2, 3, 4});
    const MeshQueries queries = soupOf(pentagon).queries();
    std::vector<RayHit> hits;
    const double w0 = 0.5, w1 = 0.25, w2 = 0.25; // of the last triangle: (0,0), (2,3), (0,2)
    queries.allHits({w1 * 2, w1 * 3 + w2 * 2, 4}, {0, 0, -1}, 10, false, hits);
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0].face, 1);
    EXPECT_EQ(hits[0].indexInFace, 2);
    EXPECT_EQ(hits[0].t, 4.0);
    EXPECT_NEAR(hits[0].bary1, w0, 1e-15);
    EXPECT_NEAR(hits[0].bary2, w1, 1e-15);
}

TEST(MeshQueries, WorthlessInputFindsNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    const MeshQueries empty({}, {});
    EXPECT_FALSE(empty.closestPoint({0, 0, 0}).found);
    EXPECT_TRUE(sortedHits(empty, {0, 0, 0}, {1, 0, 0}, 10).empty());

    const MeshQueries cube = soupOf(mesh_shapes::griddedCube(2)).queries();
    const Vec3d middle{0.4, 0.5, 0.6};
    EXPECT_EQ(sortedHits(cube, middle, {1, 0, 0}, 10).size(), 1u);
    for (const Vec3d& bad : {Vec3d{nan, 0, 0}, Vec3d{0, inf, 0}, Vec3d{0, 0, -inf}, Vec3d{1e300, 0, 0}}) {
        EXPECT_FALSE(cube.closestPoint(bad).found);
        EXPECT_TRUE(sortedHits(cube, bad, {1, 0, 0}, 10).empty());
    }
    for (const Vec3d& bad : {Vec3d{0, 0, 0}, Vec3d{nan, 1, 0}, Vec3d{inf, 1, 0}})
        EXPECT_TRUE(sortedHits(cube, middle, bad, 10).empty());
    for (double bad : {0.0, -1.0, nan}) EXPECT_TRUE(sortedHits(cube, middle, {1, 0, 0}, bad).empty());
}

TEST(MeshQueries, FacesAtUnusablePointsAreLeftOut) {
    Shape shape = mesh_shapes::griddedCube(2);
    const int first = static_cast<int>(shape.points.size());
    for (double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e100})
        shape.points.push_back({0, bad, 0});
    for (int i = 0; i < 3; ++i) shape.face({0, 1, first + i});
    const Soup soup = soupOf(shape);
    const MeshQueries queries = soup.queries();
    EXPECT_EQ(soup.triangles.size(), queries.triangleCount() + 3);
    EXPECT_EQ(queries.closestPoint({0.5, 0.5, 3}).distance, 2.0);
    EXPECT_EQ(sortedHits(queries, {0.4, 0.3, 0.6}, {0, 1, 0}, 1e30).size(), 1u);
}

TEST(MeshQueries, FacesWithoutAreaAreNeverHitAndStillNear) {
    Soup soup;
    soup.points = {{0, 0, 0}, {2, 0, 0}, {1, 0, 0}, {5, 5, 5}};
    soup.triangles = {{{0, 1, 2}, 0, 0}, {{3, 3, 3}, 1, 0}};
    const MeshQueries queries = soup.queries();
    EXPECT_TRUE(sortedHits(queries, {1, -1, 0}, {0, 1, 0}, 10).empty());
    EXPECT_TRUE(sortedHits(queries, {5, 5, 0}, {0, 0, 1}, 10).empty());
    EXPECT_EQ(queries.closestPoint({1, -3, 4}).distance, 5.0);
    EXPECT_EQ(queries.closestPoint({6, 5, 5}).point, (Vec3d{5, 5, 5}));
}

TEST(MeshQueries, ThousandsOfTrianglesInOnePlaceDoNotOverflow) {
    Soup soup;
    soup.points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    for (int i = 0; i < 50000; ++i) soup.triangles.push_back({{0, 1, 2}, i, 0});
    // A row of sizes that halves, where every split by bins cuts off a few only.
    for (int i = 0; i < 1000; ++i) {
        const double size = std::ldexp(1.0, -i / 2);
        const int v = static_cast<int>(soup.points.size());
        soup.points.insert(soup.points.end(), {{size, 0, 2}, {2 * size, 0, 2}, {size, size, 2}});
        soup.triangles.push_back({{v, v + 1, v + 2}, i, 0});
    }
    const MeshQueries queries = soup.queries();
    EXPECT_EQ(sortedHits(queries, {0.25, 0.25, -1}, {0, 0, 1}, 2).size(), 50000u);
    EXPECT_EQ(queries.closestPoint({0.25, 0.25, 0.5}).distance, 0.5);
    EXPECT_EQ(queries.closestPoint({0, -1, 2}).found, true);
}

TEST(MeshQueries, EdgesComeInTheOrderOfTheirFirstAppearance) {
    using Edges = std::vector<std::array<int, 2>>;
    EXPECT_EQ(headless::meshEdges({4, 3}, {0, 1, 2, 3, 3, 2, 4}),
              (Edges{{0, 1}, {1, 2}, {2, 3}, {3, 0}, {2, 4}, {4, 3}}));
    EXPECT_EQ(headless::meshEdges({3, 3}, {5, 5, 6, 6, 5, 5}),
              (Edges{{5, 6}})); // no edge from a vertex to itself
    EXPECT_TRUE(headless::meshEdges({}, {}).empty());
    const Shape torus = mesh_shapes::torus(30, 20);
    const Edges edges = headless::meshEdges(torus.counts, torus.vertices);
    EXPECT_EQ(edges.size(), 3u * 30 * 20); // vertices − edges + faces = 0
    std::set<std::array<int, 2>> distinct;
    for (std::array<int, 2> edge : edges) {
        if (edge[0] > edge[1]) std::swap(edge[0], edge[1]);
        distinct.insert(edge);
    }
    EXPECT_EQ(distinct.size(), edges.size());
}

// Figures for the reader; machines differ too much to assert them.
TEST(MeshQueries, TimesAreReported) {
    using Clock = std::chrono::steady_clock;
    const auto micros = [](Clock::time_point from, int count) {
        return std::chrono::duration<double, std::micro>(Clock::now() - from).count() / count;
    };
    const Soup soup = soupOf(mesh_shapes::torus(256, 196));
    Clock::time_point start = Clock::now();
    const MeshQueries queries = soup.queries();
    const double build = micros(start, 1) / 1000.0;
    std::mt19937 random(8);
    std::uniform_real_distribution<double> where(-1.5, 1.5);
    std::vector<Vec3d> places(20000);
    for (Vec3d& p : places) p = {where(random), where(random), where(random)};
    start = Clock::now();
    double sum = 0.0;
    for (const Vec3d& p : places) sum += queries.closestPoint(p).distance;
    const double closest = micros(start, 20000);
    std::vector<RayHit> hits;
    start = Clock::now();
    for (std::size_t i = 0; i < places.size(); ++i)
        queries.allHits(places[i], places[places.size() - 1 - i], 100, false, hits);
    const double rays = micros(start, 20000);
    std::printf("%zu triangles: build %.1f ms, closest point %.2f us, all hits %.2f us (%zu hits)\n",
                queries.triangleCount(), build, closest, rays, hits.size());
    EXPECT_EQ(queries.triangleCount(), 100352u);
    EXPECT_TRUE(std::isfinite(sum));
    EXPECT_GT(hits.size(), 0u);
}

} // namespace
