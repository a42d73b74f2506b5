// SPDX-License-Identifier: Apache-2.0
// The fast point stage against the literal form, on rigs made up from seeds: within 1e-12 of the largest
// coordinate (1e-7 where a collision distance rounds to the neighbouring single), and bit for bit between
// variants, thread counts, reruns, and kept or newly built pair lists.
#include "kernels/deform_points.h"

#include <gtest/gtest.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cstring>

#include "fixtures/golden_stage.h"
#include "fixtures/variants.h"
#include "kernels/active_pairs.h"
#include "reference/literal_deform.h"

namespace talvisora {
namespace {

using namespace fixtures;

using Points = std::vector<Vec3d>;

bool sameBits(const Points& a, const Points& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3d)) == 0);
}

/// What the literal form makes of the rig's points, with how far another order may lie from it.
struct Expected {
    Points points;
    std::vector<literal::Trace> traces;
};

Expected literalResult(RandomRig& rig) {
    Expected expected;
    literal::deformPoints(rig.freshStage(), &expected.traces);
    expected.points = rig.points;
    return expected;
}

Points deformed(RandomRig& rig, const VariantTable& variant) {
    ActivePairs pairs;
    deformPoints(rig.freshStage(), pairs, variant);
    return rig.points;
}

// "Largest coordinate": of the whole evaluation, terms of the curve sums included (outside [0, 1] a basis
// value may be in the hundreds).
testing::AssertionResult agrees(const Points& points, const Expected& expected) {
    double largest = 0.0;
    for (const auto& trace : expected.traces)
        if (std::isfinite(trace.largest)) largest = std::max(largest, trace.largest);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double scale = std::max(largest, expected.traces[i].largest);
        const double tolerance = scale * (expected.traces[i].collisionNearBoundary ? 1e-7 : 1e-12);
        const double difference = largestDifference({points[i]}, {expected.points[i]});
        if (!(difference <= tolerance))
            return testing::AssertionFailure()
                   << "point " << i << " is off by " << difference << ", allowed are " << tolerance;
    }
    return testing::AssertionSuccess();
}

/// A spread of rigs: every option at least once, each with another seed.
std::vector<RigOptions> rigs() {
    std::vector<RigOptions> list;
    const auto add = [&list](auto change) {
        RigOptions options;
        options.seed = 100 + static_cast<std::uint32_t>(list.size());
        change(options);
        list.push_back(options);
    };
    using O = RigOptions;
    for (std::size_t count : {0u, 1u, 2u, 3u, 5u, 7u, 8u, 9u, 15u, 17u, 511u, 512u, 513u, 1031u, 1543u})
        add([=](O& o) {
            o.pointCount = count;
            o.tweaks = Tweaks::kAll;
        });
    for (int joints = 2; joints <= 10; ++joints)
        add([=](O& o) {
            o.jointCount = joints;
            o.tweaks = Tweaks::kAll;
        });
    for (int joints : {4, 5, 7, 12, 30})
        add([=](O& o) {
            o.jointCount = joints;
            o.simpleShare = 1;
            o.tweaks = Tweaks::kAll;
        });
    for (Tweaks tweaks : {Tweaks::kOff, Tweaks::kSome, Tweaks::kAll, Tweaks::kAllButCollision})
        for (MeshOrder order : {MeshOrder::kAlong, MeshOrder::kAround, MeshOrder::kShuffled})
            add([=](O& o) {
                o.pointCount = 1200;
                o.tweaks = tweaks;
                o.order = order;
                o.activePerPoint = 2;
                o.blockCount = 4;
            });
    for (int blocks : {2, 3, 5, 11, 20})
        for (double active : {1.0, 2.0, 4.0})
            add([=](O& o) {
                o.blockCount = blocks;
                o.activePerPoint = active;
                o.jointCount = 0;
                o.simpleShare = 0.3;
                o.pointCount = 700;
                o.tweaks = Tweaks::kSome;
                o.order = MeshOrder::kShuffled;
            });
    for (int k = 0; k < 6; ++k)
        add([=](O& o) {
            o.numbers = Numbers::kWild;
            o.blockCount = 1 + 3 * k;
            o.jointCount = 0;
            o.simpleShare = 0.3;
            o.activePerPoint = 2;
            o.pointCount = 600;
            o.tweaks = Tweaks::kAll;
        });
    add([](O& o) {
        o.weightMapsOne = true;
        o.tweaks = Tweaks::kAll;
    });
    add([](O& o) {
        o.pointWeightsGiven = false;
        o.tweaks = Tweaks::kAll;
    });
    add([](O& o) {
        o.fullWeights = true;
        o.tweaks = Tweaks::kAll;
        o.blockCount = 5;
        o.activePerPoint = 2;
    });
    for (bool affine : {false, true})
        for (double away : {10.0, 100.0, 1000.0})
            add([=](O& o) {
                o.affineGeo = affine;
                o.distanceFromOrigin = away;
                o.tweaks = Tweaks::kAll;
            });
    add([](O& o) {
        o.singularRest = true;
        o.tweaks = Tweaks::kAll;
    });
    add([](O& o) {
        o.singularRest = true;
        o.distanceFromOrigin = 1000;
    });
    for (float envelope : {0.0f, 1e-5f, 0.3f, 2.0f, -1.0f})
        add([=](O& o) {
            o.envelope = envelope;
            o.tweaks = Tweaks::kSome;
        });
    return list;
}

