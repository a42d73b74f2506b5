// SPDX-License-Identifier: Apache-2.0
// The OpenCL loader: where it looks, what it does without any OpenCL, and the names of error codes.
#include <clew/clew.h>
#include <maya/MOpenCLAutoPtr.h>

#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#if defined(__linux__)
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace {

#if defined(__linux__)

const char* const kFixture = TALVISORA_BIN_DIR "/libtest_opencl_library.so";
const char* const kNowhere = TALVISORA_BIN_DIR "/there_is_no_such_library.so";

class OpenCLLoader : public testing::Test {
protected:
    void SetUp() override { clewExit(); }
    void TearDown() override {
        clewExit();
        unsetenv("TALVISORA_OPENCL_LIBRARY");
    }
    static void choose(const char* library) { setenv("TALVISORA_OPENCL_LIBRARY", library, 1); }
    static cl_uint platformCount() {
        cl_uint count = 0;
        return clGetPlatformIDs(0, nullptr, &count) == CL_SUCCESS ? count : 0;
    }
};

TEST_F(OpenCLLoader, NothingIsLoadedBeforeItIsAskedFor) {
    EXPECT_EQ(clGetPlatformIDs, nullptr);
    EXPECT_EQ(clSetKernelArg, nullptr);
    EXPECT_EQ(clRetainMemObject, nullptr);
}

TEST_F(OpenCLLoader, WithoutAnOpenCLItFailsAndAllStaysNull) {
    choose(kNowhere);
    EXPECT_EQ(clewInit(), CLEW_ERROR_OPEN_FAILED);
    EXPECT_EQ(clewInit(), -1);
    EXPECT_EQ(clGetPlatformIDs, nullptr);
    EXPECT_EQ(clCreateBuffer, nullptr);
    int count = 1;
    {
        MAutoCLMem buffer(reinterpret_cast<cl_mem>(&count), MAutoCLMem::NoRef());
        MAutoCLMem copy(buffer);
    }
    EXPECT_EQ(count, 1);
    EXPECT_STREQ(clewErrorString(CL_INVALID_KERNEL), "CL_INVALID_KERNEL");
}

TEST_F(OpenCLLoader, LibraryThatIsNoOpenCLIsRefused) {
    choose("libm.so.6");
    EXPECT_EQ(clewInit(), CLEW_ERROR_OPEN_FAILED);
    EXPECT_EQ(clGetPlatformIDs, nullptr);
}

TEST_F(OpenCLLoader, TakesTheLibraryThatTheEnvironmentNames) {
    choose(kFixture);
    ASSERT_EQ(clewInit(), CLEW_SUCCESS);
    EXPECT_EQ(platformCount(), 4711u);
    EXPECT_EQ(clCreateKernel, nullptr); // not in that library
    int count = 1;
    {
        MAutoCLMem buffer(reinterpret_cast<cl_mem>(&count), MAutoCLMem::NoRef());
        MAutoCLMem copy(buffer);
        EXPECT_EQ(count, 2);
    }
    EXPECT_EQ(count, 0);
}

TEST_F(OpenCLLoader, SecondCallChangesNothing) {
    choose(kFixture);
    ASSERT_EQ(clewInit(), CLEW_SUCCESS);
    const auto before = clGetPlatformIDs;
    choose(kNowhere);
    EXPECT_EQ(clewInit(), CLEW_SUCCESS);
    EXPECT_EQ(clGetPlatformIDs, before);
}

TEST_F(OpenCLLoader, ExitForgetsAndAFurtherInitLoadsAgain) {
    choose(kFixture);
    ASSERT_EQ(clewInit(), CLEW_SUCCESS);
    clewExit();
    EXPECT_EQ(clGetPlatformIDs, nullptr);
    clewExit();
    ASSERT_EQ(clewInit(), CLEW_SUCCESS);
    EXPECT_EQ(platformCount(), 4711u);
}

// In a child: what is found among the process's own libraries stays one of them for good.
int statusWithPreloadedLibrary(const char* library) {
    if (!dlopen(library, RTLD_NOW | RTLD_GLOBAL)) return 1;
    if (clewInit() != CLEW_SUCCESS) return 2;
    cl_uint count = 0;
    return clGetPlatformIDs(0, nullptr, &count) == CL_SUCCESS && count == 4711 ? 0 : 3;
}

TEST_F(OpenCLLoader, RuntimeThatTheProcessHasLoadedComesFirst) {
    choose(kNowhere);
    EXPECT_EXIT(_exit(statusWithPreloadedLibrary(kFixture)), testing::ExitedWithCode(0), "");
    EXPECT_EQ(clewInit(), CLEW_ERROR_OPEN_FAILED); // here nothing is preloaded
}

#endif

TEST(OpenCLErrorNames, AreTheEnumeratorsNames) {
    EXPECT_STREQ(clewErrorString(0), "CL_SUCCESS");
    EXPECT_STREQ(clewErrorString(-1), "CL_DEVICE_NOT_FOUND");
    EXPECT_STREQ(clewErrorString(-13), "CL_MISALIGNED_SUB_BUFFER_OFFSET");
    EXPECT_STREQ(clewErrorString(-14), "CL_EXEC_STATUS_ERROR_FOR_EVENTS_IN_WAIT_LIST");
    EXPECT_STREQ(clewErrorString(-19), "CL_KERNEL_ARG_INFO_NOT_AVAILABLE");
    EXPECT_STREQ(clewErrorString(-64), "CL_INVALID_PROPERTY");
    EXPECT_STREQ(clewErrorString(-1001), "CL_PLATFORM_NOT_FOUND_KHR");
    // The codes by the system header's own names.
#define EXPECT_NAMED(CODE) EXPECT_STREQ(clewErrorString(CODE), #CODE)
    EXPECT_NAMED(CL_BUILD_PROGRAM_FAILURE);
    EXPECT_NAMED(CL_INVALID_VALUE);
    EXPECT_NAMED(CL_INVALID_BUILD_OPTIONS);
    EXPECT_NAMED(CL_INVALID_KERNEL_ARGS);
    EXPECT_NAMED(CL_INVALID_WORK_GROUP_SIZE);
    EXPECT_NAMED(CL_INVALID_EVENT_WAIT_LIST);
    EXPECT_NAMED(CL_INVALID_BUFFER_SIZE);
    EXPECT_NAMED(CL_INVALID_GLOBAL_WORK_SIZE);
    EXPECT_NAMED(CL_INVALID_DEVICE_PARTITION_COUNT);
#undef EXPECT_NAMED
}

TEST(OpenCLErrorNames, AreEmptyExactlyForTheUnusedCodes) {
    for (int code = 0; code >= -68; --code) {
        EXPECT_EQ(std::string(clewErrorString(code)).empty(), code <= -20 && code >= -29) << code;
    }
}

TEST(OpenCLErrorNames, AreNeverReadOutsideTheTable) {
    for (int code : {1, 2, 68, INT_MAX, -69, -70, -1000, -1002, -9999, -INT_MAX, INT_MIN}) {
        EXPECT_STREQ(clewErrorString(code), "Unknown OpenCL error") << code;
    }
}

} // namespace
