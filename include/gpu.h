// SPDX-License-Identifier: Apache-2.0
// OpenCL kernels on Maya's shared context, for any node: device buffers from host arrays, kernel arguments,
// work sizes, the launch, the report of failures, and a timer.
//
// Functions that wrap an OpenCL call make it once, report a failure (an "OpenCL API error at " message, then
// MOpenCLInfo::checkCLErrorStatus) and return its code, 0 on success; the caller decides whether to go on.
// Setting an argument only returns the code: callers check that with lines of their own. Nothing here owns
// anything. OpenCL must be loaded: call nothing of this before a kernel was compiled.
// Threads: any that may use Maya's context; one at a time for one kernel or handle.
#pragma once

#include <clew/clew.h>
#include <maya/MGlobal.h>
#include <maya/MOpenCLAutoPtr.h>
#include <maya/MOpenCLInfo.h>
#include <maya/MString.h>

#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "maths/matrix44.h"
#include "report.h"

namespace talvisora::gpu {

/// What failures of this header print, whatever the build's folders are and wherever the text moves.
inline constexpr const char* kPath = "include/gpu";
inline constexpr int kUploadLine = 28;
inline constexpr int kWorkSizesLine = 45;
inline constexpr int kLaunchLine = 78;

/// A buffer that kernels only read, and one that they read and write; both start with the host's bytes.
inline constexpr cl_mem_flags kInputBuffer = CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR;
inline constexpr cl_mem_flags kScratchBuffer = CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR;

/// Work-group size where the kernel does not answer with one.
inline constexpr std::size_t kDefaultGroup = 256;

/// Shows a text as an error.
inline void showError(std::string text) {
    displayError(text);
}

/// "OpenCL API error at PATH: LINE: NAME-OF-THE-CODE".
inline std::string failureText(const char* path, int line, cl_int code) {
    return std::string("OpenCL API error at ") + path + ": " + std::to_string(line) + ": " +
           clewErrorString(code);
}

/// Reports a code other than CL_SUCCESS and hands it to Maya; returns it.
inline cl_int checked(int line, cl_int code) {
    if (code != CL_SUCCESS) {
        showError(failureText(kPath, line, code));
        MOpenCLInfo::checkCLErrorStatus(code);
    }
    return code;
}

/// Makes the buffer with `bytes` bytes of `source` when the handle is empty, else overwrites its beginning;
/// a buffer never changes its size. `source` may be reused on return. `bytes` must not be 0.
inline cl_int uploadBytes(MAutoCLMem& buffer, std::size_t bytes, const void* source, cl_mem_flags flags) {
    cl_int code = CL_SUCCESS;
    if (buffer.isNull())
        buffer.attach(clCreateBuffer(MOpenCLInfo::getOpenCLContext(), flags, bytes, const_cast<void*>(source),
                                     &code)); // read only, whatever the type says
    else
        code = clEnqueueWriteBuffer(MOpenCLInfo::getMayaDefaultOpenCLCommandQueue(), buffer.get(), CL_TRUE, 0,
                                    bytes, source, 0, nullptr, nullptr);
    return checked(kUploadLine, code);
}

/// Uploads numbers or records as they lie in memory.
template <class Record>
cl_int upload(MAutoCLMem& buffer, const std::vector<Record>& records, cl_mem_flags flags = kInputBuffer) {
    static_assert(std::is_trivially_copyable_v<Record>, "the device sees the bytes");
    return uploadBytes(buffer, records.size() * sizeof(Record), records.data(), flags);
}

/// Sixteen floats from sixteen doubles, in storage order.
inline void narrow(const Matrix44d& matrix, float* floats) {
    for (int k = 0; k < 16; ++k) floats[k] = static_cast<float>(matrix.m[k]);
}

/// Uploads matrices as 64-byte records of floats.
inline cl_int upload(MAutoCLMem& buffer, const std::vector<Matrix44d>& matrices) {
    const std::unique_ptr<float[]> floats(new float[matrices.size() * 16]);
    for (std::size_t k = 0; k < matrices.size(); ++k) narrow(matrices[k], &floats[k * 16]);
    return uploadBytes(buffer, matrices.size() * 16 * sizeof(float), floats.get(), kInputBuffer);
}

inline cl_int setArgument(const MAutoCLKernel& kernel, cl_uint index, const MAutoCLMem& buffer) {
    return clSetKernelArg(kernel.get(), index, sizeof(cl_mem), buffer.getReadOnlyRef());
}
inline cl_int setArgument(const MAutoCLKernel& kernel, cl_uint index, std::int32_t value) {
    return clSetKernelArg(kernel.get(), index, sizeof(value), &value);
}
inline cl_int setArgument(const MAutoCLKernel& kernel, cl_uint index, float value) {
    return clSetKernelArg(kernel.get(), index, sizeof(value), &value);
}
inline cl_int setArgument(const MAutoCLKernel& kernel, cl_uint index, const Matrix44d& matrix) {
    alignas(64) float floats[16];
    narrow(matrix, floats);
    return clSetKernelArg(kernel.get(), index, sizeof(floats), floats);
}

struct WorkSizes {
    std::size_t global = 0;
    std::size_t local = 0;
};

/// Sizes for `count` work items; a negative count is none. The global size is always one whole group more
/// than the groups that `count` fills, so kernels test their range. The sizes can be used after a failure.
inline cl_int workSizes(cl_device_id device, const MAutoCLKernel& kernel, std::int32_t count,
                        WorkSizes& sizes) {
    std::size_t value = 0, answered = 0;
    const cl_int code = clGetKernelWorkGroupInfo(kernel.get(), device, CL_KERNEL_WORK_GROUP_SIZE,
                                                 sizeof(value), &value, &answered);
    const std::size_t items = count > 0 ? static_cast<std::size_t>(count) : 0;
    sizes.local = answered != 0 && value != 0 ? value : kDefaultGroup;
    sizes.global = items - items % sizes.local + sizes.local;
    return checked(kWorkSizesLine, code);
}

/// Enqueues the kernel on Maya's queue, after `input` when it holds an event; `output` lets go of what it
/// held and gets the event of the kernel's end. Returns without waiting.
inline cl_int launch(const MAutoCLKernel& kernel, const WorkSizes& sizes, const MAutoCLEvent& input,
                     MAutoCLEvent& output) {
    const bool waits = !input.isNull();
    return checked(kLaunchLine,
                   clEnqueueNDRangeKernel(MOpenCLInfo::getMayaDefaultOpenCLCommandQueue(), kernel.get(), 1,
                                          nullptr, &sizes.global, &sizes.local, waits ? 1 : 0,
                                          waits ? input.getReadOnlyRef() : nullptr,
                                          output.getReferenceForAssignment()));
}

/// Nanoseconds of a clock that never goes back.
inline std::int64_t startTimer() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// "LABEL: 1.50ms"; microseconds are cut off, not rounded, before that. The same in every locale.
inline std::string timerText(const std::string& label, std::int64_t nanoseconds) {
    const double milliseconds = static_cast<double>(nanoseconds / 1000) / 1000.0;
    char digits[std::numeric_limits<std::int64_t>::digits10 + 8];
    const std::to_chars_result end =
        std::to_chars(digits, digits + sizeof(digits), milliseconds, std::chars_format::fixed, 2);
    return label + ": " + std::string(digits, end.ptr) + "ms";
}

/// Shows the time since `start` as one line of information.
inline void reportTimer(const std::string& label, std::int64_t start) {
    MGlobal::displayInfo(MString(timerText(label, startTimer() - start).c_str()));
}

} // namespace talvisora::gpu
