// SPDX-License-Identifier: Apache-2.0
// What the point stage promises in words: points that nothing moves keep their bits, weights are held in
// [0, 1], blocks act one over the other, tweaks need a bend, numbers that are none stay where they are. Each
// rule in every variant, on rigs made for it; where a value is expected it is composed by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "fixtures/golden.h"
#include "fixtures/random_rig.h"
#include "fixtures/variants.h"
#include "kernels/active_pairs.h"
#include "reference/literal_curve.h"

namespace talvisora {
namespace {

using namespace fixtures;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

bool sameBits(const Vec3d& a, const Vec3d& b) {
    return std::memcmp(&a, &b, sizeof(Vec3d)) == 0;
}

class DeformRules : public VariantTest {
protected:
    std::vector<Vec3d> deformed(RandomRig& rig) {
        ActivePairs pairs;
        deformPoints(rig.freshStage(), pairs, table());
        return rig.points;
    }
};

RigOptions options(std::uint32_t seed) {
    RigOptions o;
    o.seed = seed;
    o.pointCount = 67;
    o.tweaks = Tweaks::kAll;
    return o;
}

double odd(std::uint64_t bits) {
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

// Coordinates whose bits any arithmetic would change: negative zero, payloads, a denormal.
const Vec3d kOddPoint{-0.0, odd(0x7ff800000badcafeull), odd(0x0000000000000001ull)};
const Vec3d kOddPoint2{odd(0xfff8000000000123ull), -0.0, odd(0x7ff0000000000000ull)};

TEST_P(DeformRules, APointOfWeightZeroKeepsItsBits) {
    RandomRig rig = makeRandomRig(options(1));
    for (std::size_t i = 0; i < rig.pointWeights.size(); ++i) {
        if (i % 3 == 0) continue;
        static const float shut[] = {0.0f, -0.0f, -1.0f, 9.9e-6f, std::nextafterf(1e-5f, 0.0f), kNaN, -kInf};
        rig.pointWeights[i] = shut[i % 7];
        rig.restPoints[i] = i % 2 ? kOddPoint : kOddPoint2;
    }
    const auto points = deformed(rig);
    for (std::size_t i = 0; i < points.size(); ++i)
        EXPECT_EQ(sameBits(points[i], rig.restPoints[i]), i % 3 != 0) << i;
}

TEST_P(DeformRules, ThePointWeightOpensAtExactlyOneHundredThousandthAndDoesNotScale) {
    RandomRig rig = makeRandomRig(options(2));
    const auto whole = deformed(rig);
    rig.pointWeights.assign(rig.pointWeights.size(), 1e-5f);
    const auto slight = deformed(rig);
    rig.pointWeights.assign(rig.pointWeights.size(), kInf);
    const auto infinite = deformed(rig);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_TRUE(sameBits(slight[i], whole[i])) << i;
        EXPECT_TRUE(sameBits(infinite[i], whole[i])) << i;
    }
}

TEST_P(DeformRules, MissingPointWeightsCountAsOne) {
    RandomRig rig = makeRandomRig(options(3));
    const auto whole = deformed(rig);
    for (std::size_t kept : {40u, 3u, 0u}) {
        rig.pointWeights.resize(kept);
        const auto points = deformed(rig);
        for (std::size_t i = 0; i < whole.size(); ++i) EXPECT_TRUE(sameBits(points[i], whole[i])) << kept;
    }
}

TEST_P(DeformRules, APointWithAnEmptyBlockRangeKeepsItsBits) {
    RigOptions o = options(4);
    o.blockCount = 3;
    RandomRig rig = makeRandomRig(o);
    for (std::size_t i = 0; i < rig.restPoints.size(); i += 2) {
        rig.ordersStart[i] = rig.ordersEnd[i] = static_cast<std::int32_t>(i % 4);
        rig.restPoints[i] = i % 4 ? kOddPoint : kOddPoint2;
    }
    const auto points = deformed(rig);
    for (std::size_t i = 0; i < points.size(); i += 2)
        EXPECT_TRUE(sameBits(points[i], rig.restPoints[i])) << i;
}

TEST_P(DeformRules, ABlockWeightBelowTheThresholdOrNotANumberSkipsTheBlock) {
    RandomRig rig = makeRandomRig(options(5));
    rig.blocks[0].env = 1.0f;
    // In the point's range, so that only the weight itself keeps the block away.
    rig.ordersEnd.assign(rig.ordersEnd.size(), 1);
    const float skipped[] = {0.0f, -0.0f, 9.9e-6f, std::nextafterf(1e-5f, 0.0f), -0.5f, -kInf, kNaN, -1e30f};
    for (std::size_t i = 0; i < rig.blockWeights.size(); ++i) {
        rig.blockWeights[i] = skipped[i % 8];
        rig.restPoints[i] = kOddPoint;
    }
    const auto points = deformed(rig);
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_TRUE(sameBits(points[i], kOddPoint)) << i;

    rig.restPoints = makeRandomRig(options(5)).restPoints;
    rig.blockWeights.assign(rig.blockWeights.size(), 1e-5f);
    const auto open = deformed(rig);
    std::size_t moved = 0;
    for (std::size_t i = 0; i < open.size(); ++i) moved += open[i] != rig.restPoints[i];
    EXPECT_EQ(moved, open.size());
}

TEST_P(DeformRules, AProductAboveOneActsAsExactlyOne) {
    RandomRig rig = makeRandomRig(options(6));
    rig.ordersEnd.assign(rig.ordersEnd.size(), 1);
    const auto with = [&](float weight, float env, float envelope) {
        rig.blockWeights.assign(rig.blockWeights.size(), weight);
        rig.blocks[0].env = env;
        rig.envelope = envelope;
        return deformed(rig);
    };
    const auto one = with(1.0f, 1.0f, 1.0f);
    const float above[][3] = {{2, 1, 1},         {1, 3, 1},   {1, 1, 7},   {0.5f, 2, 4},
                              {1e30f, 1e30f, 1}, {-2, -3, 1}, {kInf, 1, 1}};
    for (const auto& f : above) {
        const auto points = with(f[0], f[1], f[2]);
        for (std::size_t i = 0; i < points.size(); ++i)
            EXPECT_TRUE(sameBits(points[i], one[i])) << f[0] << " " << f[1] << " " << f[2];
    }
}

TEST_P(DeformRules, ANegativeProductSkipsTheBlock) {
    RandomRig rig = makeRandomRig(options(7));
    rig.ordersEnd.assign(rig.ordersEnd.size(), 1);
    const float below[][3] = {{-1, 1, 1},   {1, -1, 1},   {1, 1, -1},  {-2, -3, -1},
                              {1, kNaN, 1}, {1, 1, kNaN}, {1, 0, kInf}};
    for (const auto& f : below) {
        rig.blockWeights.assign(rig.blockWeights.size(), f[0]);
        rig.blocks[0].env = f[1];
        rig.envelope = f[2];
        const auto points = deformed(rig);
        for (std::size_t i = 0; i < points.size(); ++i)
            EXPECT_TRUE(sameBits(points[i], rig.restPoints[i])) << f[0] << " " << f[1] << " " << f[2];
    }
}

// Every offset copy comes back to where it was, so the result is curve point + offset · (sum of the basis
// values). That sum misses 1 by a few 2^-25 in single precision: the point comes back within this share of
// its own offset, and plain rounding.
TEST_P(DeformRules, WithCurrentEqualToRestAndNoTweaksEveryPointStays) {
    for (double away : {0.0, 1000.0})
        for (bool simple : {false, true}) {
            RigOptions o = options(8);
            o.tweaks = Tweaks::kOff;
            o.currentIsRest = true;
            o.distanceFromOrigin = away;
            o.simpleShare = simple ? 1.0 : 0.0;
            o.pointCount = 300;
            RandomRig rig = makeRandomRig(o);
            rig.blocks[0].env = 1.0f;
            rig.blockWeights.assign(300, 1.0f);
            const auto count = static_cast<unsigned>(controlPointCount(rig.blocks[0]));
            std::vector<Vec3d> controlPoints;
            for (unsigned k = 0; k < count; ++k) controlPoints.push_back(translation(rig.cvBaseMatrices[k]));
            for (std::size_t i = 0; i < 300; ++i) rig.params[i] = static_cast<float>(i) / 299.0f;
            const auto points = deformed(rig);
            for (std::size_t i = 0; i < 300; ++i) {
                const Vec3d onCurve =
                    literal::evaluate(controlPoints.data(), rig.knots.data(), 3, count + 4, rig.params[i]);
                const Vec3d offset = pointMultMat(rig.restPoints[i], rig.geoMatrix) - onCurve;
                // 1.7: the largest scale back to object space that the rigs have.
                const double allowed = 1.7 * 0x1.8p-24 * length(offset) + 1e-12 * (away + 10.0);
                EXPECT_LE(length(points[i] - rig.restPoints[i]), allowed) << i;
            }
        }
}

// Two blocks on one point, composed from two runs of one block each: the second block measures its offset
// from the incoming point and blends onto what the first one left.
TEST_P(DeformRules, TheSecondBlockMeasuresFromTheIncomingPointAndBlendsOntoTheFirst) {
    RigOptions o = options(9);
    o.blockCount = 2;
    o.activePerPoint = 2;
    RandomRig rig = makeRandomRig(o);
    const std::size_t n = rig.restPoints.size();
    rig.blocks[0].env = rig.blocks[1].env = 1.0f;
    const float w0 = 0.75f, w1 = 0.25f;
    const auto runWith = [&](float a, float b) {
        for (std::size_t i = 0; i < n; ++i) {
            rig.blockWeights[i] = a;
            rig.blockWeights[n + i] = b;
        }
        rig.updateOrders();
        return deformed(rig);
    };
    const auto only0 = runWith(w0, 0.0f), full1 = runWith(0.0f, 1.0f), both = runWith(w0, w1);
    for (std::size_t i = 0; i < n; ++i) {
        const Vec3d composed = full1[i] * 0.25 + only0[i] * 0.75;
        EXPECT_LE(largestDifference({both[i]}, {composed}), 1e-13 * (1.0 + length(composed))) << i;
        EXPECT_GT(length(both[i] - only0[i]), 0.0) << i;
    }
}

TEST_P(DeformRules, ACoveringBlockHidesTheBlocksBelowIt) {
    RigOptions o = options(10);
    o.blockCount = 2;
    RandomRig rig = makeRandomRig(o);
    const std::size_t n = rig.restPoints.size();
    rig.blockWeights.assign(2 * n, 1.0f);
    rig.blocks[0].env = rig.blocks[1].env = 1.0f;
    rig.updateOrders();
    const auto both = deformed(rig);
    for (std::size_t i = 0; i < n; ++i) {
        EXPECT_EQ(rig.ordersStart[i], 1);
        rig.blockWeights[i] = 0.0f;
    }
    rig.updateOrders();
    const auto upper = deformed(rig);
    for (std::size_t i = 0; i < n; ++i) EXPECT_TRUE(sameBits(both[i], upper[i])) << i;
}

void setAll(Tweak& t, float value) {
    float* values = &t.collision;
    for (int k = 0; k < 14; ++k) values[k] = value;
}

TEST_P(DeformRules, WithoutExtraBendNoTweakMovesAnything) {
    for (bool simple : {false, true}) {
        RigOptions o = options(11);
        o.simpleShare = simple ? 1.0 : 0.0;
        RandomRig rig = makeRandomRig(o);
        for (TweakVectors& v : rig.tweakVectors) v.angleWeight = 0.0f;
        for (Tweak& t : rig.tweaks) setAll(t, 0.0f);
        const auto without = deformed(rig);
        for (Tweak& t : rig.tweaks) setAll(t, 1e12f);
        const auto with = deformed(rig);
        for (std::size_t i = 0; i < with.size(); ++i) EXPECT_TRUE(sameBits(with[i], without[i])) << i;
    }
}

// Points in the joint's own plane across the bend direction: w is exactly zero there.
TEST_P(DeformRules, AtZeroDisplacementAlongTheBendNeitherSideActs) {
    RandomRig rig = makeRandomRig(options(12));
    for (TweakVectors& v : rig.tweakVectors) {
        v.deformVec = {0, 0, 0, 0};
        v.angleWeight = 1.0f;
    }
    for (Tweak& t : rig.tweaks) setAll(t, 0.0f);
    const auto without = deformed(rig);
    for (Tweak& t : rig.tweaks) {
        setAll(t, 1e6f);
        t.collision = t.bulge = 0.0f; // the two that do not depend on the bend direction
    }
    const auto with = deformed(rig);
    for (std::size_t i = 0; i < with.size(); ++i) EXPECT_EQ(with[i], without[i]) << i;
}

TEST_P(DeformRules, ASimpleBlockKnowsTheCentreTweakOnly) {
    RigOptions o = options(13);
    o.simpleShare = 1.0;
    RandomRig rig = makeRandomRig(o);
    ASSERT_EQ(rig.blocks[0].simple, 1);
    for (TweakVectors& v : rig.tweakVectors) v.angleWeight = 1.0f;
    const auto run = [&](float centre, float others) {
        for (Tweak& t : rig.tweaks) {
            setAll(t, others);
            t.centerIn = t.centerOut = centre;
        }
        return deformed(rig);
    };
    const auto plain = run(0.0f, 0.0f), otherTweaks = run(0.0f, 5.0f), centre = run(0.5f, 0.0f);
    bool moved = false;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        EXPECT_TRUE(sameBits(otherTweaks[i], plain[i])) << i;
        moved = moved || centre[i] != plain[i];
    }
    EXPECT_TRUE(moved);
}

// Cannot come out of the rig set-up; the point stage must stand it all the same.
TEST_P(DeformRules, ASimpleBlockOfTwoJointsHasNoTweaks) {
    RandomRig rig = makeRandomRig(options(14));
    rig.blocks[0] = {2, 1.0f, 1};
    for (TweakVectors& v : rig.tweakVectors) v.angleWeight = 1.0f;
    for (Tweak& t : rig.tweaks) setAll(t, 0.0f);
    const auto without = deformed(rig);
    for (Tweak& t : rig.tweaks) setAll(t, 1e6f);
    const auto with = deformed(rig);
    for (std::size_t i = 0; i < with.size(); ++i)
        EXPECT_EQ(largestDifference({with[i]}, {without[i]}), 0.0) << i;
}

TEST_P(DeformRules, NumbersThatAreNoneStayWithTheirPoints) {
    RigOptions o = options(15);
    o.blockCount = 3;
    o.activePerPoint = 2;
    o.pointCount = 530;
    RandomRig rig = makeRandomRig(o);
    const std::size_t n = rig.restPoints.size();
    const auto clean = deformed(rig);
    const auto isBad = [](std::size_t i) { return i % 5 == 0; };
    for (std::size_t i = 0; i < n; ++i) {
        if (!isBad(i)) continue;
        switch (i / 5 % 5) {
        case 0:
            rig.restPoints[i].y = kNaN;
            break;
        case 1:
            rig.restPoints[i] = {kInf, -kInf, 0.0};
            break;
        case 2:
            rig.params[i] = rig.params[n + i] = rig.params[2 * n + i] = kNaN;
            break;
        case 3:
            for (std::size_t m = 0; m < 6; ++m) rig.weightMaps[m * n + i] = m % 2 ? kInf : kNaN;
            break;
        default:
            rig.params[i] = kInf;
            rig.params[n + i] = -kInf;
            rig.params[2 * n + i] = 1e38f;
        }
    }
    const auto points = deformed(rig);
    for (std::size_t i = 0; i < n; ++i) {
        if (isBad(i)) continue;
        EXPECT_TRUE(sameBits(points[i], clean[i])) << i;
    }
}

TEST_P(DeformRules, APointThatTheGeometryMatrixSendsToInfinityTakesNoOtherAlong) {
    RandomRig rig = makeRandomRig(options(12));
    rig.geoMatrix.m[3] = 1.0; // w = x + 1, so w is 0 on the plane x = -1
    rig.geoMatrix.m[7] = rig.geoMatrix.m[11] = 0.0;
    rig.geoMatrix.m[15] = 1.0;
    rig.pointWeights.assign(rig.pointWeights.size(), 1.0f);
    rig.blockWeights.assign(rig.blockWeights.size(), 1.0f);
    rig.updateOrders();
    for (Vec3d& p : rig.restPoints) p.x = std::fabs(p.x);
    const auto before = deformed(rig);
    rig.restPoints[5] = {-1.0, 2.0, 3.0};
    const auto after = deformed(rig);
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (i == 5) {
            EXPECT_FALSE(isFinite(after[i]));
        } else {
            EXPECT_TRUE(sameBits(after[i], before[i])) << i;
            EXPECT_TRUE(isFinite(after[i])) << i;
        }
    }
}

