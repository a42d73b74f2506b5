// SPDX-License-Identifier: Apache-2.0
#include "host/device_points.h"

#include <maya/MOpenCLInfo.h>

#include <algorithm>

#include "headless/opencl/devices.h"
#include "host/host_error.h"

namespace talvisora::host {
namespace {

[[noreturn]] void fail(const std::string& what, cl_int code) {
    throw HostError(ExitCode::kModuleFailed,
                    "OpenCL: " + what + ": " + clewErrorString(code) + "; use the CPU, or another device");
}

/// Room in the buffers that a told point count may ask for beyond the record's points.
constexpr std::size_t kMostExtraPoints = std::size_t(1) << 20;

void makeBuffer(MAutoCLMem& buffer, const std::vector<float>& values, cl_mem_flags access) {
    const cl_context context = MOpenCLInfo::getOpenCLContext();
    if (!context || values.empty()) return;
    cl_int code = CL_SUCCESS;
    buffer.attach(clCreateBuffer(context, access | CL_MEM_COPY_HOST_PTR, values.size() * sizeof(float),
                                 const_cast<float*>(values.data()), &code));
    if (buffer.isNull()) fail("no room for the points on the device", code);
}

} // namespace

DevicePoints::DevicePoints(const DeformRecord& record, std::optional<std::int32_t> pointCount,
                           const std::vector<std::string>& empty) {
    const auto wanted = [&empty](const char* name) {
        return std::find(empty.begin(), empty.end(), name) == empty.end();
    };
    const std::size_t points = record.points.size();
    data.pointCount = pointCount ? *pointCount : static_cast<std::int32_t>(points);
    const std::size_t told = static_cast<std::size_t>(std::max(data.pointCount, 0));
    // Buffers shorter than the module is told would be read past their end; without any it reads nothing.
    if (told > points + kMostExtraPoints) return;
    const std::size_t room = std::max(told, points);

    std::vector<float> positions;
    positions.reserve(room * 3);
    for (const Vec3d& p : record.points)
        for (const double value : {p.x, p.y, p.z}) positions.push_back(static_cast<float>(value));
    positions.resize(room * 3, 0.0f);
    std::vector<float> weights(room, 1.0f);
    std::copy_n(record.weights.begin(), std::min(record.weights.size(), points), weights.begin());

    if (wanted("INPUT")) makeBuffer(data.inputPoints, positions, CL_MEM_READ_ONLY);
    if (wanted("OUTPUT")) makeBuffer(data.outputPoints, positions, CL_MEM_READ_WRITE);
    if (wanted("WEIGHTS")) makeBuffer(data.weights, weights, CL_MEM_READ_ONLY);
}

void DevicePoints::read(std::vector<Vec3d>& points) const {
    if (data.outputPoints.isNull() || points.empty()) return;
    std::vector<float> positions(points.size() * 3);
    const cl_event* done = data.outputEvent.isNull() ? nullptr : data.outputEvent.getReadOnlyRef();
    const cl_int code = clEnqueueReadBuffer(
        MOpenCLInfo::getMayaDefaultOpenCLCommandQueue(), data.outputPoints.get(), CL_TRUE, 0,
        positions.size() * sizeof(float), positions.data(), done ? 1 : 0, done, nullptr);
    if (code != CL_SUCCESS) fail("the deformed points do not come back from the device", code);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = {positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]};
}

double DevicePoints::kernelMilliseconds() const {
    return headless::openCLMilliseconds(data.outputEvent.get());
}

} // namespace talvisora::host
