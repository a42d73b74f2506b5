// SPDX-License-Identifier: Apache-2.0
// The spine of a GPU evaluation: inputs, per-point cache and blocks as on the CPU; then the program, the
// arguments and the launch.
#include "evaluate/gpu_driver.h"

#include <algorithm>
#include <memory>

#include "evaluate/block_stage.h"
#include "evaluate/device_arguments.h"
#include "evaluate/inputs.h"
#include "evaluate/point_cache.h"
#include "gpu.h"
#include "kernels/program_text.h"
#include "node/messages.h"
#include "report.h"
#include "rig/rig_arrays.h"

namespace talvisora {
namespace {

/// The DEBUG_MODE that shows how long everything before the launch took.
constexpr std::int32_t kShowInitTime = 4;

/// Until the evaluation is through, neither caches nor device are to be trusted: whatever way it ends, the
/// next one rebuilds and uploads.
class UploadUnlessDone {
public:
    explicit UploadUnlessDone(MyNode& node) : node_(node) {}
    UploadUnlessDone(const UploadUnlessDone&) = delete;
    UploadUnlessDone& operator=(const UploadUnlessDone&) = delete;
    ~UploadUnlessDone() {
        if (done_) return;
        node_.uploadDevice = true;
        node_.shape.valid = false;
        node_.deviceShape.valid = false;
    }
    void done() { done_ = true; }

private:
    MyNode& node_;
    bool done_ = false;
};

bool deviceFits(const MyNode& node, std::size_t pointCount) {
    return node.deviceShape.valid && !node.deviceIncomplete && node.deviceShape.pointCount == pointCount &&
           node.deviceShape.blockCount == node.blockCount;
}

/// Notes the number of control points of every block; true when one differs from what the device's knots are
/// for.
bool controlPointsChanged(const std::vector<BlockInfo>& blocks, std::vector<std::int32_t>& counts) {
    bool changed = counts.size() != blocks.size();
    counts.resize(blocks.size());
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        const std::int32_t count = controlPointCount(blocks[b]);
        changed = changed || counts[b] != count;
        counts[b] = count;
    }
    return changed;
}

bool compileKernel(MyNode& node) {
    if (node.kernel.isNull())
        node.kernel = MOpenCLInfo::getOpenCLKernelFromString(MString(programText()), MString(kProgramName),
                                                             MString(kProgramEntry));
    return !node.kernel.isNull();
}

/// Launches the kernel. When it could leave the node's buffers it is told that there are no points: it then
/// returns before it touches one, and whoever waits for its event is served. When not even the host's own
/// buffers are in place, as the last evaluation's may be gone by now, nothing is launched. False when
/// anything went wrong.
bool launchKernel(MyNode& node, const DeviceInputs& inputs, const BoundArguments& bound,
                  GpuDeformData& data) {
    gpu::WorkSizes sizes;
    const bool asked =
        gpu::workSizes(MOpenCLInfo::getOpenCLDeviceId(), node.kernel, inputs.pointCount, sizes) == CL_SUCCESS;
    const std::int32_t safeCount = buffersAreSafe(node, inputs, bound) ? inputs.pointCount : 0;
    if (safeCount != inputs.pointCount || !bound.atIndex[kPointCountIndex])
        if (gpu::setArgument(node.kernel, kPointCountIndex, safeCount) != CL_SUCCESS) return false;
    for (const int index : kHostBufferIndices)
        if (!bound.atIndex[index]) return false;
    const bool launched = gpu::launch(node.kernel, sizes, data.inputEvent, data.outputEvent) == CL_SUCCESS;
    return asked && launched && bound.complete && safeCount == inputs.pointCount;
}

} // namespace

int deformOnGpu(MyNode& node, const ValueMap& attributes, GpuDeformData& data) {
    RunSettings settings;
    NodeAttributes values;
    std::shared_ptr<GrHierarchy> hierarchy;
    if (Fault fault = readRunSettings(attributes, settings)) return report(node, fault);
    if (Fault fault = readNodeAttributes(attributes, values)) return report(node, fault);
    if (Fault fault = readHierarchy(node.sharedInputs, values, hierarchy)) return report(node, fault);
    node.blockCount = static_cast<std::int32_t>(values.blocks->values.size());
    if (node.blockCount == 0) return report(node, noBlocks());
    const Matrix44d& geoMatrix = values.geoMatrix->value;
    node.geoMatrixInverse = inverse(geoMatrix);
    const std::int32_t pointCount = std::max(data.pointCount, 0);
    const std::size_t points = static_cast<std::size_t>(pointCount);

    UploadUnlessDone guard(node);
    const bool rebuild = node.uploadDevice || !settings.cacheAttributes || !cacheFits(node, points) ||
                         !deviceFits(node, points);
    // The points are on the device, so no list of the host's backs their number.
    if (rebuild)
        if (Fault fault = rebuildPointCache(values, points, 0, pointCache(node))) return report(node, fault);

    RigArrays& rig = rigArrays(node);
    const BlockStage blockStage{*values.blocks, *hierarchy, node.tweaks,
                                kGpuSetupLines, rebuild,    settings.carryTangents};
    const RigCache kept{rig.restCurves, node.cvParameters, node.cvSignature};
    const std::vector<Fault> faults = setUpBlocks(blockStage, kept, rig);
    for (const Fault& fault : faults) report(node, fault);
    if (!faults.empty()) return 1;

    const bool knotsChanged =
        controlPointsChanged(rig.blocks, node.deviceShape.controlPointCounts) || rebuild;
    if (knotsChanged) node.knots = rig.knots;
    // The scratch is never made anew, and once it is on the device the host needs none.
    if (rebuild && node.cvsDataBuffer.isNull()) node.cvsData.assign(points * MAX_CV_MATRICES, {});

    const std::int64_t start = gpu::startTimer();
    if (!compileKernel(node)) {
        gpu::showError(kCannotCompile);
        return 1;
    }
    const DeviceInputs inputs{data, geoMatrix, rig, settings.envelope, pointCount, rebuild, knotsChanged};
    BoundArguments bound;
    if (Fault fault = bindArguments(node, inputs, bound)) {
        gpu::showError(fault.text());
        return 1;
    }
    if (settings.debugMode == kShowInitTime) gpu::reportTimer(kInitTime, start);

    node.deviceIncomplete = !launchKernel(node, inputs, bound, data);
    node.deviceShape.pointCount = points;
    node.deviceShape.blockCount = node.blockCount;
    node.deviceShape.valid = true;
    node.uploadDevice = false;
    guard.done();
    return 0;
}

void releaseDevice(MyNode& node) {
    if (!node.kernel.isNull()) MOpenCLInfo::releaseOpenCLKernel(node.kernel);
    node.kernel.reset();
    releaseBuffers(node);
    node.deviceShape.valid = false;
    node.deviceIncomplete = false;
    node.uploadDevice = true;
}

} // namespace talvisora
