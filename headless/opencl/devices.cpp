// SPDX-License-Identifier: Apache-2.0
// Lists devices and opens one of them.
#include "runtime.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace headless {
namespace {

struct Found {
    cl_device_id id;
    cl_platform_id platform;
    cl_device_type type;
};

bool fail(std::string* reason, const std::string& text) {
    if (reason) *reason = text;
    return false;
}

/// Whether the functions of this file are there; loads OpenCL when nobody has.
bool ready() {
    if (!clGetPlatformIDs && clewInit() != CLEW_SUCCESS) return false;
    return clGetPlatformIDs && clGetPlatformInfo && clGetDeviceIDs && clGetDeviceInfo && clCreateContext &&
           clReleaseContext && clCreateCommandQueue && clReleaseCommandQueue && clFinish;
}

/// A text that OpenCL gives out piecewise: size first, then bytes. Empty when it will not.
template <class Object, class Query>
std::string text(Object object, cl_uint what, Query query) {
    std::size_t size = 0;
    if (query(object, what, 0, nullptr, &size) != CL_SUCCESS || size == 0) return {};
    std::string bytes(size, '\0');
    if (query(object, what, size, bytes.data(), nullptr) != CL_SUCCESS) return {};
    bytes.resize(std::min(bytes.size(), bytes.find('\0')));
    while (!bytes.empty() && bytes.back() == ' ') bytes.pop_back();
    return bytes;
}

template <class T>
T number(cl_device_id device, cl_uint what) {
    T value{};
    return clGetDeviceInfo(device, what, sizeof(value), &value, nullptr) == CL_SUCCESS ? value : T{};
}

int rank(cl_device_type type) {
    if (type & CL_DEVICE_TYPE_GPU) return 0;
    if (type & CL_DEVICE_TYPE_ACCELERATOR) return 1;
    return type & CL_DEVICE_TYPE_CPU ? 3 : 2;
}

const char* kindOf(cl_device_type type) {
    const char* const kinds[] = {"GPU", "accelerator", "device", "CPU"};
    return kinds[rank(type)];
}

void addDevices(cl_platform_id platform, std::vector<Found>& found) {
    cl_uint count = 0;
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &count) != CL_SUCCESS || count == 0) return;
    std::vector<cl_device_id> ids(count, nullptr);
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, count, ids.data(), nullptr) != CL_SUCCESS) return;
    for (cl_device_id id : ids)
        if (id) found.push_back({id, platform, number<cl_device_type>(id, CL_DEVICE_TYPE)});
}

std::vector<Found> findDevices(std::string* reason) {
    std::vector<Found> found;
    if (!ready()) {
        fail(reason, "no OpenCL library");
        return found;
    }
    cl_uint count = 0;
    std::vector<cl_platform_id> platforms;
    if (clGetPlatformIDs(0, nullptr, &count) == CL_SUCCESS && count > 0) {
        platforms.resize(count, nullptr);
        if (clGetPlatformIDs(count, platforms.data(), nullptr) != CL_SUCCESS) platforms.clear();
    }
    if (platforms.empty()) {
        fail(reason, "no OpenCL platform");
        return found;
    }
    for (cl_platform_id platform : platforms) addDevices(platform, found);
    if (found.empty()) fail(reason, "no OpenCL device");
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return rank(a.type) < rank(b.type); });
    return found;
}

bool usable(cl_device_id id) {
    return number<cl_bool>(id, CL_DEVICE_AVAILABLE) && number<cl_bool>(id, CL_DEVICE_COMPILER_AVAILABLE);
}

/// Caller holds the mutex.
void letGo(OpenCLRuntime& runtime) {
    if (runtime.queue && clFinish) clFinish(runtime.queue);
    for (cl_kernel kernel : runtime.kernelsOut)
        if (clReleaseKernel) clReleaseKernel(kernel);
    runtime.kernelsOut.clear();
    if (runtime.queue && clReleaseCommandQueue) clReleaseCommandQueue(runtime.queue);
    if (runtime.context && clReleaseContext) clReleaseContext(runtime.context);
    runtime.queue = nullptr;
    runtime.context = nullptr;
    runtime.device = nullptr;
    runtime.number = -1;
}

