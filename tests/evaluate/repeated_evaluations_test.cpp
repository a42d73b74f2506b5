// SPDX-License-Identifier: Apache-2.0
// Evaluation after evaluation on one node: nothing is allocated once the memory is there, and what is kept
// from one to the next never shows: each gives the bits of a new node's first evaluation.
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <array>
#include <cmath>
#include <random>

#include "evaluate/allocation_limit.h"
#include "fixtures/node_test.h"
#include "fixtures/values.h"

namespace talvisora {
namespace {

using namespace fixtures;

class RepeatedEvaluations : public NodeTest {
protected:
    static constexpr std::size_t kPoints = 5000, kBlocks = 3;

    RepeatedEvaluations() {
        makeRig(6, kPoints, kBlocks);
        for (std::size_t b = 0; b < kBlocks; ++b) {
            std::vector<float> weights, params;
            for (std::size_t i = 0; i < kPoints; ++i) {
                const float x = static_cast<float>(i + 17 * b) / kPoints;
                weights.push_back(b == 1 ? 1.0f : 0.5f + 0.5f * std::sin(7.0f * x));
                params.push_back(std::fmod(3.0f * x, 1.0f));
            }
            block(b)[attribute::kBlockWeights] = numbers(weights);
            block(b)[attribute::kParams] = numbers(params);
        }
    }

    std::vector<float>& list(std::size_t b, const std::string& name) {
        return castTo<GrFloat>(block(b)[name])->values;
    }
    void keepCaches(bool keep) { castTo<GrBoolean>(attributes[setting::kCacheAttributes])->value = keep; }

