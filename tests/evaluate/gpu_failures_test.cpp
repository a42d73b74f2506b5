// SPDX-License-Identifier: Apache-2.0
// GPU evaluations on a made-up device that fails: what is reported, where later arguments end up, and that no
// launch ever reaches outside the node's buffers or at the host's old ones.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fixtures/gpu_node_test.h"

namespace talvisora {
namespace {

using namespace fixtures;

std::string nodeError(int line, const std::string& name) {
    return "OpenCL API error at deformers/talvisora/talvisora: " + std::to_string(line) + ": " + name;
}
std::string headerError(int line, const std::string& name) {
    return "OpenCL API error at include/gpu: " + std::to_string(line) + ": " + name;
}

class GpuFailures : public GpuNodeTest {
protected:
    /// Lets the calls from number `first` on fail, `count` of them.
    void failCalls(std::size_t first, std::size_t count, cl_int code) {
        fake.answer = [=](const DeviceCall&, std::size_t number) {
            return number >= first && number < first + count ? code : CL_SUCCESS;
        };
        fake.takeCalls();
    }
    /// Lets all calls fail that belong to an index.
    void failArgument(cl_uint index, cl_int code) {
        fake.answer = [=](const DeviceCall& call, std::size_t) {
            return call.name == "SetKernelArg" && call.index == index ? code : CL_SUCCESS;
        };
        fake.takeCalls();
    }
    std::vector<DeviceCall> callsOfFailingDeform() {
        EXPECT_EQ(deform(), 0);
        fake.answer = nullptr;
        return fake.takeCalls();
    }
    static std::vector<cl_uint> boundIndices(const std::vector<DeviceCall>& calls) {
        std::vector<cl_uint> indices;
        for (const DeviceCall& call : only(calls, "SetKernelArg")) indices.push_back(call.index);
        return indices;
    }
    static std::vector<std::string> reportsOf(const std::string& text, const std::vector<std::string>& all) {
        std::vector<std::string> found;
        for (const std::string& line : all)
            if (line == text) found.push_back(line);
        return found;
    }
    void expectRebuild() {
        const std::vector<DeviceCall> calls = callsOfDeform();
        expectWholeLaunch(calls, data.pointCount);
        const std::vector<int> indices = uploaded(calls);
        EXPECT_TRUE(std::includes(indices.begin(), indices.end(), std::begin(kRebuilt), std::end(kRebuilt)));
    }
    static constexpr int kRebuilt[] = {6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21};
};

TEST_F(GpuFailures, AFailingUploadIsMadeThreeTimesAndReportedInBetween) {
    callsOfDeform();
    // Calls: six arguments of the host and values, the matrix maps' argument …; the first upload of a cached
    // evaluation is that of the block records, call number 10.
    failCalls(10, 3, CL_OUT_OF_RESOURCES);
    const std::vector<DeviceCall> calls = callsOfFailingDeform();
    EXPECT_EQ(only(calls, "EnqueueWriteBuffer").size(), 5u + 2u);
    EXPECT_EQ(errors(), (std::vector<std::string>{
                            headerError(28, "CL_OUT_OF_RESOURCES"), headerError(28, "CL_OUT_OF_RESOURCES"),
                            nodeError(1920, "CL_OUT_OF_RESOURCES"), headerError(28, "CL_OUT_OF_RESOURCES")}));
    EXPECT_EQ(headless::takeOpenCLStatuses(), std::vector<cl_int>(4, CL_OUT_OF_RESOURCES));
    expectRebuild();
}

TEST_F(GpuFailures, TheTextIsThatOfTheSecondTryAndTheStatusThatOfTheThird) {
    callsOfDeform();
    fake.answer = [](const DeviceCall&, std::size_t number) -> cl_int {
        if (number == 10) return CL_OUT_OF_RESOURCES;
        if (number == 11) return CL_OUT_OF_HOST_MEMORY;
        return CL_SUCCESS;
    };
    callsOfFailingDeform();
    EXPECT_EQ(errors(), (std::vector<std::string>{headerError(28, "CL_OUT_OF_RESOURCES"),
                                                  headerError(28, "CL_OUT_OF_HOST_MEMORY"),
                                                  nodeError(1920, "CL_OUT_OF_HOST_MEMORY")}));
    EXPECT_EQ(headless::takeOpenCLStatuses(),
              (std::vector<cl_int>{CL_OUT_OF_RESOURCES, CL_OUT_OF_HOST_MEMORY, CL_SUCCESS}));
}

TEST_F(GpuFailures, AFailingArgumentPushesTheLaterOnesTwoPlacesOn) {
    callsOfDeform();
    failCalls(21 + 5, 1, CL_OUT_OF_RESOURCES); // the last argument of a cached evaluation, once
    const std::vector<DeviceCall> calls = callsOfFailingDeform();
    const std::vector<cl_uint> indices = boundIndices(calls);
    // Index 21 fails; the second and third try go to 22 and 23, which no kernel has.
    const std::vector<cl_uint> last(indices.begin() + 21, indices.end());
    EXPECT_EQ(last, (std::vector<cl_uint>{21, 22, 23, 2}));
    EXPECT_EQ(errors(), std::vector<std::string>{nodeError(1943, "CL_INVALID_ARG_INDEX")});
    EXPECT_EQ(headless::takeOpenCLStatuses(), std::vector<cl_int>{CL_INVALID_ARG_INDEX});
    // An idle launch: the kernel is told that there are no points.
    EXPECT_EQ(only(calls, "EnqueueNDRangeKernel").at(0).count, 0);
    EXPECT_FALSE(data.outputEvent.isNull());
    EXPECT_FALSE(node.uploadDevice);
    expectRebuild();
}

TEST_F(GpuFailures, ADriftInTheMiddleIsReportedOncePerArgumentAndStaysHarmless) {
    callsOfDeform();
    failArgument(6, CL_INVALID_MEM_OBJECT);
    const std::vector<DeviceCall> calls = callsOfFailingDeform();
    const std::vector<cl_uint> indices = boundIndices(calls);
    const std::vector<cl_uint> first(indices.begin(), indices.begin() + 10);
    // The maps are tried at 6, 7, 8; the matrix then at 9, 10, 11, where it is too large; and so on.
    EXPECT_EQ(first, (std::vector<cl_uint>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(indices.back(), 2u); // the count is set to zero
    EXPECT_EQ(only(calls, "EnqueueNDRangeKernel").at(0).count, 0);
    const std::vector<std::string> shown = errors();
    EXPECT_EQ(reportsOf(nodeError(1913, "CL_INVALID_ARG_SIZE"), shown).size(), 1u);
    expectRebuild();
}

TEST_F(GpuFailures, WithoutTheHostsBuffersNothingIsLaunched) {
    callsOfDeform();
    for (const cl_uint index : {0u, 1u, 3u}) {
        // The host's old buffers go away; an argument that still names one must not be launched with.
        makeHostBuffers(12);
        failArgument(index, CL_INVALID_MEM_OBJECT);
        const std::vector<DeviceCall> calls = callsOfFailingDeform();
        EXPECT_TRUE(only(calls, "EnqueueNDRangeKernel").empty()) << index;
        EXPECT_FALSE(errors().empty());
        expectRebuild();
    }
}

TEST_F(GpuFailures, WhenTheCountCannotBeSetNothingIsLaunched) {
    callsOfDeform();
    failArgument(2, CL_OUT_OF_RESOURCES);
    EXPECT_TRUE(only(callsOfFailingDeform(), "EnqueueNDRangeKernel").empty());
    errors();
    expectRebuild();
}

TEST_F(GpuFailures, NullHandlesOfTheHostGiveAnIdleLaunch) {
    for (int which = 0; which < 3; ++which) {
        makeHostBuffers(12);
        (which == 0 ? data.inputPoints : which == 1 ? data.outputPoints : data.weights).reset();
        const std::vector<DeviceCall> calls = callsOfDeform();
        EXPECT_EQ(only(calls, "EnqueueNDRangeKernel").at(0).count, 0) << which;
        EXPECT_EQ(only(calls, "SetKernelArg").size(), 23u);
    }
    makeHostBuffers(12);
    expectRebuild();
}

TEST_F(GpuFailures, AGrownMeshKeepsItsScratchAndReportsUntilItIsReleased) {
    callsOfDeform();
    const cl_mem scratch = node.cvsDataBuffer.get();
    resize(4, 20);
    for (int repeat = 0; repeat < 2; ++repeat) {
        const std::vector<DeviceCall> calls = callsOfFailingDeform();
        EXPECT_TRUE(only(calls, "CreateBuffer").empty());
        EXPECT_EQ(only(calls, "EnqueueNDRangeKernel").at(0).count, 0);
        // Five arrays of points: three reports of the header and one of the node each.
        const std::vector<std::string> shown = errors();
        EXPECT_EQ(shown.size(), 20u);
        EXPECT_EQ(reportsOf(headerError(28, "CL_INVALID_VALUE"), shown).size(), 15u);
        for (const int line : {1912, 1922, 1924, 1926, 1928})
            EXPECT_EQ(reportsOf(nodeError(line, "CL_INVALID_VALUE"), shown).size(), 1u) << line;
        EXPECT_EQ(node.cvsDataBuffer.get(), scratch);
    }
    node.releaseGpu();
    expectWholeLaunch(callsOfDeform(), 20);
    EXPECT_EQ(fake.contents(node.cvsDataBuffer.get()).size(), 480u * 20);
}

TEST_F(GpuFailures, AScratchOfASmallerMeshGivesIdleLaunchesUntilItIsReleased) {
    // Of five points only the scratch could be made; everything for twenty then can.
    resize(4, 5);
    fake.answer = [](const DeviceCall& call, std::size_t) {
        return call.name == "CreateBuffer" && call.size != 480 * 5 ? CL_MEM_OBJECT_ALLOCATION_FAILURE
                                                                   : CL_SUCCESS;
    };
    callsOfFailingDeform();
    EXPECT_EQ(fake.contents(node.cvsDataBuffer.get()).size(), 480u * 5);
    errors();
    resize(4, 20);
    for (int repeat = 0; repeat < 2; ++repeat) {
        const std::vector<DeviceCall> calls = callsOfDeform(); // nothing fails, so nothing is said
        const DeviceCall launched = only(calls, "EnqueueNDRangeKernel").at(0);
        EXPECT_EQ(launched.count, 0);
        EXPECT_EQ(launched.size, 256u);
        EXPECT_EQ(launched.event, data.outputEvent.get());
        EXPECT_TRUE(node.deviceIncomplete);
    }
    node.releaseGpu();
    expectWholeLaunch(callsOfDeform(), 20);
}

TEST_F(GpuFailures, MoreBlocksReportUntilReleased) {
    callsOfDeform();
    resize(4, 12, 3);
    const std::vector<DeviceCall> calls = callsOfFailingDeform();
    EXPECT_EQ(only(calls, "EnqueueNDRangeKernel").at(0).count, 0);
    EXPECT_FALSE(errors().empty());
    node.releaseGpu();
    expectWholeLaunch(callsOfDeform(), 12);
    resize(4, 12, 2); // fewer fit
    expectWholeLaunch(callsOfDeform(), 12);
}

TEST_F(GpuFailures, AFailedWorkSizeQueryIsReportedAndTheKernelLaunched) {
    callsOfDeform();
    fake.answer = [](const DeviceCall& call, std::size_t) {
        return call.name == "GetKernelWorkGroupInfo" ? CL_INVALID_DEVICE : CL_SUCCESS;
    };
    const std::vector<DeviceCall> calls = callsOfFailingDeform();
    EXPECT_EQ(errors(), std::vector<std::string>{headerError(45, "CL_INVALID_DEVICE")});
    const DeviceCall launched = only(calls, "EnqueueNDRangeKernel").at(0);
    EXPECT_EQ(launched.count, 12);
    EXPECT_EQ(launched.local, 256u);
    expectRebuild();
}

TEST_F(GpuFailures, AFailedLaunchIsReported) {
    callsOfDeform();
    fake.answer = [](const DeviceCall& call, std::size_t) {
        return call.name == "EnqueueNDRangeKernel" ? CL_OUT_OF_RESOURCES : CL_SUCCESS;
    };
    callsOfFailingDeform();
    EXPECT_EQ(errors(), std::vector<std::string>{headerError(78, "CL_OUT_OF_RESOURCES")});
    EXPECT_TRUE(data.outputEvent.isNull());
    expectRebuild();
}

/// Every call of an evaluation fails in turn, once, thrice and from then on; the fixture sees to it that
/// nothing was touched that must not be.
class GpuEveryCall : public GpuFailures {
protected:
    void failEachInTurn(bool fresh, std::size_t count) {
        if (!fresh) callsOfDeform();
        std::size_t calls = 1;
        for (std::size_t number = 0; number < calls; ++number) {
            SCOPED_TRACE("call " + std::to_string(number));
            if (fresh) node.releaseGpu();
            makeHostBuffers(12); // the old ones are gone
            failCalls(number, count, CL_OUT_OF_RESOURCES);
            // Without a scratch the evaluation ends with a message of its own; that is not to happen here.
            ASSERT_EQ(deform(), 0);
            fake.answer = nullptr;
            calls = fake.takeCalls().size();
            const std::vector<std::string> shown = errors();
            EXPECT_FALSE(shown.empty());
            for (const std::string& text : shown)
                EXPECT_EQ(text.compare(0, 20, "OpenCL API error at "), 0) << text;
            EXPECT_TRUE(node.deviceIncomplete);
            expectRebuild();
            EXPECT_FALSE(node.deviceIncomplete);
            EXPECT_EQ(uploaded(callsOfDeform()), (std::vector<int>{10, 15, 16, 17, 21}));
            ASSERT_EQ(fake.violations(), std::vector<std::string>{});
        }
        EXPECT_GT(calls, 25u);
    }
};

TEST_F(GpuEveryCall, OfAFirstEvaluationMayFailOnce) {
    failEachInTurn(true, 1);
}
TEST_F(GpuEveryCall, OfAFirstEvaluationMayFailThrice) {
    failEachInTurn(true, 3);
}
TEST_F(GpuEveryCall, OfACachedEvaluationMayFailOnce) {
    failEachInTurn(false, 1);
}
TEST_F(GpuEveryCall, OfACachedEvaluationMayFailThrice) {
    failEachInTurn(false, 3);
}
TEST_F(GpuEveryCall, FromOneOnMayFail) {
    failEachInTurn(true, 1000);
}

TEST_F(GpuFailures, AMachineWithoutOpenCLGetsTheMessage) {
    clewExit(); // no function is left
    setenv("TALVISORA_OPENCL_LIBRARY", TALVISORA_BIN_DIR "/there_is_no_such_library.so", 1);
    headless::closeOpenCL();
    for (int repeat = 0; repeat < 2; ++repeat) {
        EXPECT_EQ(deform(), 1);
        EXPECT_EQ(errors(),
                  std::vector<std::string>{"Cannot compile OpenCL program: talvisora. See Output Window"});
    }
    node.releaseGpu();
    unsetenv("TALVISORA_OPENCL_LIBRARY");
    EXPECT_EQ(evaluate(), 0); // the CPU is still there
}

} // namespace
} // namespace talvisora
