// SPDX-License-Identifier: Apache-2.0
// The per-point cache: block ranges, dense rows, tweak records.
#include "evaluate/point_cache.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "fixtures/values.h"

namespace talvisora {
namespace {

using namespace fixtures;

struct Orders {
    std::int32_t start = 0;
    std::int32_t end = 0;
};

/// Range of one point that weighs weights[b] in block b.
Orders ordersOf(const std::vector<float>& weights, const std::vector<float>& envs) {
    Orders orders;
    for (std::size_t b = weights.size(); b-- > 0;)
        extendOrders(static_cast<int>(b), envs[b], &weights[b], 1, &orders.start, &orders.end);
    return orders;
}
Orders ordersOf(const std::vector<float>& weights) {
    return ordersOf(weights, std::vector<float>(weights.size(), 1.0f));
}

TEST(Orders, StartAtTheHighestBlockThatCoversThePoint) {
    EXPECT_EQ(ordersOf({0, 1, 0.5f, 1, 0.25f}).start, 3);
    EXPECT_EQ(ordersOf({0, 0, 1, 0, 0, 1}).start, 5);
    EXPECT_EQ(ordersOf({1, 0.5f, 0}).start, 0);
}

TEST(Orders, ABlockBelowFullEnvelopeCoversNothing) {
    EXPECT_EQ(ordersOf({0, 1, 0, 1}, {1, 1, 1, 0.99999f}).start, 1);
    EXPECT_EQ(ordersOf({0, 1, 0, 1}, {1, 1, 1, std::nextafter(0.99999f, 1.0f)}).start, 3);
}

TEST(Orders, EndOnePastTheHighestBlockThatTouchesThePoint) {
    EXPECT_EQ(ordersOf({0.5f, 0, 0.5f, 0}).end, 3);
    EXPECT_EQ(ordersOf({0, 0, 0}).end, 0);
}

TEST(Orders, ExactThresholdsDoNothing) {
    EXPECT_EQ(ordersOf({0.001f}).end, 0);
    EXPECT_EQ(ordersOf({std::nextafter(0.001f, 1.0f)}).end, 1);
    EXPECT_EQ(ordersOf({0, 0.999f}).start, 0);
    EXPECT_EQ(ordersOf({0, std::nextafter(0.999f, 1.0f)}).start, 1);
}

TEST(Orders, WeightsThatAreNotNumbersTouchNothing) {
    EXPECT_EQ(ordersOf({kNaN, kNaN}).end, 0);
    EXPECT_EQ(ordersOf({1, 1}, {1, kNaN}).start, 0);
}

TEST(DenseRows, AreTheSameWithAndWithoutTheShortWay) {
    std::vector<float> row(5, 1.0f), expected(5, 1.0f);
    const auto inOrder = numbers({0.1f, 0.2f, 0.3f});
    densifyRow(*inOrder, row.size(), row.data());
    EXPECT_EQ(row, (std::vector<float>{0.1f, 0.2f, 0.3f, 1, 1}));
    for (const auto& list : {numbers({1, 0, 2}, {0.1f, 0.2f, 0.3f}), numbers({0, 1, 3}, {0.1f, 0.2f, 0.3f}),
                             numbers({0, 1}, {0.5f}), numbers({0, 1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6, 7}),
                             numbers({-1, 99, 2}, {7, 8, 9})}) {
        row.assign(5, 1.0f);
        expected.assign(5, 1.0f);
        densifyRow(*list, row.size(), row.data());
        densify(list->indices, list->values, expected.size(), expected.data());
        EXPECT_EQ(row, expected);
    }
}

class PointCacheTest : public testing::Test {
protected:
    static constexpr std::size_t kPoints = 4;

    PointCacheTest() {
        values.blocks = compound({blockElement({"a", "b"}, kPoints), blockElement({"a", "b"}, kPoints)});
        for (auto& map : values.weightMaps) map = numbers({});
    }
    std::string rebuild(std::size_t pointCount = kPoints) {
        return rebuildPointCache(values, pointCount, kPoints, pointCache(node)).text();
    }
    ValueMap& block(std::size_t b) { return values.blocks->values[b]; }

