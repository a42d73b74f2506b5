// SPDX-License-Identifier: Apache-2.0
// The program at its limits: points that must keep their bits, thresholds, full rows, padded work-groups, and
// numbers that no host of ours would send. Meshes are small, so that the same tests run under a memory
// checker.
#include <cmath>
#include <cstdlib>
#include <limits>

#include "device/program_test.h"

namespace talvisora {
namespace {

using namespace fixtures;
using device::DeviceStage;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

RigOptions smallRig(std::uint32_t seed = 5) {
    RigOptions o;
    o.seed = seed;
    o.pointCount = 40;
    o.tweaks = Tweaks::kAll;
    return o;
}

std::vector<float> oddBits(std::size_t count) {
    const std::uint32_t patterns[] = {0x80000000u, 0x7fc12345u, 0xffc00001u, 0x00000001u, 0x807fffffu,
                                      0x7f800000u, 0xff800000u, 0x3f800001u, 0x7f7fffffu, 0x00800000u};
    std::vector<float> floats(count);
    for (std::size_t i = 0; i < count; ++i) std::memcpy(&floats[i], &patterns[i % 10], 4);
    return floats;
}

class ProgramEdges : public ProgramTest {
protected:
    std::vector<float> part(const std::vector<float>& points, std::size_t i) {
        return {points.begin() + static_cast<std::ptrdiff_t>(3 * i),
                points.begin() + static_cast<std::ptrdiff_t>(3 * i + 3)};
    }
};

TEST_F(ProgramEdges, APointWeightBelowTheThresholdCopiesThePointBitForBit) {
    RandomRig rig = makeRandomRig(smallRig());
    DeviceStage stage(device(), rig.freshStage());
    const auto input = oddBits(3 * stage.pointCount());
    stage.input = device().create(input);
    for (float weight : {0.0f, 0.0005f, -1.0f, -0.0f, std::nextafter(0.001f, 0.0f), kNaN}) {
        stage.weights = device().create(std::vector<float>(stage.pointCount(), weight));
        EXPECT_TRUE(sameBits(stage.run(kernel()), input)) << weight;
    }
}

TEST_F(ProgramEdges, APointWeightOnTheThresholdActs) {
    RandomRig rig = makeRandomRig(smallRig());
    rig.blockWeights.assign(rig.blockWeights.size(), 2.0f); // so that the product passes its own threshold
    rig.pointWeights.assign(rig.points.size(), 0.001f);
    rig.updateOrders();
    EXPECT_GT(largestDifference(widened(deformed(rig)), widened(narrowed(rig.restPoints))), 1e-4);
}

TEST_F(ProgramEdges, AnEmptyBlockRangeCopiesThePointBitForBit) {
    RandomRig rig = makeRandomRig(smallRig());
    rig.blockWeights.assign(rig.blockWeights.size(), 0.001f); // at most the threshold: nobody weighs
    rig.updateOrders();
    ASSERT_EQ(rig.ordersEnd, std::vector<std::int32_t>(rig.points.size(), 0));
    DeviceStage stage(device(), rig.freshStage());
    const auto input = oddBits(3 * stage.pointCount());
    stage.input = device().create(input);
    EXPECT_TRUE(sameBits(stage.run(kernel()), input));
    // The same where the range starts and ends behind the first block, or is upside down.
    const std::vector<std::int32_t> one(stage.pointCount(), 1), none(stage.pointCount(), 0);
    stage.ordersStart = device().create(one);
    stage.ordersEnd = device().create(one);
    EXPECT_TRUE(sameBits(stage.run(kernel()), input));
    stage.ordersEnd = device().create(none);
    EXPECT_TRUE(sameBits(stage.run(kernel()), input));
}

TEST_F(ProgramEdges, TheRestPoseWithoutTweaksGivesThePointsBack) {
    RigOptions options = smallRig();
    options.currentIsRest = true;
    options.tweaks = Tweaks::kOff;
    RandomRig rig = makeRandomRig(options);
    rig.cvMatrices = rig.cvBaseMatrices;
    for (std::size_t i = 0; i < rig.params.size(); ++i)
        rig.params[i] = static_cast<float>(i % 21) / 20.0f; // the whole range, both ends
    const auto rest = widened(narrowed(rig.restPoints));
    EXPECT_LE(largestDifference(widened(deformed(rig)), rest), 1e-4 * largestCoordinate(rest));
}

TEST_F(ProgramEdges, AProductAboveOneActsAsOneAndANegativeOneNotAtAll) {
    RandomRig rig = makeRandomRig(smallRig());
    rig.blocks[0].env = 1.0f;
    rig.blockWeights.assign(rig.blockWeights.size(), 1.0f);
    rig.pointWeights.assign(rig.points.size(), 1.0f);
    rig.updateOrders();
    const auto full = deformed(rig);
    EXPECT_FALSE(sameBits(full, narrowed(rig.restPoints)));
    for (float envelope : {4.0f, 1e30f, std::numeric_limits<float>::infinity()}) {
        rig.envelope = envelope;
        EXPECT_TRUE(sameBits(deformed(rig), full)) << envelope;
    }
    for (float envelope : {-1.0f, -1e30f, 0.0f, std::nextafter(0.001f, 0.0f), kNaN}) {
        rig.envelope = envelope;
        EXPECT_TRUE(sameBits(deformed(rig), narrowed(rig.restPoints))) << envelope;
    }
    rig.envelope = 0.001f;
    EXPECT_FALSE(sameBits(deformed(rig), narrowed(rig.restPoints)));
    // Every factor counts: four halves make a sixteenth.
    rig.envelope = 0.5f;
    rig.blocks[0].env = 0.5f;
    rig.blockWeights.assign(rig.blockWeights.size(), 0.5f);
    rig.pointWeights.assign(rig.points.size(), 0.5f);
    const auto rest = narrowed(rig.restPoints), blended = deformed(rig);
    for (std::size_t i = 0; i < rest.size(); ++i)
        EXPECT_NEAR(blended[i], full[i] / 16 + rest[i] * 15 / 16,
                    1e-5 * (1 + std::fabs(rest[i]) + std::fabs(full[i])));
}

TEST_F(ProgramEdges, ASecondBlockMeasuresFromTheIncomingPointAndBlendsOnTheFirst) {
    RigOptions options = smallRig();
    options.blockCount = 2;
    RandomRig rig = makeRandomRig(options);
    const std::size_t n = rig.points.size();
    rig.pointWeights.assign(n, 1.0f);
    const auto with = [&](float first, float second) {
        rig.blocks[0].env = rig.blocks[1].env = 1.0f;
        for (std::size_t i = 0; i < n; ++i) {
            rig.blockWeights[i] = first;
            rig.blockWeights[n + i] = second;
        }
        rig.updateOrders();
        return deformed(rig);
    };
    const auto rest = narrowed(rig.restPoints), one = with(1.0f, 0.0f), two = with(0.0f, 1.0f);
    const auto both = with(0.75f, 0.5f);
    for (std::size_t i = 0; i < rest.size(); ++i) {
        const float first = one[i] * 0.75f + rest[i] * 0.25f;
        const float size = 1 + std::fabs(rest[i]) + std::fabs(one[i]) + std::fabs(two[i]);
        EXPECT_NEAR(both[i], two[i] * 0.5f + first * 0.5f, 1e-6 * size) << i;
    }
    EXPECT_TRUE(sameBits(with(0.3f, 1.0f), two)); // a full block behind hides what came before
}

TEST_F(ProgramEdges, WithoutAnExtraBendNoTweakMovesAnything) {
    RandomRig rig = makeRandomRig(smallRig());
    for (TweakVectors& v : rig.tweakVectors) v.angleWeight = 0.0f;
    for (Tweak& t : rig.tweaks) std::fill_n(&t.collision, 14, 1e6f);
    const auto huge = deformed(rig);
    rig.tweaks.assign(rig.tweaks.size(), Tweak{});
    EXPECT_TRUE(sameBits(deformed(rig), huge));
}

// Every one of the thirteen amounts that the device reads moves some point, the fourteenth none.
TEST_F(ProgramEdges, EveryAmountActsButThatOfThePlane) {
    RigOptions options = smallRig();
    options.pointCount = 200;
    RandomRig rig = makeRandomRig(options);
    rig.tweaks.assign(rig.tweaks.size(), Tweak{});
    const auto none = deformed(rig);
    for (int amount = 0; amount < 14; ++amount) {
        for (Tweak& t : rig.tweaks) (&t.collision)[amount] = 0.4f;
        EXPECT_EQ(sameBits(deformed(rig), none), amount == 1) << amount;
        rig.tweaks.assign(rig.tweaks.size(), Tweak{});
    }
}

// Slots past a block's own counts hold poison that would spread at one touch.
TEST_F(ProgramEdges, SlotsPastABlocksCountsAreNotRead) {
    for (bool simple : {false, true}) {
        SCOPED_TRACE(simple);
        RigOptions options = smallRig();
        options.blockCount = 3;
        options.jointCount = simple ? 30 : 10;
        options.simpleShare = simple ? 1.0 : 0.0;
        RandomRig rig = makeRandomRig(options);
        const auto clean = deformed(rig);
        Matrix44d poison;
        for (double& x : poison.m) x = kNaN;
        for (int b = 0; b < 3; ++b) {
            ASSERT_EQ(controlPointCount(rig.blocks[static_cast<std::size_t>(b)]), simple ? 30 : 28);
            for (int k = simple ? 30 : 28; k < 30; ++k)
                rig.cvMatrices[slot(b, k)] = rig.cvBaseMatrices[slot(b, k)] =
                    rig.cvBaseMatricesInverse[slot(b, k)] = poison;
            for (int k = simple ? 34 : 32; k < 34; ++k) rig.knots[knotSlot(b, k)] = kNaN;
            for (int j = simple ? 28 : 8; j < 30; ++j) {
                std::fill_n(&rig.tweaks[slot(b, j)].collision, 14, kNaN);
                std::fill_n(&rig.tweakVectors[slot(b, j)].deformVec.x, 28, kNaN);
            }
        }
        EXPECT_TRUE(sameBits(deformed(rig), clean));
    }
}

TEST_F(ProgramEdges, ASimpleBlockOfThirtyUsesItsLastSlotAndTenJointsTheir28thPoint) {
    for (bool simple : {false, true}) {
        SCOPED_TRACE(simple);
        RigOptions options = smallRig();
        options.jointCount = simple ? 30 : 10;
        options.simpleShare = simple ? 1.0 : 0.0;
        RandomRig rig = makeRandomRig(options);
        rig.params.assign(rig.params.size(), 1.0f);
        const auto before = widened(deformed(rig));
        // At the curve's end only the last control point counts.
        Matrix44d& last = rig.cvMatrices[simple ? 29 : 27];
        setTranslation(last, translation(last) + Vec3d{0, 10, 0});
        const auto after = widened(deformed(rig));
        for (std::size_t i = 0; i < after.size(); ++i)
            EXPECT_GT(largestDifference({after[i]}, {before[i]}), 1e-3) << i;
    }
}

TEST_F(ProgramEdges, ASimpleBlockOfTwoJointsHasNoTweaks) {
    RandomRig rig = makeRandomRig(smallRig());
    rig.blocks[0] = {2, 1.0f, 1};
    rig.params.assign(rig.params.size(), 0.4f);
    const auto tweaked = deformed(rig);
    rig.tweaks.assign(rig.tweaks.size(), Tweak{});
    EXPECT_TRUE(sameBits(deformed(rig), tweaked));
}

TEST_F(ProgramEdges, PaddedWorkItemsTouchNothing) {
    RandomRig rig = makeRandomRig(smallRig());
    DeviceStage stage(device(), rig.freshStage());
    const auto alone = stage.run(kernel(), 1, 0);
    for (std::size_t local : {1u, 7u, 32u, 64u}) {
        // Three groups too many, and room behind the points that must keep its bits.
        stage.output = device().create(std::vector<float>(3 * stage.pointCount() + 3000, -5.5f));
        EXPECT_TRUE(sameBits(stage.run(kernel(), local, 3), alone)) << local;
        const auto whole = device().read<float>(stage.output, 3 * stage.pointCount() + 3000);
        EXPECT_TRUE(std::all_of(whole.begin() + static_cast<std::ptrdiff_t>(3 * stage.pointCount()),
                                whole.end(), [](float x) { return x == -5.5f; }))
            << local;
    }
}

TEST_F(ProgramEdges, FewerElementsLeaveTheRestOfTheOutputAlone) {
    RandomRig rig = makeRandomRig(smallRig());
    DeviceStage stage(device(), rig.freshStage());
    for (std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        stage.elements = count;
        EXPECT_EQ(stage.run(kernel()), std::vector<float>(3 * stage.pointCount(), -77.0f)) << count;
    }
}

// The driver's idle launch: whatever buffers are missing, no element means no touch.
TEST_F(ProgramEdges, AnIdleLaunchNeedsNoBuffers) {
    RandomRig rig = makeRandomRig(smallRig());
    DeviceStage stage(device(), rig.freshStage());
    stage.elements = 0;
    stage.input = stage.weights = stage.weightMaps = stage.blockInfo = stage.ordersStart = stage.ordersEnd =
        stage.blockWeights = stage.params = stage.cvMatrices = stage.cvBaseMatrices =
            stage.cvBaseMatricesInverse = stage.knots = stage.scratch = stage.tweaks = stage.tweakVectors =
                nullptr;
    EXPECT_EQ(stage.run(kernel()), std::vector<float>(3 * stage.pointCount(), -77.0f));
}

TEST_F(ProgramEdges, BlockRangesAreHeldInsideTheBlocks) {
    RigOptions options = smallRig();
    options.blockCount = 3;
    options.activePerPoint = 3;
    RandomRig rig = makeRandomRig(options);
    const std::size_t n = rig.points.size();
    rig.ordersStart.assign(n, 0);
    rig.ordersEnd.assign(n, 3);
    const auto right = deformed(rig);
    rig.ordersStart.assign(n, std::numeric_limits<std::int32_t>::min());
    rig.ordersEnd.assign(n, std::numeric_limits<std::int32_t>::max());
    EXPECT_TRUE(sameBits(deformed(rig), right));
}

TEST_F(ProgramEdges, ABlockThatDoesNotFitItsRowIsLeftOut) {
    RigOptions options = smallRig();
    options.blockCount = 2;
    options.activePerPoint = 2;
    RandomRig rig = makeRandomRig(options);
    const std::size_t n = rig.points.size();
    rig.blockWeights.assign(2 * n, 0.5f);
    rig.ordersStart.assign(n, 0);
    rig.ordersEnd.assign(n, 1);
    const auto first = deformed(rig);
    rig.ordersEnd.assign(n, 2);
    EXPECT_FALSE(sameBits(deformed(rig), first));
    for (std::int32_t simple : {0, 1})
        for (std::int32_t joints : {0, -1, 31, 1431655768, std::numeric_limits<std::int32_t>::max(),
                                    std::numeric_limits<std::int32_t>::min()}) {
            rig.blocks[1].numMatrices = joints;
            rig.blocks[1].simple = simple;
            EXPECT_TRUE(sameBits(deformed(rig), first)) << joints << " " << simple;
        }
    rig.blocks[1] = {11, 1.0f, 0}; // 31 control points
    EXPECT_TRUE(sameBits(deformed(rig), first));
}

TEST_F(ProgramEdges, WhatIsNoNumberStaysWithItsPoint) {
    RigOptions options = smallRig();
    options.blockCount = 2;
    options.activePerPoint = 2;
    RandomRig rig = makeRandomRig(options);
    rig.pointWeights.assign(rig.points.size(), 1.0f);
    const auto clean = deformed(rig);
    const float odd[] = {kNaN,
                         std::numeric_limits<float>::infinity(),
                         -std::numeric_limits<float>::infinity(),
                         1e30f,
                         -1e30f,
                         7.0f,
                         -3.0f};
    std::size_t i = 0;
    for (float x : odd) {
        rig.params[i++] = x;
        rig.weightMaps[i++] = x;
        rig.restPoints[i++].y = x;
        rig.blockWeights[i++] = x;
    }
    const auto wild = deformed(rig);
    for (; i < rig.points.size(); ++i) EXPECT_TRUE(sameBits(part(wild, i), part(clean, i))) << i;
    // A block weight that is no number skips its block, like a negative one.
    RandomRig skipped = makeRandomRig(options), negative = makeRandomRig(options);
    skipped.blockWeights[0] = kNaN;
    negative.blockWeights[0] = -1.0f;
    EXPECT_TRUE(sameBits(deformed(skipped), deformed(negative)));
}

TEST_F(ProgramEdges, RigsOfMatricesThatAreNoNumbersAreHarmless) {
    RigOptions options = smallRig();
    options.blockCount = 2;
    RandomRig rig = makeRandomRig(options);
    for (auto* list : {&rig.cvMatrices, &rig.cvBaseMatrices, &rig.cvBaseMatricesInverse})
        for (std::size_t k = 0; k < 30; k += 2) (*list)[k].m[k % 16] = kNaN;
    for (std::size_t k = 0; k < 34; k += 3) rig.knots[k] = kNaN;
    for (std::size_t j = 0; j < 30; ++j)
        std::fill_n(&rig.tweakVectors[j].deformVec.x, 25, j % 2 ? kNaN : 1e38f);
    // Points that only the second block moves stay as they are.
    for (std::size_t i = 0; i < rig.points.size(); ++i) rig.ordersStart[i] = 1, rig.ordersEnd[i] = 2;
    const auto second = deformed(rig);
    EXPECT_TRUE(std::all_of(second.begin(), second.end(), [](float x) { return std::isfinite(x); }));
    for (std::size_t i = 0; i < rig.points.size(); ++i) rig.ordersStart[i] = 0;
    EXPECT_EQ(deformed(rig).size(), second.size());
}

TEST_F(ProgramEdges, TheGroupSizeChangesNoBit) {
    RigOptions options = smallRig();
    options.blockCount = 4;
    options.activePerPoint = 2;
    options.simpleShare = 0.5;
    RandomRig rig = makeRandomRig(options);
    const auto right = deformed(rig, 64);
    for (std::size_t local : {1u, 3u, 16u}) EXPECT_TRUE(sameBits(deformed(rig, local), right)) << local;
}

TEST_F(ProgramEdges, NoPointsAtAllIsNothingToDo) {
    RigOptions options = smallRig();
    options.pointCount = 0;
    RandomRig rig = makeRandomRig(options);
    EXPECT_TRUE(deformed(rig).empty());
}

// What tools/check_program_memory.sh must see before it believes a silent checker: a stray write and a race.
// Not for real devices: it is a test only where the script asks for it.
class ProgramFaults : public ProgramTest {
    void TestBody() override {
        const std::vector<float> few(4);
        for (const char* body : {"out[get_global_id(0) + 4] = 1.0f;", "out[0] = get_global_id(0);"}) {
            const device::Kernel bad =
                device().compile(std::string("kernel void bad(global float* out) {") + body + "}", "bad");
            const device::Buffer buffer = device().create(few);
            const cl_mem memory = buffer.get();
            device::check(clSetKernelArg(bad.get(), 0, sizeof memory, &memory), "clSetKernelArg");
            device().launch(bad, 4, 4);
        }
    }
};

[[maybe_unused]] const bool faultsAsked = [] {
    const bool asked = std::getenv("TALVISORA_PROGRAM_FAULTS") != nullptr;
    if (asked)
        testing::RegisterTest("ProgramFaults", "AreReported", nullptr, nullptr, __FILE__, __LINE__,
                              []() -> ProgramTest* { return new ProgramFaults; });
    return asked;
}();

} // namespace
} // namespace talvisora
