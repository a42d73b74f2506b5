// SPDX-License-Identifier: Apache-2.0
// The spine of a CPU evaluation: inputs, per-point cache, blocks, points.
#include "evaluate/cpu_driver.h"

#include <memory>

#include "evaluate/block_stage.h"
#include "evaluate/inputs.h"
#include "evaluate/point_cache.h"
#include "kernels/deform_points.h"
#include "node/messages.h"
#include "report.h"
#include "rig/rig_arrays.h"

namespace talvisora {
namespace {

/// Until the evaluation is through, the caches are not to be trusted: whatever way it ends, the next one
/// rebuilds them.
class RebuildUnlessDone {
public:
    explicit RebuildUnlessDone(MyNode& node) : node_(node) {}
    RebuildUnlessDone(const RebuildUnlessDone&) = delete;
    RebuildUnlessDone& operator=(const RebuildUnlessDone&) = delete;
    ~RebuildUnlessDone() {
        if (done_) return;
        node_.rebuildCache = true;
        node_.shape.valid = false;
    }
    void done() { done_ = true; }

private:
    MyNode& node_;
    bool done_ = false;
};

/// `changing`: without caching, and weights, parameters or maps differ from the evaluation before.
void deformRecord(MyNode& node, const RunSettings& settings, const Matrix44d& geoMatrix, const RigArrays& rig,
                  bool changing, DeformRecord& record) {
    PointStage stage;
    stage.points = record.points.data();
    stage.pointCount = record.points.size();
    stage.pointWeights = record.weights.data();
    stage.pointWeightCount = record.weights.size();
    stage.envelope = settings.envelope;
    stage.geoMatrix = &geoMatrix;
    stage.geoMatrixInverse = &node.geoMatrixInverse;
    stage.blockCount = node.blockCount;
    stage.ordersStart = node.ordersStart.data();
    stage.ordersEnd = node.ordersEnd.data();
    stage.blockWeights = node.blockWeights.data();
    stage.params = node.params.data();
    stage.weightMaps = node.weightMaps.data();
    stage.blocks = rig.blocks.data();
    stage.knots = rig.knots.data();
    stage.cvMatrices = rig.cvMatrices.data();
    stage.cvBaseMatrices = rig.cvBaseMatrices.data();
    stage.cvBaseMatricesInverse = rig.cvBaseMatricesInverse.data();
    stage.tweaks = node.tweaks.data();
    stage.tweakVectors = rig.tweakVectors.data();
    // What has just changed is likely to change again, and without caching the next evaluation would see it:
    // then listing its pairs does not pay.
    if (changing)
        deformChangingPoints(stage, node.activePairs);
    else
        deformPoints(stage, node.activePairs);
}

} // namespace

int deformOnCpu(MyNode& node, const ValueMap& attributes, DeformRecord& record) {
    RunSettings settings;
    std::size_t pointCount = 0;
    if (Fault fault = readRunSettings(attributes, settings)) return report(node, fault);
    if (Fault fault = readSoaEnabled(attributes, settings)) return report(node, fault);
    if (Fault fault = readPointCount(node.sharedInputs, settings, record, pointCount))
        return report(node, fault);
    if (envelopeIsOff(settings.envelope)) return 0;

    NodeAttributes values;
    if (Fault fault = readNodeAttributes(attributes, values)) return report(node, fault);
    if (!record.active) {
        // Kept on purpose although nothing was cached: the shape still says so to the next evaluation.
        node.rebuildCache = false;
        return 0;
    }

    std::shared_ptr<GrHierarchy> hierarchy;
    if (Fault fault = readHierarchy(node.sharedInputs, values, hierarchy)) return report(node, fault);
    if (values.blocks->values.empty()) return report(node, noBlocks());
    const Matrix44d& geoMatrix = values.geoMatrix->value;
    node.blockCount = static_cast<std::int32_t>(values.blocks->values.size());
    node.geoMatrixInverse = inverse(geoMatrix);

    RebuildUnlessDone guard(node);
    const bool rebuild = node.rebuildCache || !settings.cacheAttributes || !cacheFits(node, pointCount);
    if (rebuild)
        if (Fault fault = rebuildPointCache(values, pointCount, record.points.size(), pointCache(node)))
            return report(node, fault);

    RigArrays& rig = rigArrays(node);
    const BlockStage blockStage{*values.blocks, *hierarchy, node.tweaks,
                                kCpuSetupLines, rebuild,    settings.carryTangents};
    const std::vector<Fault> faults = setUpBlocks(blockStage, rigCache(node), rig);
    for (const Fault& fault : faults) report(node, fault);
    if (!faults.empty()) return 1;

    // Points that are laid out elsewhere are moved elsewhere.
    const bool changing = !settings.cacheAttributes && node.shape.changed;
    if (!settings.soaEnabled) deformRecord(node, settings, geoMatrix, rig, changing, record);

    node.rebuildCache = false;
    guard.done();
    return 0;
}

} // namespace talvisora
