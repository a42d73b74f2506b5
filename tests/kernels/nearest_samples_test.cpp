// SPDX-License-Identifier: Apache-2.0
// The search for many points gives the answers of the plain search, bit for bit: in every variant, in any
// order of points, around ties and the bound, and for numbers that are none.
#include "kernels/nearest_samples.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "fixtures/golden.h"
#include "fixtures/variants.h"

namespace talvisora {
namespace {

using namespace fixtures;

constexpr double kUnbounded = std::numeric_limits<double>::infinity();

Curve limb(int joints = 4) {
    Curve curve;
    for (int j = 0; j < 3 * joints - 2; ++j)
        curve.controlPoints.push_back({j * 0.9, std::sin(j * 0.5), std::cos(j * 0.3) * 0.5});
    const std::size_t spans = curve.controlPoints.size() - 3;
    curve.knots.assign(curve.controlPoints.size() + 4, 0.0f);
    for (std::size_t k = 1; k < spans; ++k)
        curve.knots[3 + k] = static_cast<float>(k) / static_cast<float>(spans);
    std::fill(curve.knots.end() - 4, curve.knots.end(), 1.0f);
    return curve;
}

/// Points round the curve, in its order or anyhow.
std::vector<Vec3d> tube(const std::vector<CurveSample>& samples, std::size_t count, bool shuffled) {
    std::mt19937 random(7);
    std::vector<Vec3d> list;
    for (std::size_t i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(static_cast<double>(i) / static_cast<double>(count) *
                                                 static_cast<double>(samples.size()));
        const CurveSample& s = samples[at];
        const double turn = static_cast<double>(i) * 0.7;
        const double radius = 0.4 + 0.2 * std::sin(static_cast<double>(i) * 0.013);
        list.push_back({s.x + 0.03 * std::sin(static_cast<double>(i)), s.y + radius * std::cos(turn),
                        s.z + radius * std::sin(turn)});
    }
    if (shuffled) std::shuffle(list.begin(), list.end(), random);
    return list;
}

class NearestSamples : public VariantTest {
protected:
    /// Both answers of every point are those of the plain search of the carried point.
    void expectPlainAnswers(const std::vector<CurveSample>& samples, const std::vector<Vec3d>& queries,
                            double bound = kNearestBound, const Matrix44d& toCurve = {}) {
        const SampleBoxes boxes(samples);
        std::vector<std::int32_t> indices(queries.size(), -7);
        std::vector<double> distances(queries.size(), -7.0);
        nearestSamples(boxes, queries.data(), queries.size(), toCurve, bound, indices.data(),
                       distances.data(), table());
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < queries.size(); ++i) {
            const NearestSample plain = nearestSample(samples, pointMultMat(queries[i], toCurve), bound);
            if (plain.index == indices[i] &&
                std::memcmp(&plain.squaredDistance, &distances[i], sizeof(double)) == 0)
                continue;
            if (++wrong < 5)
                ADD_FAILURE() << "point " << i << ": " << indices[i] << " at " << distances[i]
                              << " in place of " << plain.index << " at " << plain.squaredDistance;
        }
        EXPECT_EQ(wrong, 0u);
    }
};

TEST_P(NearestSamples, OfAMeshInOrderAreThePlainOnes) {
    const auto samples = sampleCurve(limb());
    expectPlainAnswers(samples, tube(samples, 20000, false));
}

TEST_P(NearestSamples, OfAShuffledMeshAreThePlainOnes) {
    const auto samples = sampleCurve(limb());
    expectPlainAnswers(samples, tube(samples, 20000, true));
}

TEST_P(NearestSamples, OfAnyNumberOfPointsAreThePlainOnes) {
    const auto samples = sampleCurve(limb());
    for (std::size_t count : {0, 1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 100, 2047, 2048, 2049, 4097})
        for (bool shuffled : {false, true}) expectPlainAnswers(samples, tube(samples, count, shuffled));
}

TEST_P(NearestSamples, AreThoseOfPointsCarriedByTheMatrix) {
    const auto samples = sampleCurve(limb());
    Matrix44d affine;
    setRow(affine, 0, {0.0, 1.25, 0.5});
    setRow(affine, 1, {-0.75, 0.25, 0.0});
    setTranslation(affine, {3.0, -1.0, 0.5});
    expectPlainAnswers(samples, tube(samples, 3000, false), kNearestBound, affine);
    Matrix44d projective = affine;
    projective(0, 3) = 0.05;
    projective(3, 3) = 2.0;
    expectPlainAnswers(samples, tube(samples, 3000, false), kNearestBound, projective);
}

TEST_P(NearestSamples, OfPointsOnALatticeResolveTiesToTheLowestIndex) {
    // A closed square walked twice over small whole numbers: exact ties everywhere.
    std::vector<CurveSample> samples;
    for (int i = 0; i < 300; ++i) {
        const int k = i % 40;
        const double a = k < 10 ? k : k < 20 ? 10 : k < 30 ? 30 - k : 0;
        const double b = k < 10 ? 0 : k < 20 ? k - 10 : k < 30 ? 10 : 40 - k;
        samples.push_back({a, b, 0.0, i / 299.0});
    }
    std::vector<Vec3d> queries;
    for (int x = -4; x <= 28; ++x)
        for (int y = -4; y <= 28; ++y)
            for (int z = -1; z <= 1; ++z) queries.push_back({x * 0.5, y * 0.5, z * 1.0});
    expectPlainAnswers(samples, queries);
    std::mt19937 random(3);
    std::shuffle(queries.begin(), queries.end(), random);
    expectPlainAnswers(samples, queries);
}

TEST_P(NearestSamples, KeepToTheBound) {
    const auto samples = sampleCurve(limb());
    std::vector<Vec3d> queries = tube(samples, 1000, false);
    for (std::size_t i = 0; i < queries.size(); i += 3) queries[i].y += 300.0 + 0.05 * static_cast<double>(i);
    expectPlainAnswers(samples, queries);
    expectPlainAnswers(samples, queries, kUnbounded);
    expectPlainAnswers(samples, queries, 0.2);
    expectPlainAnswers(samples, queries, 0.0);
    // 316 squared and 143: just the bound, and the double below it.
    const std::vector<CurveSample> one{{0, 0, 0, 0.5}};
    expectPlainAnswers(one, {{316.0, std::sqrt(99999.0 - 99856.0), 0.0},
                             {316.0, std::sqrt(std::nextafter(99999.0, 0.0) - 99856.0), 0.0}});
}

TEST_P(NearestSamples, OfNumbersThatAreNoneAreNone) {
    const auto samples = sampleCurve(limb());
    std::vector<Vec3d> queries = tube(samples, 2500, false);
    queries[3].x = queries[2048].z = std::nan("");
    queries[40].y = queries[2499].x = HUGE_VAL;
    queries[77] = {-HUGE_VAL, HUGE_VAL, std::nan("")};
    queries[90] = {1e200, -1e200, 1e308};
    queries[91] = {-1e-310, 5e-324, 0.0};
    expectPlainAnswers(samples, queries);
    expectPlainAnswers(samples, queries, kUnbounded);
}

TEST_P(NearestSamples, NeverAreSamplesThatAreNoNumbers) {
    auto samples = sampleCurve(limb());
    for (std::size_t s = 50; s < 90; ++s) samples[s].y = std::nan("");
    samples[0].x = HUGE_VAL;
    samples[120].z = -HUGE_VAL;
    const auto queries = tube(sampleCurve(limb()), 5000, false);
    expectPlainAnswers(samples, queries);
    expectPlainAnswers(samples, queries, kUnbounded);
    for (CurveSample& s : samples) s.x = std::nan("");
    expectPlainAnswers(samples, queries, kUnbounded);
}

TEST_P(NearestSamples, OfAnyNumberOfSamplesAreThePlainOnes) {
    for (int count : {1, 2, 7, 29, 30, 31, 32, 59, 60, 61, 299, 301, 1000, 5000}) {
        const auto samples = sampleCurve(limb(), count);
        expectPlainAnswers(samples, tube(samples, 500, false));
        expectPlainAnswers(samples, tube(samples, 500, true));
    }
    expectPlainAnswers({}, {{0, 0, 0}, {1, 2, 3}});
}

TEST_P(NearestSamples, FarFromTheOriginAreThePlainOnes) {
    auto samples = sampleCurve(limb());
    auto queries = tube(samples, 4000, true);
    // So far out that many samples round to the same distance.
    for (CurveSample& s : samples) s.x += 1e9;
    for (Vec3d& q : queries) q.x += 1e9;
    expectPlainAnswers(samples, queries);
}

TEST_P(NearestSamples, OfACloudOfPointsAreThePlainOnes) {
    const auto samples = sampleCurve(limb(10));
    std::mt19937 random(11);
    std::uniform_real_distribution<double> coordinate(-40.0, 40.0);
    std::vector<Vec3d> queries(10000);
    for (Vec3d& q : queries) q = {coordinate(random), coordinate(random), coordinate(random)};
    expectPlainAnswers(samples, queries);
}

INSTANTIATE_TEST_SUITE_P(Variants, NearestSamples, testing::ValuesIn(variantsHere()),
                         [](const auto& test) { return variantName(test.param); });

TEST(NearestSamplesOfAll, AgreeWithTheIndependentTable) {
    const Json file = golden("curve.expected.json");
    const auto samples = sampleCurve(
        {points(file.at("input").at("controlPoints")), numbers<float>(file.at("expect").at("knots")), 3});
    const auto queries = points(file.at("input").at("nearestPoints"));
    const SampleBoxes boxes(samples);
    std::vector<std::int32_t> indices(queries.size());
    nearestSamples(boxes, queries.data(), queries.size(), {}, kNearestBound, indices.data());
    for (std::size_t i = 0; i < queries.size(); ++i)
        EXPECT_EQ(indices[i], file.at("expect").at("nearest")[i].at("index").get<int>()) << i;
}

TEST(NearestSamplesOfAll, FarPointsGetTheirNearestAndPointsThatAreNoNumbersTheFirst) {
    const std::vector<CurveSample> samples{{0, 0, 0, 0.0}, {1, 0, 0, 0.5}, {2, 0, 0, 1.0}};
    const SampleBoxes boxes(samples);
    const std::vector<Vec3d> queries{{5000, 0, 0},         {1.1, 4000, 0},   {-400, 0, 0},
                                     {std::nan(""), 0, 0}, {0, HUGE_VAL, 0}, {1.6, 0, 0}};
    std::vector<std::int32_t> indices(queries.size(), -7);
    nearestSamplesOfAll(boxes, queries.data(), queries.size(), {}, indices.data());
    EXPECT_EQ(indices, (std::vector<std::int32_t>{2, 1, 0, 0, 0, 2}));
}

TEST(NearestSamplesOfAll, DoNotDependOnThreads) {
    const auto samples = sampleCurve(limb());
    const SampleBoxes boxes(samples);
    const auto queries = tube(samples, 50000, true);
    std::vector<std::int32_t> one(queries.size()), many(queries.size());
    {
        tbb::global_control serial(tbb::global_control::max_allowed_parallelism, 1);
        nearestSamplesOfAll(boxes, queries.data(), queries.size(), {}, one.data());
    }
    for (int run = 0; run < 3; ++run) {
        nearestSamplesOfAll(boxes, queries.data(), queries.size(), {}, many.data());
        EXPECT_EQ(many, one);
    }
}

} // namespace
} // namespace talvisora
