// SPDX-License-Identifier: Apache-2.0
// One body of curve tests for every CPU variant: bit for bit against the literal form and an independent
// table, and against closed forms (Bézier, ends).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "fixtures/golden.h"
#include "fixtures/variants.h"
#include "kernels/curve.h"
#include "reference/literal_curve.h"

namespace talvisora {
namespace {

using namespace fixtures;

class CurveConformance : public VariantTest {
protected:
    Vec3d evaluate(const std::vector<Vec3d>& controlPoints, const std::vector<float>& knots, float u) const {
        double p[3];
        table().evaluate(&controlPoints[0].x, knots.data(), 3, static_cast<unsigned>(knots.size()), u, p);
        return {p[0], p[1], p[2]};
    }
};

// Parameters that matter: every knot and its neighbours, even steps, outside, not a number.
std::vector<float> parameters(const std::vector<float>& knots) {
    std::vector<float> us{-0.0f, -0.1f, 1.1f, 1e30f, -1e30f, HUGE_VALF, std::nanf("")};
    for (float knot : knots)
        us.insert(us.end(), {knot, std::nextafterf(knot, 2.0f), std::nextafterf(knot, -1.0f)});
    for (int i = 0; i < 300; ++i) us.push_back(static_cast<float>(i) / 299.0f);
    return us;
}

std::vector<Vec3d> randomPoints(std::uint32_t seed, int count, double away) {
    std::mt19937 engine(seed);
    const auto next = [&engine] { return static_cast<double>(engine()) / 4294967296.0 * 8.0 - 4.0; };
    std::vector<Vec3d> points;
    for (int k = 0; k < count; ++k) {
        const double x = next(), y = next(), z = next();
        points.push_back({x + away, y, z});
    }
    return points;
}

// Same number: equal, or both not a number. Zeros of either sign are the same number.
testing::AssertionResult same(double a, double b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return testing::AssertionSuccess();
    return testing::AssertionFailure() << a << " is not " << b;
}

TEST_P(CurveConformance, SpanIsThatOfTheLiteralScan) {
    for (int count = 4; count <= 30; ++count) {
        const auto knots = literal::clampedKnots(count);
        const auto knotCount = static_cast<unsigned>(knots.size());
        for (float u : parameters(knots)) {
            const unsigned span = table().findSpan(knots.data(), knotCount, 3, u);
            ASSERT_EQ(span, literal::findSpan(knots.data(), knotCount, 3, u)) << count << " points, u " << u;
            ASSERT_GE(span, 3u);
            ASSERT_LT(span, static_cast<unsigned>(count));
        }
    }
}

TEST_P(CurveConformance, BasisValuesAreBitEqualToTheLiteralTriangle) {
    for (int count : {4, 5, 7, 10, 13, 28, 30}) {
        const auto knots = literal::clampedKnots(count);
        const auto knotCount = static_cast<unsigned>(knots.size());
        for (float u : parameters(knots)) {
            const unsigned span = literal::findSpan(knots.data(), knotCount, 3, u);
            float basis[4], expected[4];
            table().basisFunction(knots.data(), 3, span, u, basis);
            literal::basisFunction(knots.data(), 3, span, u, expected);
            for (int k = 0; k < 4; ++k)
                ASSERT_TRUE(same(basis[k], expected[k])) << count << " points, u " << u;
        }
    }
}

TEST_P(CurveConformance, OtherPowersUpToSevenAgreeWithTheLiteralTriangle) {
    for (unsigned power = 1; power <= 7; ++power) {
        // Clamped, with two interior knots.
        std::vector<float> knots(power + 1, 0.0f);
        knots.insert(knots.end(), {0.25f, 0.7f});
        knots.insert(knots.end(), power + 1, 1.0f);
        const auto knotCount = static_cast<unsigned>(knots.size());
        for (float u : {0.0f, 0.1f, 0.25f, 0.5f, 0.7f, 0.9f, 1.0f}) {
            const unsigned span = table().findSpan(knots.data(), knotCount, power, u);
            ASSERT_EQ(span, literal::findSpan(knots.data(), knotCount, power, u));
            float basis[8], expected[8];
            table().basisFunction(knots.data(), power, span, u, basis);
            literal::basisFunction(knots.data(), power, span, u, expected);
            for (unsigned k = 0; k <= power; ++k) ASSERT_EQ(basis[k], expected[k]) << power << " " << u;
        }
    }
}

TEST_P(CurveConformance, PointsAreBitEqualToTheLiteralSum) {
    for (int count : {4, 7, 28, 30})
        for (double away : {0.0, 1000.0}) {
            const auto controlPoints = randomPoints(7u + static_cast<unsigned>(count), count, away);
            const auto knots = literal::clampedKnots(count);
            for (float u : parameters(knots)) {
                const Vec3d p = evaluate(controlPoints, knots, u);
                const Vec3d q = literal::evaluate(controlPoints.data(), knots.data(), 3,
                                                  static_cast<unsigned>(knots.size()), u);
                ASSERT_TRUE(same(p.x, q.x) && same(p.y, q.y) && same(p.z, q.z)) << count << " " << u;
            }
        }
}

TEST_P(CurveConformance, SpansOfManyParametersAreThoseOfOne) {
    for (std::size_t controlPoints : {4u, 5u, 28u}) {
        const auto knots = literal::clampedKnots(controlPoints);
        const auto knotCount = static_cast<unsigned>(knots.size());
        std::vector<float> us = parameters(knots);
        us.insert(us.end(), {-1.0f, 2.0f, std::nanf(""), -HUGE_VALF, HUGE_VALF});
        std::vector<std::int32_t> spans(us.size() + 1, -7); // one guard value behind
        table().findSpans(knots.data(), knotCount, us.data(), static_cast<std::int32_t>(us.size()),
                          spans.data());
        for (std::size_t i = 0; i < us.size(); ++i)
            ASSERT_EQ(spans[i],
                      static_cast<std::int32_t>(literal::findSpan(knots.data(), knotCount, 3, us[i])))
                << us[i];
        EXPECT_EQ(spans.back(), -7);
    }
}

TEST_P(CurveConformance, BasisOfARunIsThatOfEachParameterInGroups) {
    const auto knots = literal::clampedKnots(28);
    for (const std::int32_t span : {3, 11, 27})
        for (std::size_t count : {0u, 1u, 2u, 3u, 7u, 8u, 9u, 15u, 17u, 33u, 400u}) {
            const std::size_t at = static_cast<std::size_t>(span);
            std::vector<float> us;
            for (std::size_t i = 0; i < count; ++i)
                us.push_back(knots[at] +
                             (knots[at + 1] - knots[at]) * static_cast<float>(i) / static_cast<float>(count));
            std::vector<float> basis(4 * count + 1, -7.0f);
            table().runBasis(knots.data(), span, us.data(), static_cast<std::int32_t>(count), basis.data());
            for (std::size_t i = 0; i < count; ++i) {
                float expected[4];
                literal::basisFunction(knots.data(), 3, static_cast<unsigned>(span), us[i], expected);
                const std::size_t group = i / kPairGroup * kPairGroup;
                const std::size_t inGroup = std::min<std::size_t>(kPairGroup, count - group);
                for (std::size_t k = 0; k < 4; ++k)
                    ASSERT_TRUE(same(basis[4 * group + k * inGroup + i - group], expected[k])) << us[i];
            }
            EXPECT_EQ(basis.back(), -7.0f);
        }
}

// de Casteljau on four points is the same curve; the basis values carry about 2^-24 each.
TEST_P(CurveConformance, FourPointsMakeABezierCurve) {
    const auto c = randomPoints(3, 4, 0.0);
    const auto knots = literal::clampedKnots(4);
    const auto mix = [](const Vec3d& a, const Vec3d& b, double t) { return a * (1 - t) + b * t; };
    for (int i = 0; i <= 100; ++i) {
        const float u = static_cast<float>(i) / 100.0f;
        const Vec3d ab = mix(c[0], c[1], u), bc = mix(c[1], c[2], u), cd = mix(c[2], c[3], u);
        const Vec3d expected = mix(mix(ab, bc, u), mix(bc, cd, u), u);
        EXPECT_LT(length(evaluate(c, knots, u) - expected), 4e-7 * largestCoordinate(c)) << u;
    }
}

TEST_P(CurveConformance, FourPointCurvesBeginAndEndExactlyOnTheirOuterControlPoints) {
    const auto c = randomPoints(11, 4, 0.0);
    const auto knots = literal::clampedKnots(4);
    EXPECT_EQ(evaluate(c, knots, 0.0f), c.front());
    EXPECT_EQ(evaluate(c, knots, 1.0f), c.back());
}

// With interior knots the last quotient may round: the outer basis value is 1 or the single just below.
TEST_P(CurveConformance, LongerCurvesBeginAndEndWithinOneRoundingOfTheirOuterControlPoints) {
    for (int count = 5; count <= 30; ++count) {
        const auto c = randomPoints(11u + static_cast<unsigned>(count), count, 0.0);
        const auto knots = literal::clampedKnots(count);
        const double tolerance = largestCoordinate(c) * 0x1p-23;
        EXPECT_LE(length(evaluate(c, knots, 0.0f) - c.front()), tolerance) << count;
        EXPECT_LE(length(evaluate(c, knots, 1.0f) - c.back()), tolerance) << count;
    }
}

TEST_P(CurveConformance, AgreesWithTheIndependentCurveTable) {
    const Json file = golden("curve.expected.json");
    const auto controlPoints = points(file.at("input").at("controlPoints"));
    const auto knots = numbers<float>(file.at("expect").at("knots"));
    for (const Json& query : file.at("expect").at("queries")) {
        const float u = query.at("u").get<float>();
        const unsigned span = table().findSpan(knots.data(), static_cast<unsigned>(knots.size()), 3, u);
        EXPECT_EQ(span, query.at("span").get<unsigned>()) << u;
        std::vector<float> basis(4);
        table().basisFunction(knots.data(), 3, span, u, basis.data());
        EXPECT_EQ(basis, numbers<float>(query.at("basisCpu"))) << u;
        EXPECT_EQ(evaluate(controlPoints, knots, u), vec3(query.at("pointCpu"))) << u;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, CurveConformance, testing::ValuesIn(variantsHere()),
                         [](const auto& variant) { return variantName(variant.param); });

TEST(Curve, CallsGoToAVariantThatAgreesWithTheLiteralForm) {
    const auto c = randomPoints(5, 10, 0.0);
    const auto knots = literal::clampedKnots(10);
    const Curve curve{c, knots, 3};
    const auto knotCount = static_cast<unsigned>(knots.size());
    for (float u : {0.0f, 0.2f, 0.5f, 0.999f, 1.0f}) {
        const Vec3d expected = literal::evaluate(c.data(), knots.data(), 3, knotCount, u);
        EXPECT_EQ(NURBS_evaluate(c.data(), knots.data(), 3, knotCount, u), expected);
        EXPECT_EQ(evaluate(curve, u), expected);
        EXPECT_EQ(NURBS_findSpan(knots.data(), knotCount, 3, u),
                  literal::findSpan(knots.data(), knotCount, 3, u));
    }
}

TEST(Curve, FewerThanFourControlPointsOrTooFewKnotsGiveTheOrigin) {
    const auto c = randomPoints(5, 4, 0.0);
    const auto knots = literal::clampedKnots(4);
    EXPECT_EQ(evaluate(Curve{}, 0.5f), Vec3d{});
    EXPECT_EQ(evaluate(Curve{{c[0], c[1], c[2]}, knots, 3}, 0.5f), Vec3d{});
    EXPECT_EQ(evaluate(Curve{c, {0, 0, 0, 0, 1, 1, 1}, 3}, 0.5f), Vec3d{});
    EXPECT_NE(evaluate(Curve{c, knots, 3}, 0.5f), Vec3d{});
}

} // namespace
} // namespace talvisora
