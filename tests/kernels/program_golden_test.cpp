// SPDX-License-Identifier: Apache-2.0
// The program on a device against independent figures and against two other forms of the same mathematics:
// the literal one in doubles and the plain program that keeps whole polygons in the scratch.
#include "device/program_test.h"
#include "reference/literal_deform.h"

namespace talvisora {
namespace {

using namespace fixtures;

TEST(ProgramDevice, IsThere) {
    EXPECT_NE(SharedDevice::get().device, nullptr) << SharedDevice::get().whyNot;
}

class ProgramGolden : public ProgramTest, public testing::WithParamInterface<std::string> {
protected:
    void expectPoints(const Json& capture, const Json& expect, double tolerance) {
        RandomRig rig = goldenStage(capture, expect);
        const auto result = widened(deformed(rig));
        EXPECT_LE(largestDifference(result, points(expect.at("pointsKernel"))), tolerance);
    }
};

// The figures' own tolerance: what single precision may do to them.
TEST_P(ProgramGolden, GivesTheIndependentDevicePoints) {
    const Json file = golden(GetParam() + ".expected.json");
    expectPoints(golden(GetParam() + ".capture.json"), file.at("expect"),
                 file.at("tolerance").at("pointsKernel").get<double>());
}

INSTANTIATE_TEST_SUITE_P(Goldens, ProgramGolden, testing::ValuesIn(evaluationGoldens()),
                         [](const auto& name) { return name.param; });

/// Rigs of every kind, by number.
RigOptions rigOfKind(std::uint32_t seed) {
    RigOptions o;
    o.seed = seed;
    o.pointCount = 600;
    o.blockCount = seed % 3 == 0 ? 1 : static_cast<int>(2 + seed % 19);
    o.activePerPoint = o.blockCount == 1 ? 1.0 : 2.5;
    o.jointCount = seed % 4 == 0 ? 10 : 0;
    o.simpleShare = seed % 5 == 0 ? 1.0 : 0.35;
    o.tweaks = seed % 4 == 1 ? Tweaks::kOff : seed % 4 == 2 ? Tweaks::kSome : Tweaks::kAll;
    o.order = static_cast<MeshOrder>(seed % 3);
    o.fullWeights = seed % 7 == 0;
    o.affineGeo = seed % 6 != 0;
    o.singularRest = seed % 8 == 3;
    o.envelope = seed % 9 == 0 ? 0.6f : 1.0f;
    return o;
}

/// Per point, the largest difference over what single precision makes of the largest number that took part.
double worstInRoundings(const std::vector<Vec3d>& a, const std::vector<Vec3d>& b,
                        const std::vector<literal::Trace>& traces) {
    double worst = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        worst = std::max(worst,
                         largestDifference({a[i]}, {b[i]}) / (0x1p-24 * std::max(1e-3, traces[i].largest)));
    return worst;
}

class ProgramForms : public ProgramTest {
protected:
    std::vector<float> plain(RandomRig& rig) {
        if (!plainKernel_) plainKernel_ = device().compile(plainProgramText(), kProgramEntry);
        return device::DeviceStage(device(), rig.freshStage()).run(plainKernel_);
    }
    device::Kernel plainKernel_;
};

// Measured: the same bits where the device's compiler fuses both forms alike. Where it does not, a sum of
// three products may come out one rounding off, and five such sums follow one another.
TEST_F(ProgramForms, AgreesWithThePlainFormWithinRounding) {
    for (std::uint32_t seed = 1; seed <= 48; ++seed) {
        SCOPED_TRACE(seed);
        RandomRig rig = makeRandomRig(rigOfKind(seed));
        const auto fast = widened(deformed(rig)), slow = widened(plain(rig));
        std::vector<literal::Trace> traces;
        literal::deformPoints(rig.freshStage(), &traces);
        EXPECT_LE(worstInRoundings(fast, slow, traces), 16.0);
        EXPECT_GT(largestDifference(fast, rig.restPoints), 1e-3); // something moved
    }
}

// Single precision against doubles. Measured: 13 roundings of the largest number that takes part, those of
// the uploaded arrays included.
TEST_F(ProgramForms, AgreesWithTheLiteralFormInDoubles) {
    for (std::uint32_t seed = 1; seed <= 48; ++seed) {
        SCOPED_TRACE(seed);
        RigOptions options = rigOfKind(seed);
        options.pointWeightsGiven = false; // on the device the point's weight is a factor, here it is 1
        RandomRig rig = makeRandomRig(options);
        const auto fast = widened(deformed(rig));
        std::vector<literal::Trace> traces;
        literal::deformPoints(rig.freshStage(), &traces);
        EXPECT_LE(worstInRoundings(fast, rig.points, traces), 64.0);
    }
}

// The same with meshes that a simulator gets through.
TEST_F(ProgramForms, SmallRigsOfEveryKindAgreeWithTheLiteralFormInDoubles) {
    for (std::uint32_t seed = 101; seed <= 112; ++seed) {
        SCOPED_TRACE(seed);
        RigOptions options = rigOfKind(seed);
        options.pointCount = 24;
        options.pointWeightsGiven = false;
        RandomRig rig = makeRandomRig(options);
        const auto fast = widened(deformed(rig, 8));
        std::vector<literal::Trace> traces;
        literal::deformPoints(rig.freshStage(), &traces);
        EXPECT_LE(worstInRoundings(fast, rig.points, traces), 64.0);
    }
}

// The two programs are two: only the plain form writes its scratch.
TEST_F(ProgramForms, OnlyThePlainFormUsesTheScratch) {
    RandomRig rig = makeRandomRig(rigOfKind(2));
    const std::vector<float> pattern(120 * rig.restPoints.size(), 3.25f);
    const device::DeviceStage stage(device(), rig.freshStage());
    device::DeviceStage marked = stage;
    marked.scratch = device().create(pattern);
    const auto points = marked.run(kernel());
    EXPECT_TRUE(sameBits(device().read<float>(marked.scratch, pattern.size()), pattern));
    (void)plain(rig); // compiles it
    marked.run(plainKernel_);
    EXPECT_FALSE(sameBits(device().read<float>(marked.scratch, pattern.size()), pattern));

    // So the module's program would do with none at all.
    device::DeviceStage without(device(), rig.freshStage(), 0);
    EXPECT_TRUE(sameBits(without.run(kernel()), points));
}

} // namespace
} // namespace talvisora
