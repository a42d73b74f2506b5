// SPDX-License-Identifier: Apache-2.0
// Which points processor and card are meant to move differently, on both sides of every threshold.
#include "host/compare/meant_differences.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

std::shared_ptr<GrFloat> number(float value) {
    auto data = std::make_shared<GrFloat>();
    data->value = value;
    return data;
}

// One block per row: envelope, and a weight per point.
ValueMap blocks(const std::vector<std::pair<float, std::vector<float>>>& rows, float envelope = 1.0f) {
    auto compound = std::make_shared<GrCompound>();
    for (const auto& [env, weights] : rows) {
        auto list = std::make_shared<GrFloat>();
        for (std::size_t i = 0; i < weights.size(); ++i)
            list->indices.push_back(static_cast<std::int32_t>(i));
        list->values = weights;
        compound->values.push_back({{"talvisora__env", number(env)}, {"talvisora__blockWeights", list}});
    }
    return {{"talvisora__block", compound}, {"ENVELOPE", number(envelope)}};
}

DeformRecord record(std::vector<float> weights, std::size_t points) {
    DeformRecord record;
    record.points.resize(points);
    record.weights = std::move(weights);
    return record;
}

TEST(MeantDifferences, ArePointsWithAWeightBetweenNothingAndOne) {
    const auto meant = meantDifferences(blocks({{1.0f, {1, 1, 1, 1, 1}}}), record({0, 1, 0.5f, 2}, 5));
    EXPECT_EQ(meant.points, (std::vector<bool>{false, false, true, true, false}));
    EXPECT_EQ(meant.weighted, 2u);
    EXPECT_EQ(meant.threshold, 0u);
    EXPECT_TRUE(meant.evaluation.empty());
}

TEST(MeantDifferences, ArePointsThatABlockInReachMovesByAThousandthOrLess) {
    // The last block decides how far the reach goes; the first acts by 0.0005, 0.001, 0.002, nothing, 0.0005.
    const auto meant = meantDifferences(
        blocks({{1.0f, {0.0005f, 0.001f, 0.002f, 0, 0.0005f}}, {1.0f, {0.5f, 0.5f, 0.5f, 0.5f, 0}}}),
        record({}, 5));
    EXPECT_EQ(meant.points, (std::vector<bool>{true, true, false, false, false}));
    EXPECT_EQ(meant.threshold, 2u);
    // Below a block that takes the point over wholly nothing counts.
    const auto covered = meantDifferences(blocks({{1.0f, {0.0005f}}, {1.0f, {1.0f}}}), record({}, 1));
    EXPECT_EQ(covered.threshold, 0u);
    // Envelopes shrink a block to the threshold.
    EXPECT_EQ(meantDifferences(blocks({{0.001f, {1.0f}}}), record({}, 1)).threshold, 1u);
    EXPECT_EQ(meantDifferences(blocks({{1.0f, {1.0f}}}, 0.0009f), record({}, 1)).threshold, 1u);
    EXPECT_EQ(meantDifferences(blocks({{1.0f, {1.0f}}}, 0.0011f), record({}, 1)).threshold, 0u);
}

TEST(MeantDifferences, AreAllPointsWhereOnlyTheProcessorStops) {
    ValueMap values = blocks({{1.0f, {1, 1}}}, 0.000009f);
    auto meant = meantDifferences(values, record({}, 2));
    EXPECT_EQ(meant.evaluation.size(), 1u);
    EXPECT_EQ(meant.points, (std::vector<bool>{true, true}));
    values = blocks({{1.0f, {1, 1}}});
    auto arrays = std::make_shared<GrBoolean>();
    arrays->value = true;
    values["SOA_ENABLED"] = arrays;
    DeformRecord inactive = record({}, 2);
    inactive.active = 0;
    EXPECT_EQ(meantDifferences(values, inactive).evaluation.size(), 2u);
}

TEST(MeantDifferences, PassOverWrongInput) {
    const auto meant =
        meantDifferences({{"talvisora__block", nullptr}, {"ENVELOPE", makeText("x")}}, record({}, 1));
    EXPECT_EQ(meant.points, std::vector<bool>{false});
}

} // namespace
} // namespace talvisora::host
