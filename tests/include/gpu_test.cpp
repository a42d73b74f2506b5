// SPDX-License-Identifier: Apache-2.0
// The OpenCL helpers over a made-up device: which calls they make, with what, and what they say when one
// fails.
#include "gpu.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>

#include "fixtures/fake_opencl.h"
#include "headless/opencl/devices.h"
#include "headless/scene/message_log.h"
#include "kernels/records.h"

namespace talvisora {
namespace {

using fixtures::DeviceCall;
using fixtures::FakeOpenCL;

class Gpu : public testing::Test {
protected:
    Gpu() {
        headless::clearMessages();
        headless::takeOpenCLStatuses();
        kernel = MOpenCLInfo::getOpenCLKernelFromString(MString("text"), MString("program"), MString("run"));
    }
    ~Gpu() override { EXPECT_EQ(fake.violations(), std::vector<std::string>{}); }

    DeviceCall onlyCall() {
        const std::vector<DeviceCall> calls = fake.takeCalls();
        EXPECT_EQ(calls.size(), 1u);
        return calls.empty() ? DeviceCall{} : calls[0];
    }
    void failEverything(cl_int code) {
        fake.answer = [code](const DeviceCall&, std::size_t) { return code; };
    }
    static std::vector<std::string> errors() {
        std::vector<std::string> texts;
        for (const headless::Message& message : headless::takeMessages()) {
            EXPECT_EQ(message.level, headless::MessageLevel::error);
            texts.push_back(message.text);
        }
        return texts;
    }

    FakeOpenCL fake;
    MAutoCLKernel kernel;
    MAutoCLMem buffer;
};

TEST_F(Gpu, TenFloatsAreFortyBytesOfAReadOnlyBuffer) {
    const std::vector<float> values = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9.5f};
    EXPECT_EQ(gpu::upload(buffer, values), CL_SUCCESS);
    const DeviceCall call = onlyCall();
    EXPECT_EQ(call.name, "CreateBuffer");
    EXPECT_EQ(call.size, 40u);
    EXPECT_EQ(call.flags, 36u);
    EXPECT_EQ(fake.values<float>(buffer.get()), values);
    EXPECT_EQ(fake.references(buffer.get()), 1); // the handle's own
}

TEST_F(Gpu, RecordsAreUploadedInTheirDeviceSizes) {
    EXPECT_EQ(gpu::upload(buffer, std::vector<std::int32_t>{1, -2, 3}), CL_SUCCESS);
    MAutoCLMem infos, tweaks, vectors, scratch;
    gpu::upload(infos, std::vector<BlockInfo>(2));
    gpu::upload(tweaks, std::vector<Tweak>(2));
    gpu::upload(vectors, std::vector<TweakVectors>(2));
    gpu::upload(scratch, std::vector<Float3Slot>(2), gpu::kScratchBuffer);
    const std::vector<DeviceCall> calls = fake.takeCalls();
    ASSERT_EQ(calls.size(), 5u);
    const std::size_t sizes[] = {12, 24, 112, 224, 32};
    for (std::size_t k = 0; k < 5; ++k) EXPECT_EQ(calls[k].size, sizes[k]) << k;
    EXPECT_EQ(calls[3].flags, 36u);
    EXPECT_EQ(calls[4].flags, 33u);
    EXPECT_EQ(fake.values<std::int32_t>(buffer.get()), (std::vector<std::int32_t>{1, -2, 3}));
}

TEST_F(Gpu, ThreeMatricesAreNarrowedTo192Bytes) {
    std::vector<Matrix44d> matrices(3);
    for (int k = 0; k < 48; ++k) matrices[static_cast<std::size_t>(k / 16)].m[k % 16] = k + 0.1;
    EXPECT_EQ(gpu::upload(buffer, matrices), CL_SUCCESS);
    EXPECT_EQ(onlyCall().size, 192u);
    const std::vector<float> values = fake.values<float>(buffer.get());
    ASSERT_EQ(values.size(), 48u);
    for (int k = 0; k < 48; ++k) EXPECT_EQ(values[static_cast<std::size_t>(k)], static_cast<float>(k + 0.1));
}

TEST_F(Gpu, AnExistingBufferIsOverwrittenInPlace) {
    gpu::upload(buffer, std::vector<float>{1, 2, 3, 4});
    const cl_mem first = buffer.get();
    fake.takeCalls();
    EXPECT_EQ(gpu::upload(buffer, std::vector<float>{9, 8}), CL_SUCCESS);
    const DeviceCall call = onlyCall();
    EXPECT_EQ(call.name, "EnqueueWriteBuffer");
    EXPECT_EQ(call.size, 8u);
    EXPECT_EQ(call.buffer, first);
    EXPECT_EQ(fake.values<float>(buffer.get()), (std::vector<float>{9, 8, 3, 4}));
}

TEST_F(Gpu, AnUpdateNeverResizes) {
    gpu::upload(buffer, std::vector<float>{1, 2});
    EXPECT_EQ(gpu::upload(buffer, std::vector<float>{7, 8, 9}), CL_INVALID_VALUE);
    EXPECT_EQ(errors(), std::vector<std::string>{"OpenCL API error at include/gpu: 28: CL_INVALID_VALUE"});
    EXPECT_EQ(headless::takeOpenCLStatuses(), std::vector<cl_int>{CL_INVALID_VALUE});
    EXPECT_EQ(fake.values<float>(buffer.get()), (std::vector<float>{1, 2}));
}

TEST_F(Gpu, AnEmptyArrayMakesNoBuffer) {
    EXPECT_EQ(gpu::upload(buffer, std::vector<float>{}), CL_INVALID_BUFFER_SIZE);
    EXPECT_TRUE(buffer.isNull());
    EXPECT_EQ(errors(),
              std::vector<std::string>{"OpenCL API error at include/gpu: 28: CL_INVALID_BUFFER_SIZE"});
}

TEST_F(Gpu, AFailedCreationLeavesTheHandleEmptyAndIsTriedAgain) {
    failEverything(CL_MEM_OBJECT_ALLOCATION_FAILURE);
    EXPECT_EQ(gpu::upload(buffer, std::vector<float>{1}), CL_MEM_OBJECT_ALLOCATION_FAILURE);
    EXPECT_TRUE(buffer.isNull());
    EXPECT_EQ(errors(), std::vector<std::string>{
                            "OpenCL API error at include/gpu: 28: CL_MEM_OBJECT_ALLOCATION_FAILURE"});
    EXPECT_EQ(fake.takeCalls().size(), 1u); // once, not repeated
    fake.answer = nullptr;
    EXPECT_EQ(gpu::upload(buffer, std::vector<float>{1}), CL_SUCCESS);
    EXPECT_EQ(onlyCall().name, "CreateBuffer");
}

TEST_F(Gpu, ArgumentsHaveTheirKernelSizes) {
    gpu::upload(buffer, std::vector<float>{1});
    fake.takeCalls();
    Matrix44d matrix;
    matrix.m[12] = 0.1;
    EXPECT_EQ(gpu::setArgument(kernel, 6, buffer), CL_SUCCESS);
    EXPECT_EQ(gpu::setArgument(kernel, 2, std::int32_t(-7)), CL_SUCCESS);
    EXPECT_EQ(gpu::setArgument(kernel, 4, 0.25f), CL_SUCCESS);
    EXPECT_EQ(gpu::setArgument(kernel, 5, matrix), CL_SUCCESS);
    const std::vector<DeviceCall> calls = fake.takeCalls();
    ASSERT_EQ(calls.size(), 4u);
    const cl_uint indices[] = {6, 2, 4, 5};
    const std::size_t sizes[] = {8, 4, 4, 64};
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(calls[k].index, indices[k]);
        EXPECT_EQ(calls[k].size, sizes[k]);
    }
    EXPECT_EQ(calls[0].buffer, buffer.get());
    std::int32_t number;
    std::memcpy(&number, calls[1].bytes.data(), 4);
    EXPECT_EQ(number, -7);
    float floats[16];
    std::memcpy(floats, calls[2].bytes.data(), 4);
    EXPECT_EQ(floats[0], 0.25f);
    std::memcpy(floats, calls[3].bytes.data(), 64);
    EXPECT_EQ(floats[0], 1.0f);
    EXPECT_EQ(floats[12], 0.1f);
}