    /// The next evaluation, and the first one of a new node.
    void expectLikeNew(const char* what) {
        ASSERT_EQ(evaluate(), 0) << what;
        const std::vector<Vec3d> here = record.points;
        MyNode other;
        other.sharedInputs["Hier hier"] = hierarchy;
        record.points = input;
        ASSERT_EQ(other.deformCpu(attributes, record), 0) << what;
        EXPECT_EQ(std::memcmp(here.data(), record.points.data(), here.size() * sizeof(Vec3d)), 0) << what;
        EXPECT_EQ(node.ordersStart, other.ordersStart) << what;
        EXPECT_EQ(node.ordersEnd, other.ordersEnd) << what;
        EXPECT_EQ(node.blockWeights, other.blockWeights) << what;
        EXPECT_EQ(node.params, other.params) << what;
        EXPECT_EQ(node.weightMaps, other.weightMaps) << what;
        EXPECT_EQ(node.cvParameters, other.cvParameters) << what;
        EXPECT_TRUE(errors().empty());
    }
};

TEST_F(RepeatedEvaluations, WithoutCachingEveryChangeShowsAtOnceAndNothingElse) {
    keepCaches(false);
    expectLikeNew("first");
    expectLikeNew("nothing changed");
    list(0, attribute::kBlockWeights)[4321] = 0.0f;
    expectLikeNew("one weight");
    expectLikeNew("nothing since");
    expectLikeNew("nothing since, with a list of pairs");
    list(2, attribute::kParams)[17] = 0.75f;
    expectLikeNew("one parameter");
    castTo<GrFloat>(block(1)[attribute::kEnv])->value = 0.5f;
    expectLikeNew("a block no longer covers those below");
    castTo<GrFloat>(block(1)[attribute::kEnv])->value = 1.0f;
    expectLikeNew("it covers them again");
    attributes[attribute::kWeightMaps[4]] = numbers(std::vector<float>(kPoints, 0.25f));
    expectLikeNew("a painted map");
    block(2)[attribute::kBlockWeights] = numbers({4999, 3}, {0.0f, 0.125f});
    expectLikeNew("a sparse list");
    hierarchy->find("j3")->restLocal(3, 1) += 0.125;
    expectLikeNew("another rest");
    hierarchy->find("j3")->local(3, 1) += 0.125;
    expectLikeNew("another pose");
}

TEST_F(RepeatedEvaluations, AStrokeOfAFewPointsIsSeenWhereverItEnds) {
    keepCaches(false);
    ASSERT_EQ(evaluate(), 0);
    record.points = input;
    ASSERT_EQ(evaluate(), 0); // nothing has changed: the pairs are listed
    std::mt19937 random(11);
    for (int stroke = 0; stroke < 60; ++stroke) {
        const std::size_t first = std::array<std::size_t, 6>{0, 1023, 1024, 4095, 4096, 4990}[random() % 6];
        const std::size_t end = std::min<std::size_t>(kPoints, first + 1 + random() % 40);
        const std::string& name = random() % 3 == 0 ? attribute::kParams : attribute::kBlockWeights;
        std::vector<float>& values = list(random() % kBlocks, name);
        const float value = static_cast<float>(random() % 5) / 4.0f;
        for (std::size_t i = first; i < end; ++i) values[i] = value;
        if (stroke % 7 == 3) castTo<GrFloat>(block(0)[attribute::kEnv])->value = stroke % 2 ? 0.5f : 1.0f;
        keepCaches(stroke % 13 == 12); // such a one lists what is stale, and hides this stroke until the next
        record.points = input;
        if (stroke % 13 == 12)
            ASSERT_EQ(evaluate(), 0);
        else
            expectLikeNew(("stroke " + std::to_string(stroke)).c_str());
        if (stroke % 5 == 4) {
            record.points = input;
            keepCaches(false);
            expectLikeNew("a pause");
        }
    }
}

TEST_F(RepeatedEvaluations, AStrokeWhileTheCurveIsBuiltInAnotherWayIsSeen) {
    keepCaches(false);
    ASSERT_EQ(evaluate(), 0);
    record.points = input;
    ASSERT_EQ(evaluate(), 0);
    for (const bool simple : {true, false}) {
        list(1, attribute::kBlockWeights)[17] = simple ? 0.25f : 0.75f;
        castTo<GrBoolean>(block(1)[attribute::kSimple])->value = simple;
        record.points = input;
        ASSERT_EQ(evaluate(), 0);
        const std::vector<Vec3d> here = record.points;
        MyNode other;
        other.sharedInputs["Hier hier"] = hierarchy;
        record.points = input;
        ASSERT_EQ(other.deformCpu(attributes, record), 0);
        EXPECT_EQ(std::memcmp(here.data(), record.points.data(), here.size() * sizeof(Vec3d)), 0) << simple;
    }
}

TEST_F(RepeatedEvaluations, AStrokeLeavesTheOtherTilesListed) {
    keepCaches(false);
    ASSERT_EQ(evaluate(), 0);
    record.points = input;
    ASSERT_EQ(evaluate(), 0);
    ASSERT_TRUE(node.activePairs.valid());
    ASSERT_GE(node.activePairs.tiles().size(), 2u);
    list(0, attribute::kBlockWeights).back() = 0.125f;
    record.points = input;
    ASSERT_EQ(evaluate(), 0);
    ASSERT_TRUE(node.activePairs.valid());
    EXPECT_FALSE(node.activePairs.isStale(0));
    EXPECT_TRUE(node.activePairs.isStale(node.activePairs.tiles().size() - 1));
    record.points = input;
    ASSERT_EQ(evaluate(), 0); // it stands still: all of it is listed again
    EXPECT_FALSE(node.activePairs.isStale(node.activePairs.tiles().size() - 1));
}

TEST_F(RepeatedEvaluations, WhatCachingHidesShowsWhenItEnds) {
    expectLikeNew("first");
    hierarchy->find("j3")->restLocal(3, 1) += 0.125; // parameters of the old rest stay while caching
    ASSERT_EQ(evaluate(), 0);
    ASSERT_EQ(evaluate(), 0);
    list(1, attribute::kParams)[0] = 0.5f;
    keepCaches(false);
    expectLikeNew("uncached");
}

TEST_F(RepeatedEvaluations, AllocateNothingOnceTheMemoryIsThere) {
    // One thread: what the thread pool needs for itself is not the deformer's.
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 1);
    record.points = input;
    const std::size_t start = allocationCount();
    ASSERT_EQ(node.deformCpu(attributes, record), 0);
    EXPECT_GT(allocationCount(), start); // the counter counts
    ASSERT_EQ(node.deformCpu(attributes, record), 0);
    for (double by : {0.25, -0.5}) {
        hierarchy->find("j3")->local(3, 1) += by;
        std::copy(input.begin(), input.end(), record.points.begin());
        const std::size_t before = allocationCount();
        const int status = node.deformCpu(attributes, record);
        EXPECT_EQ(allocationCount() - before, 0u);
        EXPECT_EQ(status, 0);
    }
    EXPECT_FALSE(pointsAreUntouched());
}

} // namespace
} // namespace talvisora
