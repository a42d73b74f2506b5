// SPDX-License-Identifier: Apache-2.0
// Whole GPU evaluations on a made-up device: what is uploaded when, in which order and layout, what is
// bound, when the kernel is compiled and released, and what is said.
#include "evaluate/gpu_driver.h"

#include <gtest/gtest.h>

#include <cstring>

#include "fixtures/gpu_node_test.h"
#include "kernels/program_text.h"

namespace talvisora {
namespace {

using namespace fixtures;

using GpuDriver = GpuNodeTest;

TEST_F(GpuDriver, FirstEvaluationCompilesUploadsBindsAndLaunches) {
    const std::vector<DeviceCall> calls = callsOfDeform();
    expectWholeLaunch(calls, 12);
    EXPECT_EQ(uploaded(calls), (std::vector<int>{6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21}));
    const headless::OpenCLBuild build = headless::lastOpenCLBuild();
    EXPECT_EQ(build.programName, "talvisora__CL_program_23925");
    EXPECT_EQ(build.kernelName, "run");
    EXPECT_FALSE(node.uploadDevice);
    EXPECT_TRUE(node.rebuildCache); // the other path's business
    EXPECT_TRUE(node.restCurves.empty());
    EXPECT_EQ(node.cvsData.capacity(), 0u); // only the device's is used
    EXPECT_EQ(node.blockCount, 1);
}

TEST_F(GpuDriver, BuffersAreMadeInTheirStatedSizes) {
    resize(4, 12, 3);
    const std::vector<DeviceCall> made = only(callsOfDeform(), "CreateBuffer");
    // Weight maps; block info; orders; weights, params; matrices; knots; scratch; tweaks; tweak vectors.
    const std::size_t sizes[] = {24 * 12,  12 * 3,   4 * 12,  4 * 12,   4 * 36,   4 * 36,  1920 * 3,
                                 1920 * 3, 1920 * 3, 136 * 3, 480 * 12, 1680 * 3, 3360 * 3};
    ASSERT_EQ(made.size(), 13u);
    for (std::size_t k = 0; k < made.size(); ++k) {
        EXPECT_EQ(made[k].size, sizes[k]) << k;
        EXPECT_EQ(made[k].flags, k == 10 ? 33u : 36u) << k;
    }
}

TEST_F(GpuDriver, ArgumentsCarryTheEvaluationsValues) {
    const Matrix44d geo = frameAlong({3, -2, 1}, {0.2, 0.4, -0.7});
    attributes[attribute::kGeoMatrix] = matrixValue(geo);
    attributes[setting::kEnvelope] = number(1e-6f); // no limit on this path
    const std::vector<DeviceCall> binds = only(callsOfDeform(), "SetKernelArg");
    ASSERT_EQ(binds.size(), 22u);
    const auto integerAt = [&](std::size_t k) {
        std::int32_t value = 0;
        std::memcpy(&value, binds[k].bytes.data(), 4);
        return value;
    };
    EXPECT_EQ(binds[0].buffer, data.inputPoints.get());
    EXPECT_EQ(binds[1].buffer, data.outputPoints.get());
    EXPECT_EQ(integerAt(2), 12);
    EXPECT_EQ(binds[3].buffer, data.weights.get());
    float envelope;
    std::memcpy(&envelope, binds[4].bytes.data(), 4);
    EXPECT_EQ(envelope, 1e-6f);
    EXPECT_EQ(integerAt(8), 30);
    EXPECT_EQ(integerAt(9), 1);
    const Matrix44d inverseGeo = inverse(geo);
    for (int k = 0; k < 16; ++k) {
        float forward, backward;
        std::memcpy(&forward, binds[5].bytes.data() + 4 * k, 4);
        std::memcpy(&backward, binds[7].bytes.data() + 4 * k, 4);
        EXPECT_EQ(forward, static_cast<float>(geo.m[k]));
        EXPECT_EQ(backward, static_cast<float>(inverseGeo.m[k]));
    }
    const cl_mem buffers[] = {
        node.weightMapsBuffer.get(),  node.blockInfoBuffer.get(),      node.ordersStartBuffer.get(),
        node.ordersEndBuffer.get(),   node.blockWeightsBuffer.get(),   node.paramsBuffer.get(),
        node.cvMatricesBuffer.get(),  node.cvBaseMatricesBuffer.get(), node.cvBaseMatricesInverseBuffer.get(),
        node.knotsBuffer.get(),       node.cvsDataBuffer.get(),        node.tweaksBuffer.get(),
        node.tweakVectorsBuffer.get()};
    const std::size_t at[] = {6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21};
    for (std::size_t k = 0; k < 13; ++k) EXPECT_EQ(binds[at[k]].buffer, buffers[k]) << at[k];
}

TEST_F(GpuDriver, BuffersHoldWhatTheCpuPathWouldUse) {
    resize(4, 12, 2);
    block(0)[attribute::kBlockWeights] = numbers({3}, {0.0005f});
    Tweak tweak{};
    tweak.bulge = 0.5f;
    tweak.slideOrthoNextOut = -2.0f;
    block(1)[attribute::kTweaks] = compound({tweakElement(), tweakElement(tweak)});
    attributes[attribute::kWeightMaps[5]] = numbers({2}, {0.25f});
    callsOfDeform();
    const std::vector<float> weights = fake.values<float>(node.blockWeightsBuffer.get());
    ASSERT_EQ(weights.size(), 24u);
    EXPECT_EQ(weights[3], 0.0005f);
    EXPECT_EQ(weights[4], 1.0f);
    const std::vector<float> params = fake.values<float>(node.paramsBuffer.get());
    EXPECT_EQ(params[12 + 11], 1.0f);
    const std::vector<float> maps = fake.values<float>(node.weightMapsBuffer.get());
    ASSERT_EQ(maps.size(), 72u);
    EXPECT_EQ(maps[60 + 2], 0.25f);
    EXPECT_EQ(maps[60 + 1], 1.0f);
    EXPECT_EQ(fake.values<std::int32_t>(node.ordersStartBuffer.get()), std::vector<std::int32_t>(12, 1));
    EXPECT_EQ(fake.values<std::int32_t>(node.ordersEndBuffer.get()), std::vector<std::int32_t>(12, 2));
    const std::vector<float> tweaks = fake.values<float>(node.tweaksBuffer.get());
    ASSERT_EQ(tweaks.size(), 2u * 30 * 14);
    EXPECT_EQ(tweaks[31 * 14 + 2], 0.5f);
    EXPECT_EQ(tweaks[31 * 14 + 13], -2.0f);
    const std::vector<std::int32_t> infos = fake.values<std::int32_t>(node.blockInfoBuffer.get());
    EXPECT_EQ(infos[0], 4);
    EXPECT_EQ(infos[2], 0);
    // Knots of ten control points: clamped, seven spans.
    const std::vector<float> knots = fake.values<float>(node.knotsBuffer.get());
    ASSERT_EQ(knots.size(), 68u);
    EXPECT_EQ(knots[34 + 3], 0.0f);
    EXPECT_EQ(knots[34 + 4], 1.0f / 7.0f);
    EXPECT_EQ(knots[34 + 10], 1.0f);
    const std::vector<float> matrices = fake.values<float>(node.cvBaseMatricesBuffer.get());
    ASSERT_EQ(matrices.size(), 2u * 30 * 16);
    EXPECT_FLOAT_EQ(matrices[16 * 9 + 12], 3.0f); // the last control point rests on the last joint
    EXPECT_EQ(matrices[16 * 9 + 15], 1.0f);
}

TEST_F(GpuDriver, CachedEvaluationUploadsOnlyWhatFollowsThePose) {
    callsOfDeform();
    const std::vector<DeviceCall> calls = callsOfDeform();
    expectWholeLaunch(calls, 12);
    EXPECT_EQ(uploaded(calls), (std::vector<int>{10, 15, 16, 17, 21}));
    EXPECT_TRUE(only(calls, "CreateBuffer").empty());
    std::size_t builds;
    headless::lastOpenCLBuild(&builds);
    callsOfDeform();
    std::size_t later;
    headless::lastOpenCLBuild(&later);
    EXPECT_EQ(later, builds); // compiled once
}

TEST_F(GpuDriver, WithoutCachingEverythingButTheScratchIsWrittenAgain) {
    callsOfDeform();
    setCaching(false);
    for (int repeat = 0; repeat < 2; ++repeat) {
        const std::vector<DeviceCall> calls = callsOfDeform();
        EXPECT_EQ(uploaded(calls), (std::vector<int>{6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21}));
        EXPECT_TRUE(only(calls, "CreateBuffer").empty());
    }
    setCaching(true);
    EXPECT_EQ(uploaded(callsOfDeform()), (std::vector<int>{10, 15, 16, 17, 21}));
}

TEST_F(GpuDriver, WeightChangesAreSeenAfterAReleaseOrWithoutCaching) {
    const auto firstWeight = [&] { return fake.values<float>(node.blockWeightsBuffer.get())[0]; };
    callsOfDeform();
    block(0)[attribute::kBlockWeights] = repeated(12, 0.5f);
    callsOfDeform();
    EXPECT_EQ(firstWeight(), 1.0f);
    node.releaseGpu();
    callsOfDeform();
    EXPECT_EQ(firstWeight(), 0.5f);
    block(0)[attribute::kBlockWeights] = repeated(12, 0.25f);
    setCaching(false);
    callsOfDeform();
    EXPECT_EQ(firstWeight(), 0.25f);
}

TEST_F(GpuDriver, KnotsFollowTheNumberOfControlPointsWhileCached) {
    callsOfDeform();
    block(0)[attribute::kSimple] = boolean(true);
    const std::vector<DeviceCall> calls = callsOfDeform();
    EXPECT_EQ(uploaded(calls), (std::vector<int>{10, 15, 16, 17, 18, 21}));
    EXPECT_EQ(fake.values<float>(node.knotsBuffer.get())[4], 1.0f); // four control points
    EXPECT_EQ(uploaded(callsOfDeform()), (std::vector<int>{10, 15, 16, 17, 21}));
}

TEST_F(GpuDriver, ReleaseDropsKernelAndBuffersAndTheNextEvaluationMakesThemAnew) {
    callsOfDeform();
    EXPECT_EQ(fake.liveBuffers(), 3u + 13u);
    EXPECT_EQ(headless::openCLKernelsOut(), 1u);
    node.releaseGpu();
    EXPECT_EQ(fake.liveBuffers(), 3u);
    EXPECT_EQ(fake.liveKernels(), 0u);
    EXPECT_EQ(headless::openCLKernelsOut(), 0u);
    EXPECT_TRUE(node.uploadDevice);
    EXPECT_EQ(node.blockWeights.size(), 12u); // host arrays are kept
    for (std::size_t bytes : node.capacity) EXPECT_EQ(bytes, 0u);
    const std::vector<DeviceCall> calls = callsOfDeform();
    EXPECT_EQ(only(calls, "CreateBuffer").size(), 13u);
    expectWholeLaunch(calls, 12);
}

TEST_F(GpuDriver, ReleaseMayComeTwiceAndBeforeAnyEvaluation) {
    node.releaseGpu();
    node.releaseGpu();
    EXPECT_TRUE(fake.takeCalls().empty());
    callsOfDeform();
    node.releaseGpu();
    node.releaseGpu();
    EXPECT_EQ(errors(), std::vector<std::string>{});
    EXPECT_EQ(fake.liveKernels(), 0u);
}

TEST_F(GpuDriver, ADestroyedNodeLeavesNoBufferBehind) {
    {
        MyNode other;
        other.object = headless::createNode("talvisora", "leg");
        other.sharedInputs["Hier hier"] = hierarchy;
        ASSERT_EQ(other.deformGpu(attributes, data), 0);
        EXPECT_EQ(fake.liveBuffers(), 16u);
    }
    EXPECT_EQ(fake.liveBuffers(), 3u);
}

TEST_F(GpuDriver, EventsAreChained) {
    data.inputEvent.attach(fake.makeEvent());
    const DeviceCall launched = only(callsOfDeform(), "EnqueueNDRangeKernel").at(0);
    EXPECT_EQ(launched.waits, 1u);
    EXPECT_EQ(launched.waitedFor, data.inputEvent.get());
    EXPECT_EQ(launched.event, data.outputEvent.get());
    data.inputEvent.reset();
    EXPECT_EQ(only(callsOfDeform(), "EnqueueNDRangeKernel").at(0).waits, 0u);
    EXPECT_EQ(fake.liveEvents(), 1u); // the last output event
}

TEST_F(GpuDriver, TellsTheInitTimeOnceInDebugMode4Only) {
    for (const std::int32_t mode : {0, 3, 4, 5, -4}) {
        attributes[setting::kDebugMode] = integer(mode);
        ASSERT_EQ(deform(), 0);
        const std::vector<headless::Message> shown = headless::takeMessages();
        ASSERT_EQ(shown.size(), mode == 4 ? 1u : 0u) << mode;
        if (mode != 4) continue;
        EXPECT_EQ(shown[0].level, headless::MessageLevel::info);
        const std::string label = "talvisora: init kernel time: ";
        EXPECT_EQ(shown[0].text.compare(0, label.size(), label), 0) << shown[0].text;
        EXPECT_EQ(shown[0].text.substr(shown[0].text.size() - 2), "ms");
    }
}

TEST_F(GpuDriver, AFailedCompilationTouchesNoBufferAndIsTriedAgain) {
    const std::vector<std::string> expected{"Cannot compile OpenCL program: talvisora. See Output Window"};
    fake.builds = false;
    std::size_t before, after;
    headless::lastOpenCLBuild(&before);
    for (int repeat = 0; repeat < 2; ++repeat) {
        EXPECT_EQ(deform(), 1);
        EXPECT_EQ(errors(), expected);
        EXPECT_TRUE(fake.takeCalls().empty());
        EXPECT_TRUE(node.uploadDevice);
    }
    headless::lastOpenCLBuild(&after);
    EXPECT_EQ(after, before + 2);
    fake.builds = true;
    expectWholeLaunch(callsOfDeform(), 12);
}

TEST_F(GpuDriver, WithoutPointsTheMissingScratchIsReported) {
    resize(4, 0);
    EXPECT_EQ(deform(), 1);
    EXPECT_EQ(errors(),
              std::vector<std::string>{"talvisora: cvsdata.size() (global memory size) must be > 0"});
    const std::vector<DeviceCall> calls = fake.takeCalls();
    EXPECT_EQ(uploaded(calls), (std::vector<int>{10, 15, 16, 17, 18})); // nothing per point
    EXPECT_TRUE(only(calls, "EnqueueNDRangeKernel").empty());
    EXPECT_TRUE(node.uploadDevice);
}

TEST_F(GpuDriver, WithoutPointsButWithAScratchTheLaunchIsIdle) {
    callsOfDeform();
    for (const std::int32_t count : {0, -3}) {
        resize(4, 0);
        data.pointCount = count;
        setCaching(false);
        const std::vector<DeviceCall> calls = callsOfDeform();
        expectWholeLaunch(calls, 0);
        EXPECT_EQ(uploaded(calls), (std::vector<int>{10, 15, 16, 17, 18, 20, 21}));
        EXPECT_EQ(only(calls, "EnqueueNDRangeKernel").at(0).size, 256u);
    }
}

TEST_F(GpuDriver, ReadsNeitherTheOtherLayoutNorItsCount) {
    attributes.erase(setting::kSoaEnabled);
    callsOfDeform();
    EXPECT_EQ(node.sharedInputs.count(setting::kSoaPoints), 0u);
}

TEST_F(GpuDriver, NoBlocksAreReportedAfterTheHierarchyAndCounted) {
    callsOfDeform();
    attributes[attribute::kBlock] = compound({});
    EXPECT_EQ(deform(), 1);
    EXPECT_EQ(
        errorsWithoutLine(),
        std::vector<std::string>{"arm: ASSERT error (deformers/talvisora/talvisora:LINE): block is NULL"});
    EXPECT_EQ(node.blockCount, 0);
    node.sharedInputs.clear();
    EXPECT_EQ(deform(), 1);
    EXPECT_EQ(errorsWithoutLine(),
              std::vector<std::string>{
                  "arm: (deformers/talvisora/talvisora:LINE): cannot find shared input 'Hier hier'"});
}

TEST_F(GpuDriver, SetUpFaultsPrintThisPathsLines) {
    resize(4, 12, 6);
    block(1)[attribute::kJoints] = texts(std::vector<std::string>{"j0"});
    block(2)[attribute::kJoints] = texts(std::vector<std::string>{"j0", "hip"});
    block(3)[attribute::kJoints] = texts(std::vector<std::string>(11, "j0"));
    block(4)[attribute::kBends] = texts({0}, {"b1"});
    EXPECT_EQ(deform(), 1);
    EXPECT_EQ(errors(), (std::vector<std::string>{
                            assertionText(1725, "joints[1] must be > 1"),
                            assertionText(1735, "Cannot find 'hip' in hier!"),
                            assertionText(1764, "Joint's number must not be > 10 or > 30 (when simple)"),
                            assertionText(1861, "Cannot find bend control 'b1' in hier!"),
                        }));
    EXPECT_TRUE(fake.takeCalls().empty());
    EXPECT_TRUE(node.uploadDevice);
    EXPECT_FALSE(node.shape.valid); // for neither path
}

TEST_F(GpuDriver, FailuresOfTheRebuildLeaveTheMark) {
    callsOfDeform();
    EXPECT_FALSE(node.uploadDevice);
    setCaching(false);
    block(0)[attribute::kParams] = repeated(11, 0.0f);
    EXPECT_EQ(deform(), 1);
    EXPECT_EQ(errorsWithoutLine(),
              std::vector<std::string>{
                  "arm: ASSERT error (deformers/talvisora/talvisora:LINE): block[0].params != NUM_ELEMENTS"});
    EXPECT_TRUE(node.uploadDevice);
    EXPECT_FALSE(node.shape.valid);
    setCaching(true);
    block(0)[attribute::kParams] = repeated(12, 0.5f);
    EXPECT_EQ(uploaded(callsOfDeform()), (std::vector<int>{6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21}));
    EXPECT_EQ(fake.values<float>(node.paramsBuffer.get())[7], 0.5f);
}

TEST_F(GpuDriver, RebuildsWhenTheOtherPathHasOtherPoints) {
    callsOfDeform();
    const ValueMap kept = attributes;
    const auto keptHierarchy = hierarchy;
    makeRig(4, 7);
    ASSERT_EQ(evaluate(), 0); // seven points on the CPU
    attributes = kept;
    node.sharedInputs["Hier hier"] = keptHierarchy;
    EXPECT_EQ(uploaded(callsOfDeform()), (std::vector<int>{6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21}));
}

TEST_F(GpuDriver, NeitherPathClearsTheOthersMark) {
    callsOfDeform();
    EXPECT_TRUE(node.rebuildCache);
    ASSERT_EQ(evaluate(), 0);
    EXPECT_FALSE(node.rebuildCache);
    node.releaseGpu();
    EXPECT_FALSE(node.rebuildCache);
    EXPECT_TRUE(node.uploadDevice);
    ASSERT_EQ(evaluate(), 0);
    EXPECT_TRUE(node.uploadDevice);
}

TEST_F(GpuDriver, ASmallerMeshUsesTheBuffersThatAreThere) {
    callsOfDeform();
    resize(4, 5);
    const std::vector<DeviceCall> calls = callsOfDeform();
    expectWholeLaunch(calls, 5);
    EXPECT_TRUE(only(calls, "CreateBuffer").empty());
    resize(4, 12);
    expectWholeLaunch(callsOfDeform(), 12);
}

} // namespace
} // namespace talvisora