TEST_F(Gpu, ArgumentsAreNotCheckedHere) {
    failEverything(CL_INVALID_ARG_VALUE);
    EXPECT_EQ(gpu::setArgument(kernel, 2, std::int32_t(1)), CL_INVALID_ARG_VALUE);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Gpu, TheGlobalSizeIsAlwaysOneGroupMore) {
    const std::pair<std::int32_t, std::size_t> cases[] = {{0, 256},     {1, 256},     {255, 256}, {256, 512},
                                                          {1000, 1024}, {1024, 1280}, {-5, 256}};
    for (const auto& [count, global] : cases) {
        gpu::WorkSizes sizes;
        EXPECT_EQ(gpu::workSizes(MOpenCLInfo::getOpenCLDeviceId(), kernel, count, sizes), CL_SUCCESS);
        EXPECT_EQ(sizes.local, 256u);
        EXPECT_EQ(sizes.global, global) << count;
    }
    fake.groupSize = 64;
    gpu::WorkSizes sizes;
    gpu::workSizes(MOpenCLInfo::getOpenCLDeviceId(), kernel, 2147483647, sizes);
    EXPECT_EQ(sizes.local, 64u);
    EXPECT_EQ(sizes.global, 2147483648u);
}

TEST_F(Gpu, WithoutAnAnswerGroupsHave256Items) {
    gpu::WorkSizes sizes;
    fake.groupSize = 64;
    fake.groupAnswerSize = 0;
    EXPECT_EQ(gpu::workSizes(MOpenCLInfo::getOpenCLDeviceId(), kernel, 1000, sizes), CL_SUCCESS);
    EXPECT_EQ(sizes.local, 256u);
    EXPECT_EQ(sizes.global, 1024u);
    fake.groupAnswerSize = 8;
    fake.groupSize = 0;
    EXPECT_EQ(gpu::workSizes(MOpenCLInfo::getOpenCLDeviceId(), kernel, 1000, sizes), CL_SUCCESS);
    EXPECT_EQ(sizes.local, 256u);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Gpu, AFailedQueryIsReportedAndTheSizesAreUsable) {
    failEverything(CL_INVALID_DEVICE);
    gpu::WorkSizes sizes;
    EXPECT_EQ(gpu::workSizes(MOpenCLInfo::getOpenCLDeviceId(), kernel, 1000, sizes), CL_INVALID_DEVICE);
    EXPECT_EQ(sizes.local, 256u);
    EXPECT_EQ(sizes.global, 1024u);
    EXPECT_EQ(errors(), std::vector<std::string>{"OpenCL API error at include/gpu: 45: CL_INVALID_DEVICE"});
}

