// SPDX-License-Identifier: Apache-2.0
// The host's side of one GPU evaluation: a record's points and weights as buffers on the device in use, and
// the deformed points back. On a machine without OpenCL the buffers stay empty, and the module says so.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "deform_records.h"

namespace talvisora::host {

class DevicePoints {
public:
    /// Puts the record's points (as floats) and weights (1 where the record has none) into buffers. The
    /// output starts as the input, so that an evaluation that stores nothing leaves the points as they are.
    /// pointCount  told to the module instead of the record's own; the buffers then have room for it, and
    ///             stay empty when that is out of all proportion
    /// empty       handles left null: "INPUT", "OUTPUT", "WEIGHTS"
    /// Throws HostError when the device refuses a buffer.
    DevicePoints(const DeformRecord& record, std::optional<std::int32_t> pointCount,
                 const std::vector<std::string>& empty);

    GpuDeformData data; ///< for deformGpu

    /// Waits for the evaluation and writes the points over `points`, which keeps its length; does nothing
    /// without an output buffer. Throws HostError when the device does not give them out.
    void read(std::vector<Vec3d>& points) const;

    /// Milliseconds that the kernel took on the device; negative when that is not known.
    double kernelMilliseconds() const;
};

} // namespace talvisora::host
