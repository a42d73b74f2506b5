// SPDX-License-Identifier: Apache-2.0
// Which blocks can matter for a point: the highest block that weighs on it ends its range, the highest one
// that covers it fully begins it. Limits are strict, and they are the single-precision numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "evaluate/point_cache.h"
#include "fixtures/golden.h"
#include "reference/literal_deform.h"

namespace talvisora {
namespace {

struct Ranges {
    std::vector<std::int32_t> start, end;
};

/// Weights block-major, one env per block.
Ranges rangesOf(const std::vector<float>& weights, const std::vector<float>& envs) {
    const std::size_t points = weights.size() / envs.size();
    Ranges r{std::vector<std::int32_t>(points), std::vector<std::int32_t>(points)};
    for (int b = static_cast<int>(envs.size()) - 1; b >= 0; --b)
        extendOrders(b, envs[static_cast<std::size_t>(b)], &weights[static_cast<std::size_t>(b) * points],
                     points, r.start.data(), r.end.data());
    return r;
}

/// One point, weights of ascending blocks, all envelopes 1.
std::pair<int, int> rangeOf(const std::vector<float>& weights) {
    const Ranges r = rangesOf(weights, std::vector<float>(weights.size(), 1.0f));
    return {r.start[0], r.end[0]};
}

using Range = std::pair<int, int>;

TEST(BlockRanges, AgreeWithTheIndependentTable) {
    const auto file = fixtures::golden("orders.expected.json");
    const auto points = file.at("input").at("numPoints").get<std::size_t>();
    std::vector<float> weights, envs;
    for (const auto& block : file.at("input").at("blocks")) {
        std::vector<float> row(points, 1.0f);
        const auto& list = block.at("blockWeights");
        for (std::size_t k = 0; k < list.at("indices").size(); ++k)
            row[list.at("indices")[k].get<std::size_t>()] = list.at("values")[k].get<float>();
        weights.insert(weights.end(), row.begin(), row.end());
        envs.push_back(block.at("env").get<float>());
    }
    const Ranges ranges = rangesOf(weights, envs);
    EXPECT_EQ(ranges.start, file.at("expect").at("ordersStart").get<std::vector<std::int32_t>>());
    EXPECT_EQ(ranges.end, file.at("expect").at("ordersEnd").get<std::vector<std::int32_t>>());
}

TEST(BlockRanges, AreThoseOfTheLiteralRule) {
    const float values[] = {0.0f,         0.001f, std::nextafterf(0.001f, 1.0f),
                            0.5f,         0.999f, std::nextafterf(0.999f, 1.0f),
                            1.0f,         2.0f,   -1.0f,
                            std::nanf("")};
    const float envValues[] = {1.0f, 0.99999f, std::nextafterf(0.99999f, 1.0f), 0.5f};
    std::vector<float> weights(7 * 1000), envs(7);
    unsigned state = 12345;
    const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 16; };
    for (float& w : weights) w = values[next() % 10];
    for (float& e : envs) e = envValues[next() % 4];
    Ranges expected;
    literal::blockRanges(weights, envs, 1000, expected.start, expected.end);
    const Ranges ranges = rangesOf(weights, envs);
    EXPECT_EQ(ranges.start, expected.start);
    EXPECT_EQ(ranges.end, expected.end);
}

TEST(BlockRanges, AFullWeightBeginsTheRangeAtItsBlock) {
    EXPECT_EQ(rangeOf({0.5f, 1.0f, 0.5f, 1.0f, 0.5f}), Range(3, 5));
    EXPECT_EQ(rangeOf({0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 1.0f}), Range(5, 6));
    EXPECT_EQ(rangeOf({1.0f, 0.5f}), Range(0, 2));
}

TEST(BlockRanges, AFullWeightUnderAnEnvelopeOf99999DoesNotCover) {
    const std::vector<float> weights{0.0f, 1.0f, 0.0f, 1.0f};
    EXPECT_EQ(rangesOf(weights, {1, 1, 1, 1}).start[0], 3);
    EXPECT_EQ(rangesOf(weights, {1, 1, 1, 0.99999f}).start[0], 1);
    EXPECT_EQ(rangesOf(weights, {1, 1, 1, std::nextafterf(0.99999f, 1.0f)}).start[0], 3);
}

TEST(BlockRanges, AWeightOfExactlyOneThousandthDoesNotReach) {
    EXPECT_EQ(rangeOf({0.001f}), Range(0, 0));
    EXPECT_EQ(rangeOf({std::nextafterf(0.001f, 1.0f)}), Range(0, 1));
    EXPECT_EQ(rangeOf({0.5f, 0.001f, 0.0f}), Range(0, 1));
}

TEST(BlockRanges, AWeightOfExactly999ThousandthsDoesNotCover) {
    EXPECT_EQ(rangeOf({0.5f, 0.999f}), Range(0, 2));
    EXPECT_EQ(rangeOf({0.5f, std::nextafterf(0.999f, 1.0f)}), Range(1, 2));
}

TEST(BlockRanges, AllWeightsAtMostOneThousandthGiveAnEmptyRange) {
    EXPECT_EQ(rangeOf({0.001f, 0.0f, -1.0f, std::nanf("")}), Range(0, 0));
}

} // namespace
} // namespace talvisora
