// SPDX-License-Identifier: Apache-2.0
// The host's node base class: the Maya node that a graph node is bound to, two maps of shared values, and the
// virtual operations in the order of the virtual table. Host and module compile this header alike; nothing
// may be put between the members or the operations.
#pragma once

#include <maya/MObject.h>
#include <maya/MString.h>

#include <vector>

#include "attribute_descriptor.h"
#include "deform_records.h"
#include "gr_data.h"

/// A node of the host's graph. The host owns it and destroys it through the virtual destructor. Operations
/// are called from one thread at a time for one node; different nodes may run at once. Status: 0 done or
/// nothing to do, 1 a failure that was reported, 2 the operation is not offered.
class GrNode {
public:
    virtual ~GrNode() = default;

    /// Appends the node's attributes to `attributes`.
    virtual void declareAttributes(std::vector<AttributeDescriptor>& attributes) = 0;

    /// One evaluation on the CPU: run settings and attribute values in, points deformed in place.
    virtual int deformCpu(ValueMap& /*attributes*/, DeformRecord& /*record*/) { return 0; }

    virtual void receiveString(MString /*text*/) {}
    virtual void idleHook() {}

    /// One evaluation on the GPU.
    virtual int deformGpu(ValueMap& /*attributes*/, GpuDeformData& /*data*/) { return 2; }

    /// Drops GPU resources.
    virtual void releaseGpu() {}

    MObject object;        ///< its name begins every message about this node
    ValueMap sharedInputs; ///< what the host shares between nodes: joint hierarchies, "SOA_POINTS"
    ValueMap sharedOutputs;
};
