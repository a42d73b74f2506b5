// SPDX-License-Identifier: Apache-2.0
// The yardstick is measured first: the literal form against independent figures, fed with the figures' own
// stages. What is compared here is the point mathematics alone.
#include <gtest/gtest.h>

#include "fixtures/golden_stage.h"
#include "reference/literal_curve.h"
#include "reference/literal_deform.h"

namespace talvisora {
namespace {

using namespace fixtures;

class LiteralGolden : public testing::TestWithParam<std::string> {};

// Both are sums of doubles in the order of the formulas: a few roundings of the largest coordinate remain.
TEST_P(LiteralGolden, PointsFollowFromTheStages) {
    const Json capture = golden(GetParam() + ".capture.json");
    const Json expect = golden(GetParam() + ".expected.json").at("expect");
    RandomRig rig = goldenStage(capture, expect);
    literal::deformPoints(rig.stage());
    const auto expected = points(expect.at("pointsCpu"));
    EXPECT_LE(largestDifference(rig.points, expected), 1e-13 * largestCoordinate(expected));
}

TEST_P(LiteralGolden, KnotsAreClampedAndUniform) {
    const Json expect = golden(GetParam() + ".expected.json").at("expect");
    for (const Json& block : expect.at("blocks"))
        EXPECT_EQ(literal::clampedKnots(block.at("controlPointCount").get<int>()),
                  numbers<float>(block.at("knots")));
}

INSTANTIATE_TEST_SUITE_P(Goldens, LiteralGolden, testing::ValuesIn(evaluationGoldens()),
                         [](const auto& golden) { return golden.param; });

TEST(LiteralCurve, AgreesWithTheIndependentCurveTable) {
    const Json file = golden("curve.expected.json");
    const auto controlPoints = points(file.at("input").at("controlPoints"));
    const auto knots = literal::clampedKnots(static_cast<int>(controlPoints.size()));
    const auto knotCount = static_cast<unsigned>(knots.size());
    EXPECT_EQ(knots, numbers<float>(file.at("expect").at("knots")));
    for (const Json& query : file.at("expect").at("queries")) {
        const float u = query.at("u").get<float>();
        const unsigned span = literal::findSpan(knots.data(), knotCount, 3, u);
        EXPECT_EQ(span, query.at("span").get<unsigned>()) << u;
        std::vector<float> basis(4);
        literal::basisFunction(knots.data(), 3, span, u, basis.data());
        EXPECT_EQ(basis, numbers<float>(query.at("basisCpu"))) << u;
        EXPECT_EQ(literal::evaluate(controlPoints.data(), knots.data(), 3, knotCount, u),
                  vec3(query.at("pointCpu")))
            << u;
    }
}

} // namespace
} // namespace talvisora
