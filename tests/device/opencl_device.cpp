// SPDX-License-Identifier: Apache-2.0
// Finding the device, compiling, buffers, launches.
#include "device/opencl_device.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace talvisora::device {

namespace {

std::vector<cl_device_id> allDevices() {
    cl_uint count = 0;
    if (clGetPlatformIDs(0, nullptr, &count) != CL_SUCCESS || count == 0) return {};
    std::vector<cl_platform_id> platforms(count);
    check(clGetPlatformIDs(count, platforms.data(), nullptr), "clGetPlatformIDs");
    std::vector<cl_device_id> devices;
    for (cl_platform_id platform : platforms) {
        cl_uint n = 0;
        if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &n) != CL_SUCCESS || n == 0) continue;
        std::vector<cl_device_id> found(n);
        check(clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, n, found.data(), nullptr), "clGetDeviceIDs");
        devices.insert(devices.end(), found.begin(), found.end());
    }
    return devices;
}

} // namespace

void check(cl_int error, const char* what) {
    if (error != CL_SUCCESS)
        throw std::runtime_error(std::string(what) + ": " + clewErrorString(error) + " (" +
                                 std::to_string(error) + ")");
}

std::unique_ptr<OpenClDevice> OpenClDevice::open(std::string& whyNot) {
    if (clewInit() != CLEW_SUCCESS) {
        whyNot = "this machine has no OpenCL library, so the program was not run; scripts/setup installs one";
        return nullptr;
    }
    const std::vector<cl_device_id> devices = allDevices();
    const char* chosen = std::getenv("TALVISORA_TEST_DEVICE");
    const auto index = static_cast<std::size_t>(chosen ? std::strtoul(chosen, nullptr, 10) : 0);
    if (index >= devices.size()) {
        whyNot = devices.empty() ? "OpenCL offers no device here"
                                 : "OpenCL offers " + std::to_string(devices.size()) +
                                       " devices here and number " + std::to_string(index) + " was asked for";
        whyNot += ", so the program was not run; scripts/setup installs one";
        return nullptr;
    }
    std::unique_ptr<OpenClDevice> self(new OpenClDevice);
    self->device_ = devices[index];
    char name[256] = {};
    check(clGetDeviceInfo(self->device_, CL_DEVICE_NAME, sizeof name - 1, name, nullptr), "clGetDeviceInfo");
    self->name_ = name;
    cl_int error = 0;
    self->context_ = clCreateContext(nullptr, 1, &self->device_, nullptr, nullptr, &error);
    check(error, "clCreateContext");
    self->queue_ = clCreateCommandQueue(self->context_, self->device_, CL_QUEUE_PROFILING_ENABLE, &error);
    check(error, "clCreateCommandQueue");
    return self;
}

OpenClDevice::~OpenClDevice() {
    if (queue_) clReleaseCommandQueue(queue_);
    if (context_) clReleaseContext(context_);
}

bool OpenClDevice::isCpu() const {
    cl_device_type type = 0;
    check(clGetDeviceInfo(device_, CL_DEVICE_TYPE, sizeof type, &type, nullptr), "clGetDeviceInfo");
    return (type & CL_DEVICE_TYPE_CPU) != 0;
}

std::size_t OpenClDevice::memoryBytes() const {
    cl_ulong whole = 0, single = 0;
    check(clGetDeviceInfo(device_, CL_DEVICE_GLOBAL_MEM_SIZE, sizeof whole, &whole, nullptr),
          "clGetDeviceInfo");
    check(clGetDeviceInfo(device_, CL_DEVICE_MAX_MEM_ALLOC_SIZE, sizeof single, &single, nullptr),
          "clGetDeviceInfo");
    return static_cast<std::size_t>(std::min(whole / 2, single));
}

Kernel OpenClDevice::compile(const std::string& text, const char* entry) const {
    const char* source = text.c_str();
    cl_int error = 0;
    const cl_program program = clCreateProgramWithSource(context_, 1, &source, nullptr, &error);
    check(error, "clCreateProgramWithSource");
    error = clBuildProgram(program, 1, &device_, nullptr, nullptr, nullptr);
    if (error != CL_SUCCESS) {
        std::string log(65536, '\0');
        std::size_t length = 0;
        clGetProgramBuildInfo(program, device_, CL_PROGRAM_BUILD_LOG, log.size(), log.data(), &length);
        log.resize(std::min(length, log.size()));
        clReleaseProgram(program);
        throw std::runtime_error("the program does not compile:\n" + log);
    }
    const cl_kernel kernel = clCreateKernel(program, entry, &error);
    clReleaseProgram(program); // the kernel keeps it
    check(error, "clCreateKernel");
    return {kernel, [](cl_kernel k) { clReleaseKernel(k); }};
}

std::size_t OpenClDevice::workGroupSize(const Kernel& kernel) const {
    std::size_t size = 0;
    check(clGetKernelWorkGroupInfo(kernel.get(), device_, CL_KERNEL_WORK_GROUP_SIZE, sizeof size, &size,
                                   nullptr),
          "clGetKernelWorkGroupInfo");
    return size;
}

Buffer OpenClDevice::create(const void* data, std::size_t bytes) const {
    cl_int error = 0;
    // Not CL_MEM_COPY_HOST_PTR: nothing may be read where there is nothing.
    const cl_mem memory =
        clCreateBuffer(context_, CL_MEM_READ_WRITE, std::max<std::size_t>(bytes, 1), nullptr, &error);
    check(error, "clCreateBuffer");
    Buffer buffer(memory, [](cl_mem m) { clReleaseMemObject(m); });
    if (bytes > 0 && data)
        check(clEnqueueWriteBuffer(queue_, memory, CL_TRUE, 0, bytes, data, 0, nullptr, nullptr),
              "clEnqueueWriteBuffer");
    return buffer;
}

void OpenClDevice::read(const Buffer& buffer, void* to, std::size_t bytes) const {
    if (bytes == 0) return;
    check(clEnqueueReadBuffer(queue_, buffer.get(), CL_TRUE, 0, bytes, to, 0, nullptr, nullptr),
          "clEnqueueReadBuffer");
}

double OpenClDevice::finish(cl_event event) const {
    const cl_int waited = clWaitForEvents(1, &event);
    cl_ulong start = 0, end = 0;
    clGetEventProfilingInfo(event, CL_PROFILING_COMMAND_START, sizeof start, &start, nullptr);
    clGetEventProfilingInfo(event, CL_PROFILING_COMMAND_END, sizeof end, &end, nullptr);
    clReleaseEvent(event);
    check(waited, "clWaitForEvents");
    return 1e-9 * static_cast<double>(end - start);
}

double OpenClDevice::launch(const Kernel& kernel, std::size_t global, std::size_t local) const {
    cl_event event = nullptr;
    check(clEnqueueNDRangeKernel(queue_, kernel.get(), 1, nullptr, &global, local ? &local : nullptr, 0,
                                 nullptr, &event),
          "clEnqueueNDRangeKernel");
    return finish(event);
}

double OpenClDevice::copy(const Buffer& from, const Buffer& to, std::size_t bytes) const {
    cl_event event = nullptr;
    check(clEnqueueCopyBuffer(queue_, from.get(), to.get(), 0, 0, bytes, 0, nullptr, &event),
          "clEnqueueCopyBuffer");
    return finish(event);
}

} // namespace talvisora::device