class GpuLaunch : public Gpu {
protected:
    GpuLaunch() {
        gpu::upload(buffer, std::vector<float>(1000));
        for (int index = 0; index < 22; ++index) {
            const bool number = index == 2 || index == 4 || index == 8 || index == 9;
            const bool matrix = index == 5 || index == 7;
            if (number)
                gpu::setArgument(kernel, static_cast<cl_uint>(index), std::int32_t(0));
            else if (matrix)
                gpu::setArgument(kernel, static_cast<cl_uint>(index), Matrix44d{});
            else
                gpu::setArgument(kernel, static_cast<cl_uint>(index), buffer);
        }
        fake.takeCalls();
    }
    MAutoCLEvent input, output;
};

TEST_F(GpuLaunch, RunsInOneDimensionAndHandsTheEventOut) {
    EXPECT_EQ(gpu::launch(kernel, {1024, 256}, input, output), CL_SUCCESS);
    const DeviceCall call = onlyCall();
    EXPECT_EQ(call.name, "EnqueueNDRangeKernel");
    EXPECT_EQ(call.size, 1024u);
    EXPECT_EQ(call.local, 256u);
    EXPECT_EQ(call.waits, 0u);
    EXPECT_EQ(call.event, output.get());
    EXPECT_EQ(fake.references(output.get()), 1);
}

TEST_F(GpuLaunch, WaitsForTheInputEventAndLetsGoOfTheOldOutput) {
    input.attach(fake.makeEvent());
    output.attach(fake.makeEvent());
    const cl_event old = output.get();
    EXPECT_EQ(gpu::launch(kernel, {256, 256}, input, output), CL_SUCCESS);
    const DeviceCall call = onlyCall();
    EXPECT_EQ(call.waits, 1u);
    EXPECT_EQ(call.waitedFor, input.get());
    EXPECT_EQ(fake.references(old), 0);
    EXPECT_EQ(fake.references(input.get()), 1);
}

TEST_F(GpuLaunch, AFailureIsReportedAndLeavesNoEvent) {
    failEverything(CL_OUT_OF_RESOURCES);
    EXPECT_EQ(gpu::launch(kernel, {256, 256}, input, output), CL_OUT_OF_RESOURCES);
    EXPECT_EQ(errors(), std::vector<std::string>{"OpenCL API error at include/gpu: 78: CL_OUT_OF_RESOURCES"});
    EXPECT_EQ(headless::takeOpenCLStatuses(), std::vector<cl_int>{CL_OUT_OF_RESOURCES});
    EXPECT_TRUE(output.isNull());
}

TEST(GpuTimer, CutsOffMicrosecondsAndShowsTwoDecimals) {
    EXPECT_EQ(gpu::timerText("label", 1500000), "label: 1.50ms");
    EXPECT_EQ(gpu::timerText("label", 1500999), "label: 1.50ms");
    EXPECT_EQ(gpu::timerText("label", 0), "label: 0.00ms");
    EXPECT_EQ(gpu::timerText("label", 999), "label: 0.00ms");
    EXPECT_EQ(gpu::timerText("label", 5999), "label: 0.01ms");  // 0.005 in doubles lies above 0.005
    EXPECT_EQ(gpu::timerText("label", 15999), "label: 0.01ms"); // 0.015 lies below 0.015, 0.015999 above
    EXPECT_EQ(gpu::timerText("%s", 123456789012), "%s: 123456.79ms");
    EXPECT_EQ(gpu::timerText("label", std::numeric_limits<std::int64_t>::max()), "label: 9223372036854.78ms");
}

TEST(GpuTimer, IsShownAsInformationInEveryLocale) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // a comma, where that locale is installed
    headless::clearMessages();
    gpu::reportTimer("talvisora: init kernel time", gpu::startTimer());
    std::setlocale(LC_NUMERIC, before.c_str());
    const std::vector<headless::Message> shown = headless::takeMessages();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].level, headless::MessageLevel::info);
    const std::string& text = shown[0].text;
    const std::string label = "talvisora: init kernel time: ";
    ASSERT_GT(text.size(), label.size() + 5);
    EXPECT_EQ(text.substr(0, label.size()), label);
    EXPECT_EQ(text.substr(text.size() - 2), "ms");
    EXPECT_EQ(text[text.size() - 5], '.');
}

} // namespace
} // namespace talvisora
