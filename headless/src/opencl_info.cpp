// SPDX-License-Identifier: Apache-2.0
// MOpenCLInfo over the device in use: handles, kernels from text, and the report of error codes.
#include "object_access.h"
#include "opencl/runtime.h"

#include <maya/MOpenCLInfo.h>
#include <maya/MString.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using headless::OpenCLRuntime;

constexpr std::size_t kMostStatuses = 4096;

/// The runtime with a device, if there is one; locked for as long as this lives.
struct Opened {
    Opened() : runtime(headless::openCLRuntime()), lock(runtime.mutex) {
        headless::decideOnOpenCLDevice(runtime);
    }
    OpenCLRuntime& runtime;
    std::lock_guard<std::mutex> lock;
};

std::string bytesOf(const MString& string) {
    int length = 0;
    const char* bytes = string.asChar(length);
    return std::string(bytes, static_cast<std::size_t>(length));
}

bool canCompile() {
    return clCreateProgramWithSource && clBuildProgram && clGetProgramBuildInfo && clReleaseProgram &&
           clCreateKernel && clRetainKernel && clReleaseKernel;
}

std::string buildLog(cl_program program, cl_device_id device) {
    std::size_t size = 0;
    if (clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, 0, nullptr, &size) != CL_SUCCESS)
        return {};
    std::string log(size, '\0');
    if (size == 0 ||
        clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, size, log.data(), nullptr) != CL_SUCCESS)
        return {};
    log.resize(std::min(log.size(), log.find('\0')));
    return log;
}

/// The kernel, or null with the reason in `log`.
cl_kernel compile(const OpenCLRuntime& runtime, const std::string& source, const std::string& kernelName,
                  std::string& log) {
    if (!runtime.context || !canCompile()) {
        log = "no OpenCL device";
        return nullptr;
    }
    const char* text = source.c_str();
    const std::size_t length = source.size();
    cl_int error = CL_SUCCESS;
    cl_program program = clCreateProgramWithSource(runtime.context, 1, &text, &length, &error);
    cl_kernel kernel = nullptr;
    if (program) {
        error = clBuildProgram(program, 1, &runtime.device, nullptr, nullptr, nullptr);
        log = buildLog(program, runtime.device);
        if (error == CL_SUCCESS) kernel = clCreateKernel(program, kernelName.c_str(), &error);
        clReleaseProgram(program); // the kernel keeps what it needs
    }
    if (!kernel) log += std::string(log.empty() ? "" : "\n") + clewErrorString(error);
    return kernel;
}

MAutoCLKernel makeKernel(const std::string& source, const std::string& programName,
                         const std::string& kernelName) {
    Opened opened;
    OpenCLRuntime& runtime = opened.runtime;
    headless::OpenCLBuild build{programName, kernelName, false, {}};
    const cl_kernel kernel = compile(runtime, source, kernelName, build.log);
    build.succeeded = kernel != nullptr;
    if (!kernel) std::fprintf(stderr, "OpenCL program %s: %s\n", programName.c_str(), build.log.c_str());
    ++runtime.buildCount;
    runtime.lastBuild = build;
    MAutoCLKernel handle(kernel, MAutoCLKernel::NoRef());
    if (kernel) {
        runtime.kernelsOut.push_back(kernel);
        clRetainKernel(kernel); // the platform's own, until the kernel is given back
    }
    return handle;
}

} // namespace

namespace Autodesk::Maya::OpenMaya20240000 {

cl_context MOpenCLInfo::getOpenCLContext() {
    headless::noteApiCall("MOpenCLInfo::getOpenCLContext");
    return Opened().runtime.context;
}

cl_command_queue MOpenCLInfo::getMayaDefaultOpenCLCommandQueue() {
    headless::noteApiCall("MOpenCLInfo::getMayaDefaultOpenCLCommandQueue");
    return Opened().runtime.queue;
}

cl_command_queue MOpenCLInfo::createOpenCLCommandQueue() {
    headless::noteApiCall("MOpenCLInfo::createOpenCLCommandQueue");
    Opened opened;
    if (!opened.runtime.context) return nullptr;
    return clCreateCommandQueue(opened.runtime.context, opened.runtime.device, CL_QUEUE_PROFILING_ENABLE,
                                nullptr);
}

cl_device_id MOpenCLInfo::getOpenCLDeviceId() {
    headless::noteApiCall("MOpenCLInfo::getOpenCLDeviceId");
    return Opened().runtime.device;
}

MAutoCLKernel MOpenCLInfo::getOpenCLKernelFromString(const MString& programSource, const MString& programName,
                                                     const MString& kernelName) {
    headless::noteApiCall("MOpenCLInfo::getOpenCLKernelFromString");
    return makeKernel(bytesOf(programSource), bytesOf(programName), bytesOf(kernelName));
}

MAutoCLKernel MOpenCLInfo::getOpenCLKernel(const MString& sourceFilePath, const MString& kernelName) {
    headless::noteApiCall("MOpenCLInfo::getOpenCLKernel");
    std::ifstream file(bytesOf(sourceFilePath), std::ios::binary);
    if (!file) return {};
    const std::string source{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return makeKernel(source, {}, bytesOf(kernelName));
}

bool MOpenCLInfo::releaseOpenCLKernel(const MAutoCLKernel& kernel) {
    headless::noteApiCall("MOpenCLInfo::releaseOpenCLKernel");
    OpenCLRuntime& runtime = headless::openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    const auto found = std::find(runtime.kernelsOut.begin(), runtime.kernelsOut.end(), kernel.get());
    if (found == runtime.kernelsOut.end()) return false;
    runtime.kernelsOut.erase(found);
    if (clReleaseKernel) clReleaseKernel(kernel.get());
    return true;
}

void MOpenCLInfo::checkCLErrorStatus(cl_int err) {
    headless::noteApiCall("MOpenCLInfo::checkCLErrorStatus");
    {
        OpenCLRuntime& runtime = headless::openCLRuntime();
        std::lock_guard<std::mutex> lock(runtime.mutex);
        if (runtime.statuses.size() < kMostStatuses) runtime.statuses.push_back(err);
    }
    if (err != CL_SUCCESS) std::fprintf(stderr, "OpenCL error %d: %s\n", err, clewErrorString(err));
}

} // namespace Autodesk::Maya::OpenMaya20240000
