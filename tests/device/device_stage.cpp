// SPDX-License-Identifier: Apache-2.0
// Narrowing, uploading, binding in the order of the program's arguments.
#include "device/device_stage.h"

#include <algorithm>

namespace talvisora::device {

namespace {

std::vector<float> narrow(const Matrix44d* matrices, std::size_t count) {
    std::vector<float> list;
    list.reserve(16 * count);
    for (std::size_t k = 0; k < count; ++k)
        for (double x : matrices[k].m) list.push_back(static_cast<float>(x));
    return list;
}

std::vector<float> narrow(const Vec3d* points, std::size_t count) {
    std::vector<float> list;
    list.reserve(3 * count);
    for (std::size_t i = 0; i < count; ++i)
        for (double x : {points[i].x, points[i].y, points[i].z}) list.push_back(static_cast<float>(x));
    return list;
}

} // namespace

DeviceStage::DeviceStage(const OpenClDevice& device, const PointStage& s, std::size_t scratchBytesPerPoint)
    : elements(static_cast<std::int32_t>(s.pointCount)),
      blocks(s.blockCount),
      envelope(s.envelope),
      device_(device),
      pointCount_(s.pointCount) {
    const std::size_t n = s.pointCount, b = static_cast<std::size_t>(s.blockCount),
                      slots = slot(s.blockCount, 0);
    for (int k = 0; k < 16; ++k) {
        geoMatrix_[k] = static_cast<float>(s.geoMatrix->m[k]);
        geoMatrixInverse_[k] = static_cast<float>(s.geoMatrixInverse->m[k]);
    }
    input = device.create(narrow(s.points, n));
    output = device.create(std::vector<float>(3 * n, -77.0f));
    std::vector<float> pointWeights(n, 1.0f);
    std::copy_n(s.pointWeights, std::min(n, s.pointWeightCount), pointWeights.begin());
    weights = device.create(pointWeights);
    weightMaps = device.create(s.weightMaps, 6 * n * sizeof(float));
    blockInfo = device.create(s.blocks, b * sizeof(BlockInfo));
    ordersStart = device.create(s.ordersStart, n * sizeof(std::int32_t));
    ordersEnd = device.create(s.ordersEnd, n * sizeof(std::int32_t));
    blockWeights = device.create(s.blockWeights, b * n * sizeof(float));
    params = device.create(s.params, b * n * sizeof(float));
    cvMatrices = device.create(narrow(s.cvMatrices, slots));
    cvBaseMatrices = device.create(narrow(s.cvBaseMatrices, slots));
    cvBaseMatricesInverse = device.create(narrow(s.cvBaseMatricesInverse, slots));
    knots = device.create(s.knots, knotSlot(s.blockCount, 0) * sizeof(float));
    scratch = device.create(nullptr, scratchBytesPerPoint * n);
    tweaks = device.create(s.tweaks, slots * sizeof(Tweak));
    tweakVectors = device.create(s.tweakVectors, slots * sizeof(TweakVectors));
}

void DeviceStage::bind(const Kernel& kernel) const {
    cl_uint index = 0;
    const auto value = [&](const void* data, std::size_t bytes) {
        check(clSetKernelArg(kernel.get(), index, bytes, data), "clSetKernelArg");
        ++index;
    };
    const auto buffer = [&](const Buffer& b) {
        const cl_mem memory = b.get();
        value(&memory, sizeof memory);
    };
    const cl_int capacity = MAX_CV_MATRICES;
    buffer(input);
    buffer(output);
    value(&elements, 4);
    buffer(weights);
    value(&envelope, 4);
    value(geoMatrix_, 64);
    buffer(weightMaps);
    value(geoMatrixInverse_, 64);
    value(&capacity, 4);
    value(&blocks, 4);
    for (const Buffer* b :
         {&blockInfo, &ordersStart, &ordersEnd, &blockWeights, &params, &cvMatrices, &cvBaseMatrices,
          &cvBaseMatricesInverse, &knots, &scratch, &tweaks, &tweakVectors})
        buffer(*b);
}

std::vector<float> DeviceStage::run(const Kernel& kernel, std::size_t local, std::size_t spareGroups) const {
    bind(kernel);
    local = std::min(local, device_.workGroupSize(kernel));
    device_.launch(kernel, ((pointCount_ + local - 1) / local + spareGroups) * local, local);
    return device_.read<float>(output, 3 * pointCount_);
}

} // namespace talvisora::device
