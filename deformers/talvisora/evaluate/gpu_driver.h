// SPDX-License-Identifier: Apache-2.0
// One evaluation on the GPU.
#pragma once

#include "deform_records.h"
#include "gr_data.h"
#include "node/my_node.h"

namespace talvisora {

/// Launches the kernel on the host's buffers and returns without waiting for it; the completion event goes
/// into the record. Answers 0 when the kernel was launched, also after OpenCL calls that failed and were
/// reported: then no point may have been stored and the next evaluation uploads everything again. Answers 1
/// after reported failures of the inputs, the rig or the compiler; nothing is launched then. Calling thread:
/// the host's evaluation thread. May throw std::bad_alloc, with the node marked for an upload.
int deformOnGpu(MyNode& node, const ValueMap& attributes, GpuDeformData& data);

/// Gives the kernel back and lets go of all device buffers; the next GPU evaluation compiles, builds and
/// uploads everything. Host arrays are kept. Does nothing more when there is nothing to release.
void releaseDevice(MyNode& node);

} // namespace talvisora
