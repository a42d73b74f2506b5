// SPDX-License-Identifier: Apache-2.0
// The kernel's arguments: what goes to the device in one evaluation, bound in the order of the kernel's
// parameter list, and whether the kernel may then touch it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "deform_records.h"
#include "evaluate/inputs.h"
#include "fault.h"
#include "node/my_node.h"
#include "rig/rig_arrays.h"

namespace talvisora {

inline constexpr int kKernelArgumentCount = 22;
inline constexpr int kPointCountIndex = 2;
inline constexpr int kHostBufferIndices[] = {0, 1, 3}; ///< input points, output points, point weights

/// What the arguments of one evaluation are made from. Everything is borrowed.
struct DeviceInputs {
    const GpuDeformData& data;
    const Matrix44d& geoMatrix;
    const RigArrays& rig;
    float envelope;
    std::int32_t pointCount; ///< N, not negative
    bool rebuilt;            ///< the cached arrays were made anew and go to the device
    bool knotsRebuilt;       ///< the knots were
};

/// What became of the calls of one evaluation.
struct BoundArguments {
    bool complete = true;                    ///< every call succeeded the first time
    bool atIndex[kKernelArgumentCount] = {}; ///< indices that hold an argument of this evaluation
};

/// Uploads what changed into the node's buffers and binds all arguments, in ascending order. Failing OpenCL
/// calls are reported and do not end it; see the sources for what a failing call does to the arguments after
/// it. The node must hold a kernel. The fault, if any, is shown as it stands, without the node's name.
[[nodiscard]] Fault bindArguments(MyNode& node, const DeviceInputs& inputs, BoundArguments& bound);

/// Whether the kernel, running over all N points with these arguments, stays inside the node's buffers.
bool buffersAreSafe(const MyNode& node, const DeviceInputs& inputs, const BoundArguments& bound);

/// Lets go of all device buffers.
void releaseBuffers(MyNode& node);

} // namespace talvisora