    MyNode node;
    NodeAttributes values;
};

TEST_F(PointCacheTest, SpreadsSparseWeightsOverRowsOfOnes) {
    block(1)[attribute::kBlockWeights] = numbers({2, 0}, {0.5f, 0.0005f});
    ASSERT_EQ(rebuild(), "");
    EXPECT_EQ(node.blockWeights, (std::vector<float>{1, 1, 1, 1, 0.0005f, 1, 0.5f, 1}));
    EXPECT_EQ(node.ordersEnd, (std::vector<std::int32_t>{1, 2, 2, 2}));
    EXPECT_EQ(node.ordersStart, (std::vector<std::int32_t>{0, 1, 0, 1}));
    EXPECT_TRUE(node.shape.valid);
    EXPECT_EQ(node.shape.pointCount, kPoints);
    EXPECT_EQ(node.shape.blockCount, 2);
}

TEST_F(PointCacheTest, CopiesParamsAsTheyStand) {
    block(0)[attribute::kParams] = numbers({9, 9}, {0.5f, 2.0f, -1.0f, 0.25f});
    ASSERT_EQ(rebuild(), "");
    EXPECT_EQ(std::vector<float>(node.params.begin(), node.params.begin() + 4),
              (std::vector<float>{0.5f, 2.0f, -1.0f, 0.25f}));
}

TEST_F(PointCacheTest, KeepsTheSixWeightMapsInTheirOrder) {
    for (int m = 0; m < kWeightMapCount; ++m)
        values.weightMaps[m] = numbers({1}, {static_cast<float>(m) + 2.0f});
    ASSERT_EQ(rebuild(), "");
    for (int m = 0; m < kWeightMapCount; ++m)
        for (std::size_t i = 0; i < kPoints; ++i)
            EXPECT_EQ(node.weightMaps[mapSlot(m, kPoints, i)], i == 1 ? static_cast<float>(m) + 2.0f : 1.0f);
}

TEST_F(PointCacheTest, StoresTweaksAtTheirLogicalIndexAndZerosElsewhere) {
    Tweak tweak{};
    tweak.collision = 0.25f;
    tweak.slideOrthoNextOut = 14.0f;
    auto tweaks = compound({tweakElement(tweak)});
    tweaks->indices = {5};
    block(1)[attribute::kTweaks] = tweaks;
    ASSERT_EQ(rebuild(), "");
    ASSERT_EQ(node.tweaks.size(), 2u * MAX_CV_MATRICES);
    EXPECT_EQ(node.tweaks[slot(1, 5)].collision, 0.25f);
    EXPECT_EQ(node.tweaks[slot(1, 5)].slideOrthoNextOut, 14.0f);
    EXPECT_EQ(node.tweaks[slot(1, 0)].collision, 0.0f);
    block(1)[attribute::kTweaks] = compound({});
    ASSERT_EQ(rebuild(), "");
    EXPECT_EQ(node.tweaks[slot(1, 5)].collision, 0.0f);
}

TEST_F(PointCacheTest, StoresTheFourteenAmountsInTheirOrder) {
    const char* const names[] = {"collisionTweak",         "collisionPlaneTweak",   "bulgeTweak",
                                 "collisionBulgeTweak",    "centerInTweak",         "centerOutTweak",
                                 "slidePrevInTweak",       "slideNextInTweak",      "slidePrevOutTweak",
                                 "slideNextOutTweak",      "slideOrthoPrevInTweak", "slideOrthoNextInTweak",
                                 "slideOrthoPrevOutTweak", "slideOrthoNextOutTweak"};
    ValueMap entry;
    for (int field = 0; field < 14; ++field)
        entry[std::string("talvisora__") + names[field]] = number(static_cast<float>(field) + 1.0f);
    block(0)[attribute::kTweaks] = compound({entry});
    ASSERT_EQ(rebuild(), "");
    float stored[14];
    std::memcpy(stored, &node.tweaks[slot(0, 0)], sizeof stored);
    for (int field = 0; field < 14; ++field)
        EXPECT_EQ(stored[field], static_cast<float>(field) + 1.0f) << field;
}

TEST_F(PointCacheTest, SkipsTweaksWithoutAPlaceButChecksTheirChildren) {
    Tweak tweak{};
    tweak.bulge = 3.0f;
    auto tweaks = compound({tweakElement(tweak), tweakElement(tweak), tweakElement(tweak)});
    tweaks->indices = {-1, 30, 29};
    block(0)[attribute::kTweaks] = tweaks;
    ASSERT_EQ(rebuild(), "");
    EXPECT_EQ(node.tweaks[slot(0, 29)].bulge, 3.0f);
    EXPECT_EQ(node.tweaks[slot(1, 0)].bulge, 0.0f);
    tweaks->values[0].erase(attribute::kTweakFields[2]);
    EXPECT_EQ(rebuild(), "get attributes: cannot find 'talvisora__bulgeTweak' (GrFloat) attribute");
    EXPECT_FALSE(node.shape.valid);
}

TEST_F(PointCacheTest, StoresNoTweakWhenTheListsDiffer) {
    Tweak tweak{};
    tweak.bulge = 3.0f;
    auto tweaks = compound({tweakElement(tweak), tweakElement(tweak)});
    tweaks->indices = {0};
    block(0)[attribute::kTweaks] = tweaks;
    ASSERT_EQ(rebuild(), "");
    for (const Tweak& stored : node.tweaks) EXPECT_EQ(stored.bulge, 0.0f);
}

TEST_F(PointCacheTest, NamesTheBlockChildThatIsMissing) {
    for (const std::string* name : {&attribute::kBlockWeights, &attribute::kParams, &attribute::kEnv}) {
        const auto kept = block(0)[*name];
        block(0).erase(*name);
        EXPECT_EQ(rebuild(), "get attributes: cannot find '" + *name + "' (GrFloat) attribute");
        block(0)[*name] = nullptr;
        EXPECT_EQ(rebuild(), "get attributes: invalid type of '" + *name + "' (GrFloat expected)");
        block(0)[*name] = kept;
    }
    block(1).erase(attribute::kTweaks);
    EXPECT_EQ(rebuild(), "get attributes: cannot find 'talvisora__tweaks' (GrCompound) attribute");
}

TEST_F(PointCacheTest, NamesTheHighestBlockWhoseParamsDoNotFit) {
    values.blocks->values.push_back(blockElement({"a", "b"}, kPoints));
    values.blocks->values.push_back(blockElement({"a", "b"}, kPoints));
    block(1)[attribute::kParams] = repeated(kPoints - 1, 0.0f);
    block(3)[attribute::kParams] = repeated(kPoints - 1, 0.0f);
    const std::string path = "ASSERT error (deformers/talvisora/talvisora:431): ";
    EXPECT_EQ(rebuild(), path + "block[3].params != NUM_ELEMENTS");
    block(3)[attribute::kParams] = repeated(kPoints, 0.0f);
    EXPECT_EQ(rebuild(), path + "block[1].params != NUM_ELEMENTS");
    block(1)[attribute::kParams] = repeated(0, 0.0f);
    EXPECT_EQ(rebuild(), path + "block[1].params != NUM_ELEMENTS");
}

TEST_F(PointCacheTest, DoesNotAllocateForACountThatNothingBacks) {
    EXPECT_NE(rebuild(std::size_t{1} << 31), "");
    EXPECT_LT(node.blockWeights.capacity(), 1000u);
    EXPECT_LT(node.ordersStart.capacity(), 1000u);
}

TEST_F(PointCacheTest, OfNoPointsIsEmptyAndFits) {
    values.blocks = compound({blockElement({"a", "b"}, 0)});
    ASSERT_EQ(rebuildPointCache(values, 0, 0, pointCache(node)).text(), "");
    EXPECT_TRUE(node.shape.valid);
    EXPECT_TRUE(node.blockWeights.empty());
    EXPECT_EQ(node.tweaks.size(), 30u);
}

} // namespace
} // namespace talvisora
