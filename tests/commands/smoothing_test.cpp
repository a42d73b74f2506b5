// SPDX-License-Identifier: Apache-2.0
// Averaging over edges: by hand on small graphs, against a plain loop, and with absurd numbers of passes.
#include "commands/smoothing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace talvisora {
namespace {

using Edges = std::vector<std::array<std::int32_t, 2>>;

/// The same as told: lists per vertex, every pass in full.
std::vector<float> smoothedPlainly(const Edges& edges, int passes, std::vector<float> values) {
    std::vector<std::vector<int>> neighbours(values.size());
    for (const auto& e : edges) {
        neighbours[static_cast<std::size_t>(e[0])].push_back(e[1]);
        neighbours[static_cast<std::size_t>(e[1])].push_back(e[0]);
    }
    for (int pass = 0; pass < passes; ++pass) {
        std::vector<float> scratch(values.size(), 0.0f);
        for (std::size_t i = 0; i < values.size(); ++i) {
            scratch[i] = values[i];
            for (int n : neighbours[i]) scratch[i] += values[static_cast<std::size_t>(n)];
            scratch[i] /= static_cast<float>(neighbours[i].size() + 1);
        }
        values = scratch;
    }
    return values;
}

std::vector<float> smoothed(const Edges& edges, int passes, std::vector<float> values) {
    smoothValues(findNeighbours(edges, values.size()), passes, values);
    return values;
}

Edges gridEdges(int width, int height) {
    Edges edges;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (x + 1 < width) edges.push_back({y * width + x, y * width + x + 1});
            if (y + 1 < height) edges.push_back({(y + 1) * width + x, y * width + x});
        }
    return edges;
}

TEST(Smoothing, TakesTheMeanOfAVertexAndItsNeighboursFromThePassBefore) {
    const Edges path{{0, 1}, {1, 2}};
    EXPECT_EQ(smoothed(path, 1, {3.0f, 0.0f, 6.0f}), (std::vector<float>{1.5f, 3.0f, 3.0f}));
    EXPECT_EQ(smoothed(path, 2, {3.0f, 0.0f, 6.0f}), (std::vector<float>{2.25f, 2.5f, 3.0f}));
}

TEST(Smoothing, NoPassesChangeNothing) {
    for (int passes : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(smoothed({{0, 1}}, passes, {3.0f, 1.0f}), (std::vector<float>{3.0f, 1.0f}));
}

TEST(Smoothing, AVertexWithoutEdgesKeepsItsValue) {
    EXPECT_EQ(smoothed({{0, 1}}, 5, {2.0f, 2.0f, 0.1f}), (std::vector<float>{2.0f, 2.0f, 0.1f}));
    EXPECT_EQ(smoothed({}, 1000, {0.7f, 0.3f}), (std::vector<float>{0.7f, 0.3f}));
}

TEST(Smoothing, EdgesCountAsOftenAsTheyCome) {
    EXPECT_EQ(smoothed({{0, 1}, {1, 0}, {0, 1}}, 1, {0.0f, 4.0f}), (std::vector<float>{3.0f, 1.0f}));
}

TEST(Smoothing, NeighboursKeepTheOrderOfTheEdges) {
    const Neighbours n = findNeighbours({{2, 0}, {1, 0}, {0, 3}}, 4);
    EXPECT_EQ(n.first, (std::vector<std::size_t>{0, 3, 4, 5, 6}));
    EXPECT_EQ(n.vertices, (std::vector<std::int32_t>{2, 1, 3, 0, 0, 0}));
}

TEST(Smoothing, EdgesThatLeaveTheMeshAreLeftOut) {
    EXPECT_EQ(
        smoothed({{0, 1}, {0, 2}, {-1, 1}, {7, 9}, {std::numeric_limits<int>::min(), 0}}, 1, {1.0f, 3.0f}),
        (std::vector<float>{2.0f, 2.0f}));
}

TEST(Smoothing, AgreesWithThePlainLoopToTheBit) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> share(0.0f, 1.0f);
    const Edges edges = gridEdges(120, 90); // several tasks
    std::vector<float> values(120 * 90);
    for (float& v : values) v = share(random);
    for (int passes : {1, 2, 3, 10, 33}) {
        const auto plain = smoothedPlainly(edges, passes, values), result = smoothed(edges, passes, values);
        EXPECT_EQ(std::memcmp(plain.data(), result.data(), plain.size() * sizeof(float)), 0) << passes;
    }
}

TEST(Smoothing, AbsurdNumbersOfPassesEndWithTheExactResult) {
    std::mt19937 random(6);
    std::uniform_real_distribution<float> share(0.0f, 1.0f);
    for (int width : {2, 3, 5, 8}) {
        const Edges edges = gridEdges(width, 3);
        std::vector<float> values(static_cast<std::size_t>(width) * 3);
        for (float& v : values) v = share(random);
        // Long past the point where nothing moves any more, the plain loop has the same values.
        const auto odd = smoothedPlainly(edges, 5001, values), even = smoothedPlainly(edges, 5002, values);
        EXPECT_EQ(smoothed(edges, 5001, values), odd);
        EXPECT_EQ(smoothed(edges, 5002, values), even);
        EXPECT_EQ(smoothed(edges, std::numeric_limits<int>::max(), values),
                  smoothedPlainly(edges, 5003, values));
    }
}

TEST(Smoothing, ValuesThatGoInACircleStopWhereTheCountSays) {
    // Each of three vertices is joined to each of the other three: a quarter of the smallest number rounds to
    // nothing and three quarters round to all of it, so the two sides change places for ever.
    const float tiny = std::numeric_limits<float>::denorm_min();
    Edges edges;
    for (int a = 0; a < 3; ++a)
        for (int b = 3; b < 6; ++b) edges.push_back({a, b});
    const std::vector<float> left{tiny, tiny, tiny, 0, 0, 0}, right{0, 0, 0, tiny, tiny, tiny};
    for (int passes : {1, 2, 3, 4, 5, 6, 7, 8, 100, 101, 2147483646, 2147483647})
        EXPECT_EQ(smoothed(edges, passes, left), passes % 2 ? right : left) << passes;
}

TEST(Smoothing, NumbersThatAreNoneSpreadAndEnd) {
    std::vector<float> values(30, 1.0f);
    values[0] = std::nanf("");
    values[29] = HUGE_VALF;
    for (float v : smoothed(gridEdges(30, 1), std::numeric_limits<int>::max(), values))
        EXPECT_TRUE(std::isnan(v));
}

TEST(Smoothing, NothingToSmoothIsFine) {
    EXPECT_EQ(smoothed({}, 3, {}), std::vector<float>{});
    EXPECT_EQ(smoothed({{0, 1}}, 3, {}), std::vector<float>{});
}

} // namespace
} // namespace talvisora
