// SPDX-License-Identifier: Apache-2.0
// What the host hands to one evaluation beside the attributes: host arrays for the CPU, device buffers for
// the GPU.
#pragma once

#include <clew/clew.h>
#include <maya/MOpenCLAutoPtr.h>

#include <cstdint>
#include <vector>

#include "maths/matrix44.h"

/// Points to deform on the CPU, owned by the host. `points` are object space and are deformed in place; their
/// number is the point count N. `weights` holds one weight per point; missing ones count as 1, further ones
/// are not read. `matrix` is the host's own; no stage of this module needs it.
struct DeformRecord {
    unsigned char active = 1; ///< 0: nothing to deform; any other value: deform
    std::vector<talvisora::Vec3d> points;
    talvisora::Matrix44d matrix;
    std::vector<float> weights;
};

/// Device buffers for one GPU evaluation, owned by the host. Points are packed float triples, object space.
struct GpuDeformData {
    MAutoCLMem inputPoints;
    MAutoCLMem outputPoints;
    MAutoCLEvent inputEvent;    ///< waited for when it holds an event
    MAutoCLEvent outputEvent;   ///< receives the kernel's completion event
    void* hostFields = nullptr; ///< the host's own, not touched here
    MAutoCLMem weights;         ///< one float per point
    std::int32_t pointCount = 0;
};