TEST_P(DeformRules, MatricesFullOfNoNumbersNeitherCrashNorReachOtherBlocks) {
    RigOptions o = options(16);
    o.blockCount = 2;
    o.activePerPoint = 1;
    RandomRig rig = makeRandomRig(o);
    const std::size_t n = rig.restPoints.size();
    const auto clean = deformed(rig);
    for (std::size_t k = 0; k < 30; ++k) {
        for (double& v : rig.cvMatrices[k].m) v = kNaN;
        for (float* v = &rig.tweakVectors[k].deformVec.x; v != &rig.tweakVectors[k].padding[0]; ++v)
            *v = kInf;
    }
    const auto points = deformed(rig);
    std::size_t clear = 0;
    for (std::size_t i = 0; i < n; ++i)
        if (rig.ordersStart[i] >= 1 || rig.blockWeights[i] == 0.0f) {
            ++clear;
            EXPECT_TRUE(sameBits(points[i], clean[i])) << i;
        }
    EXPECT_GT(clear, 10u);
}

TEST_P(DeformRules, NoPointsAndNoBlocksAreFine) {
    RigOptions none = options(17);
    none.pointCount = 0;
    RandomRig empty = makeRandomRig(none);
    EXPECT_TRUE(deformed(empty).empty());

    RandomRig rig = makeRandomRig(options(17));
    rig.blocks.clear();
    rig.ordersEnd.assign(rig.ordersEnd.size(), 0);
    const auto points = deformed(rig);
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_TRUE(sameBits(points[i], rig.restPoints[i])) << i;
}

INSTANTIATE_TEST_SUITE_P(Variants, DeformRules, testing::ValuesIn(variantsHere()),
                         [](const auto& variant) { return variantName(variant.param); });

} // namespace
} // namespace talvisora
