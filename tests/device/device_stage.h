// SPDX-License-Identifier: Apache-2.0
// A point stage on an OpenCL device: the 22 arguments of the program from the arrays that the CPU's point
// stage reads, every buffer exactly as large as it must be, so that a memory checker sees every stray access.
#pragma once

#include "device/opencl_device.h"
#include "kernels/deform_points.h"

namespace talvisora::device {

class DeviceStage {
public:
    /// Copies everything that `stage` views, narrowed to single precision element by element. Points past the
    /// end of the point weights have weight 1. `scratchBytesPerPoint` can be lowered for a program that
    /// leaves the scratch alone.
    DeviceStage(const OpenClDevice& device, const PointStage& stage, std::size_t scratchBytesPerPoint = 480);

    std::size_t pointCount() const { return pointCount_; }
    /// Binds all arguments. Call again after a buffer below was replaced.
    void bind(const Kernel& kernel) const;
    /// The deformed points: binds, launches over the points rounded up to whole groups of `local` and
    /// `spareGroups` more, reads back 3 floats per point.
    std::vector<float> run(const Kernel& kernel, std::size_t local = 64, std::size_t spareGroups = 1) const;

    std::int32_t elements; ///< NUM_ELEMENTS, N at first
    std::int32_t blocks;   ///< attr_bsize
    float envelope;
    Buffer input, output, weights, weightMaps, blockInfo, ordersStart, ordersEnd, blockWeights, params;
    Buffer cvMatrices, cvBaseMatrices, cvBaseMatricesInverse, knots, scratch, tweaks, tweakVectors;

private:
    const OpenClDevice& device_;
    std::size_t pointCount_;
    float geoMatrix_[16], geoMatrixInverse_[16];
};

} // namespace talvisora::device
