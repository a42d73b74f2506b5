// SPDX-License-Identifier: Apache-2.0
// The platform's OpenCL over this machine's own (PoCL where there is no GPU): devices, the one in use,
// kernels from text, buffers in handles, and machines without any.
#include "opencl/devices.h"

#include <maya/MOpenCLInfo.h>
#include <maya/MString.h>

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

namespace {

const char* const kTwice = "kernel void twice(global float* x) { x[get_global_id(0)] *= 2.0f; }";

class OpenCLDevices : public testing::Test {
protected:
    void SetUp() override {
        clewExit();
        headless::takeOpenCLStatuses();
    }
    void TearDown() override {
        headless::closeOpenCL();
        clewExit();
        unsetenv("TALVISORA_OPENCL_LIBRARY");
    }
    static MAutoCLKernel compile(const char* source, const char* kernel) {
        return MOpenCLInfo::getOpenCLKernelFromString(MString(source), MString("a program"), MString(kernel));
    }
};

TEST_F(OpenCLDevices, AreListedWithWhatABugReportNeeds) {
    std::string reason;
    const std::vector<headless::OpenCLDevice> devices = headless::openCLDevices(&reason);
    ASSERT_FALSE(devices.empty()) << reason << ": install an OpenCL (Debian: pocl-opencl-icd)";
    EXPECT_EQ(reason, "");
    EXPECT_EQ(headless::openCLDeviceInUse(), -1); // looking is not choosing
    bool processors = false;
    for (std::size_t k = 0; k < devices.size(); ++k) {
        const headless::OpenCLDevice& device = devices[k];
        EXPECT_EQ(device.number, static_cast<int>(k));
        EXPECT_NE(device.platform, "");
        EXPECT_EQ(device.platformVersion.compare(0, 7, "OpenCL "), 0) << device.platformVersion;
        EXPECT_EQ(device.version.compare(0, 7, "OpenCL "), 0) << device.version;
        EXPECT_NE(device.name, "");
        EXPECT_NE(device.driver, "");
        EXPECT_GT(device.computeUnits, 0u);
        EXPECT_GT(device.largestWorkGroup, 0u);
        EXPECT_GE(device.globalBytes, device.largestBuffer);
        if (device.kind == "CPU") processors = true;
        EXPECT_FALSE(device.kind == "GPU" && processors) << "GPUs come first";
    }
}

TEST_F(OpenCLDevices, TheFirstOneIsTakenWhenNobodyChose) {
    EXPECT_NE(MOpenCLInfo::getOpenCLContext(), nullptr);
    EXPECT_NE(MOpenCLInfo::getMayaDefaultOpenCLCommandQueue(), nullptr);
    EXPECT_NE(MOpenCLInfo::getOpenCLDeviceId(), nullptr);
    EXPECT_EQ(headless::openCLDeviceInUse(), 0);
    headless::closeOpenCL();
    EXPECT_EQ(headless::openCLDeviceInUse(), -1);
}

TEST_F(OpenCLDevices, WrongNumbersAreRefusedAndLeaveNone) {
    const std::string last = std::to_string(headless::openCLDevices().size() - 1);
    std::string reason;
    EXPECT_TRUE(headless::useOpenCLDevice(0, &reason)) << reason;
    EXPECT_FALSE(headless::useOpenCLDevice(4711, &reason));
    EXPECT_EQ(reason, "there is no OpenCL device 4711; they are numbered from 0 to " + last);
    EXPECT_FALSE(headless::useOpenCLDevice(-1, &reason));
    EXPECT_EQ(headless::openCLDeviceInUse(), -1);
    EXPECT_EQ(MOpenCLInfo::getOpenCLContext(), nullptr);
    EXPECT_TRUE(headless::useOpenCLDevice(0));
    EXPECT_NE(MOpenCLInfo::getOpenCLContext(), nullptr);
}

TEST_F(OpenCLDevices, RunAKernelThatWasMadeFromText) {
    MAutoCLKernel kernel = compile(kTwice, "twice");
    ASSERT_FALSE(kernel.isNull()) << headless::lastOpenCLBuild().log;
    float values[4] = {1, 2, 3, 4.5f};
    const cl_command_queue queue = MOpenCLInfo::getMayaDefaultOpenCLCommandQueue();
    MAutoCLMem buffer;
    buffer.attach(clCreateBuffer(MOpenCLInfo::getOpenCLContext(), CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR,
                                 sizeof(values), values, nullptr));
    ASSERT_EQ(clSetKernelArg(kernel.get(), 0, sizeof(cl_mem), buffer.getReadOnlyRef()), CL_SUCCESS);
    const std::size_t global = 4;
    MAutoCLEvent done;
    ASSERT_EQ(clEnqueueNDRangeKernel(queue, kernel.get(), 1, nullptr, &global, nullptr, 0, nullptr,
                                     done.getReferenceForAssignment()),
              CL_SUCCESS);
    ASSERT_EQ(clEnqueueReadBuffer(queue, buffer.get(), CL_TRUE, 0, sizeof(values), values, 1,
                                  done.getReadOnlyRef(), nullptr),
              CL_SUCCESS);
    EXPECT_EQ(values[0], 2.0f);
    EXPECT_EQ(values[3], 9.0f);
    EXPECT_GE(headless::openCLMilliseconds(done.get()), 0.0);
    EXPECT_LT(headless::openCLMilliseconds(nullptr), 0.0);
}

TEST_F(OpenCLDevices, KernelsAreGivenBackOnce) {
    MAutoCLKernel kernel = compile(kTwice, "twice");
    ASSERT_FALSE(kernel.isNull());
    EXPECT_EQ(headless::openCLKernelsOut(), 1u);
    cl_uint references = 0;
    clGetKernelInfo(kernel.get(), CL_KERNEL_REFERENCE_COUNT, sizeof(references), &references, nullptr);
    EXPECT_EQ(references, 2u); // the handle's and the platform's
    EXPECT_TRUE(MOpenCLInfo::releaseOpenCLKernel(kernel));
    clGetKernelInfo(kernel.get(), CL_KERNEL_REFERENCE_COUNT, sizeof(references), &references, nullptr);
    EXPECT_EQ(references, 1u);
    EXPECT_FALSE(MOpenCLInfo::releaseOpenCLKernel(kernel));
    EXPECT_FALSE(MOpenCLInfo::releaseOpenCLKernel(MAutoCLKernel()));
    EXPECT_EQ(headless::openCLKernelsOut(), 0u);
}

TEST_F(OpenCLDevices, WhatCannotBeCompiledGivesANullHandleAndTheCompilersWords) {
    std::size_t before = 0, after = 0;
    headless::lastOpenCLBuild(&before);
    EXPECT_TRUE(compile("kernel void broken(", "broken").isNull());
    headless::OpenCLBuild build = headless::lastOpenCLBuild(&after);
    EXPECT_EQ(after, before + 1);
    EXPECT_EQ(build.programName, "a program");
    EXPECT_EQ(build.kernelName, "broken");
    EXPECT_FALSE(build.succeeded);
    EXPECT_NE(build.log.find("error"), std::string::npos) << build.log;
    EXPECT_TRUE(compile(kTwice, "thrice").isNull());
    EXPECT_NE(headless::lastOpenCLBuild().log.find("CL_INVALID_KERNEL_NAME"), std::string::npos);
    EXPECT_FALSE(compile(kTwice, "twice").isNull());
    EXPECT_TRUE(headless::lastOpenCLBuild().succeeded);
}

TEST_F(OpenCLDevices, ProgramsAreReadFromFiles) {
    const std::string path = testing::TempDir() + "talvisora_twice.cl";
    std::ofstream(path) << kTwice;
    EXPECT_FALSE(MOpenCLInfo::getOpenCLKernel(MString(path.c_str()), MString("twice")).isNull());
    std::remove(path.c_str());
    EXPECT_TRUE(MOpenCLInfo::getOpenCLKernel(MString(path.c_str()), MString("twice")).isNull());
}

TEST_F(OpenCLDevices, AFurtherQueueBelongsToTheCaller) {
    const cl_command_queue queue = MOpenCLInfo::createOpenCLCommandQueue();
    ASSERT_NE(queue, nullptr);
    EXPECT_NE(queue, MOpenCLInfo::getMayaDefaultOpenCLCommandQueue());
    EXPECT_EQ(clReleaseCommandQueue(queue), CL_SUCCESS);
}

TEST_F(OpenCLDevices, StatusesAreRemembered) {
    MOpenCLInfo::checkCLErrorStatus(CL_SUCCESS);
    MOpenCLInfo::checkCLErrorStatus(CL_INVALID_VALUE);
    EXPECT_EQ(headless::takeOpenCLStatuses(), (std::vector<cl_int>{CL_SUCCESS, CL_INVALID_VALUE}));
    EXPECT_TRUE(headless::takeOpenCLStatuses().empty());
}

TEST_F(OpenCLDevices, AreNoneWithoutALibraryOrWithoutAPlatform) {
    setenv("TALVISORA_OPENCL_LIBRARY", TALVISORA_BIN_DIR "/there_is_no_such_library.so", 1);
    std::string reason;
    EXPECT_TRUE(headless::openCLDevices(&reason).empty());
    EXPECT_EQ(reason, "no OpenCL library");
    EXPECT_FALSE(headless::useOpenCLDevice(0, &reason));
    EXPECT_EQ(reason, "no OpenCL library");
    EXPECT_EQ(MOpenCLInfo::getOpenCLContext(), nullptr);
    EXPECT_EQ(MOpenCLInfo::getMayaDefaultOpenCLCommandQueue(), nullptr);
    EXPECT_EQ(MOpenCLInfo::createOpenCLCommandQueue(), nullptr);
    EXPECT_EQ(MOpenCLInfo::getOpenCLDeviceId(), nullptr);
    EXPECT_TRUE(compile(kTwice, "twice").isNull());
    EXPECT_EQ(headless::lastOpenCLBuild().log, "no OpenCL device");
    // A library that offers little more than its name.
    setenv("TALVISORA_OPENCL_LIBRARY", TALVISORA_BIN_DIR "/libtest_opencl_library.so", 1);
    EXPECT_TRUE(headless::openCLDevices(&reason).empty());
    EXPECT_EQ(reason, "no OpenCL library");
}

} // namespace