/// Caller holds the mutex; no device is in use.
bool open(OpenCLRuntime& runtime, int wanted, std::string* reason) {
    const std::vector<Found> found = findDevices(reason);
    if (found.empty()) return false;
    const std::string label = "OpenCL device " + std::to_string(wanted);
    if (wanted < 0 || static_cast<std::size_t>(wanted) >= found.size())
        return fail(reason, "there is no " + label + "; they are numbered from 0 to " +
                                std::to_string(found.size() - 1));
    const Found& chosen = found[static_cast<std::size_t>(wanted)];
    if (!usable(chosen.id)) return fail(reason, label + " is not available or has no compiler");

    const cl_context_properties properties[] = {CL_CONTEXT_PLATFORM,
                                                reinterpret_cast<cl_context_properties>(chosen.platform), 0};
    cl_int error = CL_SUCCESS;
    cl_context context = clCreateContext(properties, 1, &chosen.id, nullptr, nullptr, &error);
    if (!context) return fail(reason, label + ": no context: " + clewErrorString(error));
    cl_command_queue queue = clCreateCommandQueue(context, chosen.id, CL_QUEUE_PROFILING_ENABLE, &error);
    if (!queue) {
        clReleaseContext(context);
        return fail(reason, label + ": no queue: " + clewErrorString(error));
    }
    runtime.number = wanted;
    runtime.device = chosen.id;
    runtime.context = context;
    runtime.queue = queue;
    return true;
}

} // namespace

OpenCLRuntime& openCLRuntime() {
    // Not destroyed: a node with static lifetime may still hold a kernel when the process ends.
    static OpenCLRuntime& instance = *new OpenCLRuntime;
    return instance;
}

void decideOnOpenCLDevice(OpenCLRuntime& runtime) {
    if (runtime.decided) return;
    runtime.decided = true;
    open(runtime, 0, nullptr);
}

std::vector<OpenCLDevice> openCLDevices(std::string* reason) {
    std::vector<OpenCLDevice> devices;
    for (const Found& found : findDevices(reason)) {
        OpenCLDevice device;
        device.number = static_cast<int>(devices.size());
        device.platform = text(found.platform, CL_PLATFORM_NAME, clGetPlatformInfo);
        device.platformVersion = text(found.platform, CL_PLATFORM_VERSION, clGetPlatformInfo);
        device.name = text(found.id, CL_DEVICE_NAME, clGetDeviceInfo);
        device.vendor = text(found.id, CL_DEVICE_VENDOR, clGetDeviceInfo);
        device.version = text(found.id, CL_DEVICE_VERSION, clGetDeviceInfo);
        device.driver = text(found.id, CL_DRIVER_VERSION, clGetDeviceInfo);
        device.kind = kindOf(found.type);
        device.usable = usable(found.id);
        device.computeUnits = number<cl_uint>(found.id, CL_DEVICE_MAX_COMPUTE_UNITS);
        device.largestWorkGroup = number<std::size_t>(found.id, CL_DEVICE_MAX_WORK_GROUP_SIZE);
        device.globalBytes = number<cl_ulong>(found.id, CL_DEVICE_GLOBAL_MEM_SIZE);
        device.largestBuffer = number<cl_ulong>(found.id, CL_DEVICE_MAX_MEM_ALLOC_SIZE);
        devices.push_back(std::move(device));
    }
    return devices;
}

bool useOpenCLDevice(int number, std::string* reason) {
    OpenCLRuntime& runtime = openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    letGo(runtime);
    runtime.decided = true;
    return open(runtime, number, reason);
}

int openCLDeviceInUse() {
    OpenCLRuntime& runtime = openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    return runtime.number;
}

void closeOpenCL() {
    OpenCLRuntime& runtime = openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    letGo(runtime);
    runtime.decided = false;
}

double openCLMilliseconds(cl_event event) {
    cl_ulong start = 0, end = 0;
    if (!event || !clGetEventProfilingInfo ||
        clGetEventProfilingInfo(event, CL_PROFILING_COMMAND_START, sizeof(start), &start, nullptr) !=
            CL_SUCCESS ||
        clGetEventProfilingInfo(event, CL_PROFILING_COMMAND_END, sizeof(end), &end, nullptr) != CL_SUCCESS ||
        end < start)
        return -1.0;
    return static_cast<double>(end - start) * 1e-6;
}

OpenCLBuild lastOpenCLBuild(std::size_t* count) {
    OpenCLRuntime& runtime = openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    if (count) *count = runtime.buildCount;
    return runtime.lastBuild;
}

std::size_t openCLKernelsOut() {
    OpenCLRuntime& runtime = openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    return runtime.kernelsOut.size();
}

std::vector<cl_int> takeOpenCLStatuses() {
    OpenCLRuntime& runtime = openCLRuntime();
    std::lock_guard<std::mutex> lock(runtime.mutex);
    return std::exchange(runtime.statuses, {});
}

} // namespace headless