// Without this the comparisons below could pass on points that nothing moves.
TEST(DeformPoints, TheRandomRigsMoveTheirPointsAndMakeThemCollide) {
    std::size_t moved = 0, all = 0;
    bool collides = false;
    for (const RigOptions& options : rigs()) {
        RandomRig rig = makeRandomRig(options);
        const Points with = literalResult(rig).points;
        for (std::size_t i = 0; i < with.size(); ++i) moved += with[i] != rig.restPoints[i];
        all += with.size();
        for (Tweak& t : rig.tweaks) t.collision = 0.0f;
        collides = collides || !sameBits(literalResult(rig).points, with);
    }
    EXPECT_GT(moved, all * 3 / 4);
    EXPECT_TRUE(collides);
}

class DeformPointsVariants : public VariantTest {};

TEST_P(DeformPointsVariants, AgreeWithTheLiteralForm) {
    for (const RigOptions& options : rigs()) {
        RandomRig rig = makeRandomRig(options);
        const Expected expected = literalResult(rig);
        EXPECT_TRUE(agrees(deformed(rig, table()), expected)) << "seed " << options.seed;
    }
}

TEST_P(DeformPointsVariants, AreBitEqualToTheNarrowestOne) {
    for (const RigOptions& options : rigs()) {
        RandomRig rig = makeRandomRig(options);
        const Points narrow = deformed(rig, variantTable(Variant::kSse2));
        EXPECT_TRUE(sameBits(deformed(rig, table()), narrow)) << "seed " << options.seed;
    }
}

