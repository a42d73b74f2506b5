// SPDX-License-Identifier: Apache-2.0
// The device buffers that the host hands to one GPU evaluation, and the way of the points there and back.
// They are made once and used again for every frame of as many points.
#pragma once

#include "deform_records.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

/// What a capture may change about the buffers of a GPU evaluation.
struct GpuRequest {
    std::optional<std::int32_t> pointCount; ///< told to the node in place of the record's number of points
    std::vector<std::string> empty;         ///< handles left empty: "INPUT", "OUTPUT", "WEIGHTS"
};

/// Needs 28 bytes per point on the device and 16 in memory. Faults are texts, empty when all went well; none
/// throws. Threads: one object, one thread, and that of the evaluation.
class GpuBuffers {
public:
    GpuBuffers() = default;
    ~GpuBuffers();
    GpuBuffers(const GpuBuffers&) = delete;
    GpuBuffers& operator=(const GpuBuffers&) = delete;

    /// Fills `data` for the record: its points in the input buffer and, so that it is defined whatever
    /// happens, in the output buffer; its weights, 1 where there are none; an event that stands for all
    /// that. When buffers cannot be had their handles stay empty. The buffers hold as many points as are told
    /// to the node, also when the record has fewer; for more than 2^26 beyond it there are none.
    std::string prepare(const DeformRecord& record, const GpuRequest& request, GpuDeformData& data);

    /// After the evaluation: waits for it and takes the output into `points` (as many as the record had).
    /// `milliseconds` gets the device's time for the kernel, negative when it is not known. On a fault the
    /// points are not touched.
    std::string finish(const GpuDeformData& data, std::vector<Vec3d>& points, double& milliseconds);

private:
    std::string reserve(std::size_t capacity);

    MAutoCLMem input_, output_, weights_;
    std::size_t capacity_ = 0;                    // points
    cl_context context_ = nullptr;                // of the buffers; borrowed, only compared
    std::vector<float> positions_, weightValues_; // on their way; must stay until the queue is done
};

} // namespace talvisora::host
