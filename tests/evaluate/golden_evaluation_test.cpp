// SPDX-License-Identifier: Apache-2.0
// Whole evaluations of golden captures through the node: the per-point cache, the points, and what stays or
// follows when the cache is kept. The figures are independent; both sides compute in doubles with singles at
// the same places, so they differ by rounding only (a single that falls the other way included: 2^-23 of the
// size, doubled for the blend).
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <cstring>

#include "fixtures/golden_node.h"
#include "fixtures/golden_stage.h"

namespace talvisora {
namespace {

using namespace fixtures;

double tolerance(const std::vector<Vec3d>& expected) {
    return 0x1p-22 * largestCoordinate(expected);
}

template <class T>
std::vector<T> flat(const Json& rows) {
    std::vector<T> list;
    for (const Json& row : rows) {
        const auto values = numbers<T>(row);
        list.insert(list.end(), values.begin(), values.end());
    }
    return list;
}

void expectPointCache(const MyNode& node, const Json& expect) {
    EXPECT_EQ(node.ordersStart, numbers<std::int32_t>(expect.at("ordersStart")));
    EXPECT_EQ(node.ordersEnd, numbers<std::int32_t>(expect.at("ordersEnd")));
    EXPECT_EQ(node.blockWeights, flat<float>(expect.at("blockWeights")));
    EXPECT_EQ(node.weightMaps, flat<float>(expect.at("weightMaps")));
    EXPECT_EQ(node.rebuildCache, expect.at("firstFlag").get<bool>());
    const Matrix44d inverse = matrix(expect.at("geoMatrixInverse"));
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(node.geoMatrixInverse.m[i], inverse.m[i], 1e-14) << i;
    const Json& blocks = expect.at("blocks");
    EXPECT_EQ(node.blockCount, static_cast<std::int32_t>(blocks.size()));
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        const Json& tweaks = blocks[b].at("tweaks");
        for (std::size_t j = 0; j < tweaks.size(); ++j) {
            const float* fields = &node.tweaks[b * 30 + j].collision;
            EXPECT_EQ(std::vector<float>(fields, fields + 14), numbers<float>(tweaks[j])) << b << " " << j;
        }
        const auto params = numbers<float>(blocks[b].at("cvParams"));
        const float* row = &node.cvParameters[b * 30];
        EXPECT_EQ(std::vector<float>(row, row + params.size()), params) << b;
    }
}

class GoldenEvaluation : public testing::TestWithParam<std::string> {
protected:
    GoldenEvaluation() : golden(GetParam()), file(fixtures::golden(GetParam() + ".expected.json")) {}
    GoldenNode golden;
    Json file;
};

TEST_P(GoldenEvaluation, GivesTheIndependentPointsAndCache) {
    EXPECT_EQ(golden.evaluate(), 0);
    EXPECT_TRUE(shownErrors().empty());
    expectPointCache(golden.node, file.at("expect"));
    const auto expected = points(file.at("expect").at("pointsCpu"));
    EXPECT_LE(largestDifference(golden.record.points, expected), tolerance(expected));
}

TEST_P(GoldenEvaluation, WithTangentTurnGivesTheIndependentPoints) {
    golden.setTangentTurn(1);
    EXPECT_EQ(golden.evaluate(), 0);
    const auto expected = points(file.at("pointsCpuTangentTurn1"));
    EXPECT_LE(largestDifference(golden.record.points, expected), tolerance(expected));
}

// Blocks and points are shared out among threads; cached evaluations take their pairs from the first one.
TEST_P(GoldenEvaluation, ThreadsAndRerunsGiveTheSameBits) {
    ASSERT_EQ(golden.evaluate(), 0);
    const auto first = golden.record.points;
    for (std::size_t threads : {1u, 2u, 4u}) {
        tbb::global_control control(tbb::global_control::max_allowed_parallelism, threads);
        for (bool rebuild : {false, true}) {
            golden.node.rebuildCache = rebuild;
            ASSERT_EQ(golden.evaluate(), 0);
            EXPECT_EQ(0, std::memcmp(golden.record.points.data(), first.data(), first.size() * sizeof(Vec3d)))
                << threads << " threads";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Goldens, GoldenEvaluation, testing::ValuesIn(evaluationGoldens()),
                         [](const auto& name) { return name.param; });

TEST(GoldenCache, FourEvaluationsKeepAndFollowWhatTheyShould) {
    GoldenNode golden("cache");
    const Json steps = fixtures::golden("cache.expected.json").at("expect").at("steps");
    std::size_t step = 0;
    std::vector<std::vector<Vec3d>> results;
    for (const Json& call : golden.capture.json.at("calls")) {
        if (call.at("call") == "set") {
            golden.capture.set(call);
            continue;
        }
        SCOPED_TRACE("step " + std::to_string(step + 1));
        ASSERT_LT(step, steps.size());
        EXPECT_EQ(golden.evaluate(), steps[step].at("status").get<int>());
        expectPointCache(golden.node, steps[step]);
        const auto expected = points(steps[step].at("pointsCpu"));
        EXPECT_LE(largestDifference(golden.record.points, expected), tolerance(expected));
        results.push_back(golden.record.points);
        ++step;
    }
    EXPECT_EQ(step, steps.size());
    EXPECT_TRUE(shownErrors().empty());
    // The four steps are told apart by their points.
    for (std::size_t k = 1; k < results.size(); ++k)
        EXPECT_GT(largestDifference(results[k], results[k - 1]), 1e-3) << k;
}

/// The texts of `messages`, as they stand behind "NODE: " or behind an assertion's prefix.
void expectMessages(const std::vector<std::string>& shown, const Json& messages) {
    ASSERT_EQ(shown.size(), messages.size());
    for (std::size_t k = 0; k < shown.size(); ++k) {
        const auto text = messages[k].at("text").get<std::string>();
        const std::string start = "golden: ASSERT error (deformers/talvisora/talvisora:";
        ASSERT_EQ(shown[k].compare(0, start.size(), start), 0) << shown[k];
        const std::string behind = "): " + text;
        ASSERT_GT(shown[k].size(), behind.size());
        EXPECT_EQ(shown[k].substr(shown[k].size() - behind.size()), behind);
        if (messages[k].at("line").is_null()) continue;
        EXPECT_EQ(shown[k], start + std::to_string(messages[k].at("line").get<int>()) + behind);
    }
}

TEST(GoldenFailure, ElevenJointsLeaveThePointsAndRebuildNextTime) {
    GoldenNode golden("eleven_joints");
    const Json expect = fixtures::golden("eleven_joints.expected.json").at("expect");
    EXPECT_EQ(golden.evaluate(), expect.at("status").get<int>());
    expectMessages(shownErrors(), expect.at("messages"));
    EXPECT_EQ(golden.node.ordersStart, numbers<std::int32_t>(expect.at("ordersStart")));
    EXPECT_EQ(golden.node.ordersEnd, numbers<std::int32_t>(expect.at("ordersEnd")));
    EXPECT_EQ(golden.node.rebuildCache, expect.at("firstFlag").get<bool>());
    EXPECT_EQ(golden.record.points, points(expect.at("pointsCpu")));
}

TEST(GoldenFailure, ShortParamsAreReportedForTheHighestBlock) {
    GoldenNode golden("params_mismatch");
    const Json expect = fixtures::golden("params_mismatch.expected.json").at("expect");
    EXPECT_EQ(golden.evaluate(), expect.at("status").get<int>());
    expectMessages(shownErrors(), expect.at("messages"));
    EXPECT_EQ(golden.node.ordersStart, numbers<std::int32_t>(expect.at("ordersStart")));
    EXPECT_EQ(golden.node.ordersEnd, numbers<std::int32_t>(expect.at("ordersEnd")));
    EXPECT_EQ(golden.node.blockWeights, flat<float>(expect.at("blockWeights")));
    EXPECT_EQ(golden.node.rebuildCache, expect.at("firstFlag").get<bool>());
    EXPECT_EQ(golden.record.points, points(expect.at("pointsCpu")));
}

} // namespace
} // namespace talvisora
