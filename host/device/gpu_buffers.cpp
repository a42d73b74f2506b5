// SPDX-License-Identifier: Apache-2.0
// Transfers to the device do not wait: the node's own work on the same queue goes on meanwhile, as in a host
// that draws. The last of them leaves the event that the evaluation waits for.
#include "host/device/gpu_buffers.h"

#include "headless/opencl/devices.h"

#include <maya/MOpenCLInfo.h>

#include <algorithm>

namespace talvisora::host {

namespace {

constexpr std::size_t kFloatsPerPoint = 3;
constexpr std::size_t kMostBeyond = std::size_t{1} << 26;

std::string failed(const char* what, cl_int code) {
    return std::string("the device ") + what + " (" + clewErrorString(code) + ")";
}

bool holds(const std::vector<std::string>& list, const char* name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

} // namespace

GpuBuffers::~GpuBuffers() {
    // Nothing may read positions_ any more when they go.
    if (capacity_ > 0 && MOpenCLInfo::getMayaDefaultOpenCLCommandQueue() &&
        MOpenCLInfo::getOpenCLContext() == context_)
        clFinish(MOpenCLInfo::getMayaDefaultOpenCLCommandQueue());
}

std::string GpuBuffers::reserve(std::size_t capacity) {
    const cl_context context = MOpenCLInfo::getOpenCLContext();
    if (context == context_ && capacity == capacity_) return {};
    input_.reset();
    output_.reset();
    weights_.reset();
    capacity_ = 0;
    context_ = context;
    if (capacity == 0) return {};
    const auto make = [context](MAutoCLMem& buffer, std::size_t bytes) {
        cl_int code = CL_SUCCESS;
        buffer.attach(clCreateBuffer(context, CL_MEM_READ_WRITE, bytes, nullptr, &code));
        return code;
    };
    const std::size_t bytes = capacity * kFloatsPerPoint * sizeof(float);
    cl_int code = make(input_, bytes);
    if (code == CL_SUCCESS) code = make(output_, bytes);
    if (code == CL_SUCCESS) code = make(weights_, capacity * sizeof(float));
    if (code == CL_SUCCESS) {
        capacity_ = capacity;
        return {};
    }
    input_.reset();
    output_.reset();
    weights_.reset();
    return failed("has no room for the points", code);
}

std::string GpuBuffers::prepare(const DeformRecord& record, const GpuRequest& request, GpuDeformData& data) {
    const std::size_t points = record.points.size();
    data.pointCount = request.pointCount ? *request.pointCount : static_cast<std::int32_t>(points);
    const cl_command_queue queue = MOpenCLInfo::getMayaDefaultOpenCLCommandQueue();
    if (!queue) return "no OpenCL device";
    const std::size_t told = data.pointCount > 0 ? static_cast<std::size_t>(data.pointCount) : 0;
    if (told > points + kMostBeyond) return {};
    if (const std::string fault = reserve(std::max(told, points)); !fault.empty()) return fault;
    if (capacity_ == 0) return {};

    positions_.assign(capacity_ * kFloatsPerPoint, 0.0f);
    weightValues_.assign(capacity_, 1.0f);
    for (std::size_t i = 0; i < points; ++i) {
        positions_[3 * i] = static_cast<float>(record.points[i].x);
        positions_[3 * i + 1] = static_cast<float>(record.points[i].y);
        positions_[3 * i + 2] = static_cast<float>(record.points[i].z);
    }
    std::copy_n(record.weights.begin(), std::min(record.weights.size(), points), weightValues_.begin());
    const std::size_t bytes = positions_.size() * sizeof(float);
    cl_int code =
        clEnqueueWriteBuffer(queue, weights_.get(), CL_FALSE, 0, weightValues_.size() * sizeof(float),
                             weightValues_.data(), 0, nullptr, nullptr);
    if (code == CL_SUCCESS)
        code = clEnqueueWriteBuffer(queue, input_.get(), CL_FALSE, 0, bytes, positions_.data(), 0, nullptr,
                                    nullptr);
    if (code == CL_SUCCESS)
        code = clEnqueueCopyBuffer(queue, input_.get(), output_.get(), 0, 0, bytes, 0, nullptr,
                                   data.inputEvent.getReferenceForAssignment());
    if (code != CL_SUCCESS) {
        clFinish(queue);
        return failed("did not take the points", code);
    }
    if (!holds(request.empty, "INPUT")) data.inputPoints = input_;
    if (!holds(request.empty, "OUTPUT")) data.outputPoints = output_;
    if (!holds(request.empty, "WEIGHTS")) data.weights = weights_;
    return {};
}

std::string GpuBuffers::finish(const GpuDeformData& data, std::vector<Vec3d>& points, double& milliseconds) {
    milliseconds = -1.0;
    const cl_command_queue queue = MOpenCLInfo::getMayaDefaultOpenCLCommandQueue();
    if (!queue || capacity_ == 0) return {};
    if (!data.outputEvent.isNull()) {
        const cl_int code = clWaitForEvents(1, data.outputEvent.getReadOnlyRef());
        if (code != CL_SUCCESS) {
            clFinish(queue);
            return failed("failed while it computed", code);
        }
        milliseconds = headless::openCLMilliseconds(data.outputEvent.get());
    }
    if (data.outputPoints.isNull() || points.empty()) {
        const cl_int code = clFinish(queue);
        return code == CL_SUCCESS ? std::string() : failed("failed while it computed", code);
    }
    const cl_int code =
        clEnqueueReadBuffer(queue, output_.get(), CL_TRUE, 0, points.size() * kFloatsPerPoint * sizeof(float),
                            positions_.data(), 0, nullptr, nullptr);
    if (code != CL_SUCCESS) {
        clFinish(queue);
        return failed("did not give the points back", code);
    }
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = {positions_[3 * i], positions_[3 * i + 1], positions_[3 * i + 2]};
    return {};
}

} // namespace talvisora::host