TEST_P(DeformPointsVariants, GoldenPointsFollowFromTheGoldenStages) {
    for (const std::string& name : evaluationGoldens()) {
        const Json expect = golden(name + ".expected.json").at("expect");
        RandomRig rig = goldenStage(golden(name + ".capture.json"), expect);
        const Expected expected = literalResult(rig);
        const Points result = deformed(rig, table());
        EXPECT_TRUE(agrees(result, expected)) << name;
        const auto independent = points(expect.at("pointsCpu"));
        EXPECT_LE(largestDifference(result, independent), 1e-7 * largestCoordinate(independent)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, DeformPointsVariants, testing::ValuesIn(variantsHere()),
                         [](const auto& variant) { return variantName(variant.param); });

/// A large, mixed rig: several tiles, many blocks.
RandomRig largeRig() {
    RigOptions o;
    o.seed = 5;
    o.pointCount = 6000;
    o.blockCount = 8;
    o.jointCount = 0;
    o.simpleShare = 0.3;
    o.activePerPoint = 2.5;
    o.tweaks = Tweaks::kAll;
    o.order = MeshOrder::kShuffled;
    o.numbers = Numbers::kWild;
    return makeRandomRig(o);
}

TEST(DeformPoints, ResultDoesNotDependOnTheNumberOfThreads) {
    RandomRig rig = largeRig();
    Points first;
    for (const int threads : {1, 2, 3, 4, 7}) {
        tbb::task_arena arena(threads);
        ActivePairs pairs;
        arena.execute([&] { deformPoints(rig.freshStage(), pairs); });
        EXPECT_GT(pairs.tiles().size(), 4u) << "too few to be shared";
        if (first.empty()) first = rig.points;
        EXPECT_TRUE(sameBits(rig.points, first)) << threads << " threads";
    }
}

TEST(DeformPoints, RerunsWithKeptPairsAreBitEqualToFreshOnes) {
    RandomRig rig = largeRig();
    ActivePairs kept;
    deformPoints(rig.freshStage(), kept);
    const Points first = rig.points;
    EXPECT_TRUE(kept.valid());
    for (int run = 0; run < 3; ++run) {
        deformPoints(rig.freshStage(), kept);
        EXPECT_TRUE(sameBits(rig.points, first)) << run;
    }
    EXPECT_TRUE(sameBits(deformed(rig, activeTable()), first));
}

TEST(DeformPoints, KeptPairsFollowMatricesEnvelopesTweaksAndPointWeights) {
    RandomRig rig = largeRig();
    ActivePairs kept;
    deformPoints(rig.freshStage(), kept);
    const Points before = rig.points;
    // What changes from frame to frame without a rebuild.
    for (Matrix44d& m : rig.cvMatrices) setTranslation(m, translation(m) + Vec3d{0.25, -1.0, 0.5});
    for (BlockInfo& block : rig.blocks) block.env *= 0.5f;
    for (TweakVectors& v : rig.tweakVectors) v.angleWeight = v.angleWeight > 0.0f ? 0.0f : 1.5f;
    for (float& w : rig.pointWeights) w = w > 0.5f ? 0.0f : 1.0f;
    rig.envelope = 0.75f;
    const Expected expected = literalResult(rig);
    deformPoints(rig.freshStage(), kept);
    EXPECT_TRUE(agrees(rig.points, expected));
    EXPECT_FALSE(sameBits(rig.points, before));
    EXPECT_TRUE(sameBits(deformed(rig, activeTable()), rig.points));
}

TEST(DeformPoints, InvalidatedPairsSeeNewWeightsAndParams) {
    RandomRig rig = largeRig();
    ActivePairs pairs;
    deformPoints(rig.freshStage(), pairs);
    std::reverse(rig.blockWeights.begin(), rig.blockWeights.end());
    std::reverse(rig.params.begin(), rig.params.end());
    std::reverse(rig.weightMaps.begin(), rig.weightMaps.end());
    rig.updateOrders();
    pairs.invalidate();
    const Expected expected = literalResult(rig);
    deformPoints(rig.freshStage(), pairs);
    EXPECT_TRUE(agrees(rig.points, expected));
}

TEST(DeformPoints, PairsAreBuiltAnewWhenTheShapeOfTheRigChanges) {
    ActivePairs pairs;
    for (int joints : {10, 4, 7, 10})
        for (int blocks : {1, 3, 2})
            for (std::size_t count : {600u, 40u}) {
                RigOptions o;
                o.seed = static_cast<std::uint32_t>(joints * 100 + blocks);
                o.jointCount = joints;
                o.blockCount = blocks;
                o.pointCount = count;
                o.tweaks = Tweaks::kAll;
                RandomRig rig = makeRandomRig(o);
                const Expected expected = literalResult(rig);
                deformPoints(rig.freshStage(), pairs);
                EXPECT_TRUE(agrees(rig.points, expected)) << joints << " " << blocks << " " << count;
            }
}

} // namespace
} // namespace talvisora
