// SPDX-License-Identifier: Apache-2.0
// The deformer node: device buffers and host caches in their fixed order, then what the drivers remember
// about them. Rooms do not work on these members: they take one of the small views at the end of this file.
#pragma once

#include <maya/MOpenCLAutoPtr.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gr_node.h"
#include "kernels/active_pairs.h"
#include "kernels/curve.h"
#include "kernels/records.h"

namespace talvisora {

struct RigArrays; // rig/rig_arrays.h; named only, the node just keeps it alive

/// Shape of the per-point cache after the last rebuild that went through.
struct CacheShape {
    std::size_t pointCount = 0;  ///< N
    std::int32_t blockCount = 0; ///< B
    bool valid = false;
    bool changed = false;                     ///< the last rebuild found something else than what was there
    std::vector<unsigned char> changedChunks; ///< working memory of the rebuild
    std::vector<unsigned char> covers;        ///< B: the block's envelope lets full weights hide lower blocks
};

/// What the device copies hold.
struct DeviceShape {
    std::size_t pointCount = 0;
    std::int32_t blockCount = 0;
    std::vector<std::int32_t> controlPointCounts; ///< of every block
    bool valid = false;
};

inline constexpr int kDeviceBufferCount = 15;

} // namespace talvisora

/// A node of the graph that deforms a mesh. N = points, B = blocks, M = MAX_CV_MATRICES. The order of the
/// members up to the two flags is part of the contract with the host; nothing may be put between them.
class MyNode : public GrNode {
public:
    void declareAttributes(std::vector<AttributeDescriptor>& attributes) override;
    int deformCpu(ValueMap& attributes, DeformRecord& record) override;
    void idleHook() override;
    int deformGpu(ValueMap& attributes, GpuDeformData& data) override;
    void releaseGpu() override;

    MAutoCLKernel kernel; ///< empty until first compiled

    MAutoCLMem spareBuffer1;       ///< never filled
    std::vector<float> weightMaps; ///< 6 · N, see mapSlot
    MAutoCLMem weightMapsBuffer;
    std::vector<float> cvParameters;       ///< B · M: parameter of every control point on the rest curve
    MAutoCLMem spareBuffer2;               ///< never filled
    talvisora::Matrix44d geoMatrixInverse; ///< world to object, of the last evaluation
    std::int32_t blockCount = 0;           ///< B of the last evaluation
    MAutoCLMem blockInfoBuffer;
    std::vector<std::int32_t> ordersStart; ///< N: first block that can matter for the point
    MAutoCLMem ordersStartBuffer;
    std::vector<std::int32_t> ordersEnd; ///< N: one past the last block that weighs on the point, 0 for none
    MAutoCLMem ordersEndBuffer;
    std::vector<float> blockWeights; ///< B · N
    MAutoCLMem blockWeightsBuffer;
    std::vector<float> params; ///< B · N
    MAutoCLMem paramsBuffer;
    MAutoCLMem cvMatricesBuffer;
    MAutoCLMem cvBaseMatricesBuffer;
    MAutoCLMem cvBaseMatricesInverseBuffer;
    std::vector<float> knots; ///< B · (M + 4), host copy of the device's
    MAutoCLMem knotsBuffer;
    std::vector<talvisora::Float3Slot> cvsData; ///< host side of the device's scratch polygons
    MAutoCLMem cvsDataBuffer;
    std::vector<talvisora::Tweak> tweaks; ///< B · M
    MAutoCLMem tweaksBuffer;
    MAutoCLMem tweakVectorsBuffer;
    std::vector<talvisora::Curve> restCurves; ///< B, world space
    bool rebuildCache = true;                 ///< the next CPU evaluation rebuilds the per-point cache
    bool uploadDevice = true;                 ///< the next GPU evaluation uploads everything

    // Behind the contract: what the drivers remember.
    talvisora::CacheShape shape;
    std::vector<std::int32_t> cvSignature; ///< B: control-point count that a row of cvParameters was made for
    talvisora::DeviceShape deviceShape;
    std::size_t capacity[talvisora::kDeviceBufferCount] = {}; ///< bytes of each device buffer, 0 when empty
    bool deviceIncomplete = false; ///< an upload failed: the device must not be trusted
    talvisora::ActivePairs activePairs;
    std::shared_ptr<talvisora::RigArrays> rigArrays; ///< per-evaluation arrays, kept for their memory only
};

namespace talvisora {

/// The per-point cache and what describes it.
struct PointCache {
    std::vector<std::int32_t>& ordersStart;
    std::vector<std::int32_t>& ordersEnd;
    std::vector<float>& blockWeights;
    std::vector<float>& params;
    std::vector<Tweak>& tweaks;
    std::vector<float>& weightMaps;
    CacheShape& shape;
    ActivePairs& activePairs;
};

inline PointCache pointCache(MyNode& node) {
    return {node.ordersStart, node.ordersEnd,  node.blockWeights, node.params,
            node.tweaks,      node.weightMaps, node.shape,        node.activePairs};
}

/// What the rig set-up keeps from one evaluation to the next.
struct RigCache {
    std::vector<Curve>& restCurves;
    std::vector<float>& cvParameters;
    std::vector<std::int32_t>& cvSignature;

    void resize(std::size_t blockCount) {
        restCurves.resize(blockCount);
        cvParameters.resize(blockCount * MAX_CV_MATRICES);
        cvSignature.resize(blockCount);
    }
};

inline RigCache rigCache(MyNode& node) {
    return {node.restCurves, node.cvParameters, node.cvSignature};
}

} // namespace talvisora
