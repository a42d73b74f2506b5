// SPDX-License-Identifier: Apache-2.0
// The same scene through each of the calls that are timed.
#include "bench/scene.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "evaluate/block_stage.h"
#include "node/attribute_names.h"
#include "reference/literal_deform.h"
#include "rig/rig_arrays.h"

namespace talvisora::bench {
namespace {

/// Of whole numbers of eight bytes, and of four that may be left over.
std::uint64_t hashOf(const void* data, std::size_t bytes) {
    std::uint64_t hash = 1469598103934665603ull;
    const char* from = static_cast<const char*>(data);
    for (std::size_t at = 0; at < bytes; at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, from + at, std::min<std::size_t>(8, bytes - at));
        hash = (hash ^ word) * 1099511628211ull;
    }
    return hash;
}

} // namespace

Scene::Scene(const LimbOptions& options) : limb_(options) {
    node_.sharedInputs["Hier limb"] = limb_.hierarchy;
    record_.points = limb_.restPoints;
    record_.weights.assign(limb_.restPoints.size(), 1.0f);
    if (node_.deformCpu(limb_.attributes, record_) != 0) {
        std::fprintf(stderr, "talvisora_bench: the evaluation failed\n");
        std::exit(1);
    }
    for (const Vec3d& p : limb_.restPoints)
        for (double c : {p.x, p.y, p.z}) skinRest_.push_back(static_cast<float>(c));
    skinPoints_ = skinRest_;
    for (double m : limb_.skinMatrices) skinMatrices_.push_back(static_cast<float>(m));
}

std::uint64_t Scene::hash() const {
    return hashOf(record_.points.data(), record_.points.size() * sizeof(Vec3d));
}

std::uint64_t Scene::skinHash() const {
    return hashOf(skinPoints_.data(), skinPoints_.size() * sizeof(float));
}

std::uint64_t Scene::rigHash() const {
    std::uint64_t hash = 0;
    for (int b = 0; b < node_.blockCount; ++b)
        hash =
            31 * hash + hashOf(&node_.rigArrays->cvMatrices[slot(b, 0)],
                               sizeof(Matrix44d) *
                                   std::size_t(controlPointCount(node_.rigArrays->blocks[std::size_t(b)])));
    return hash;
}

void Scene::nextPose() {
    step_ = 1 - step_;
    limb_.pose(step_);
    restore();
}

void Scene::nextWeights(std::size_t points) {
    if (points == 0) return;
    float& last = points < pointCount() ? strokeFactor_ : weightFactor_;
    const float factor = last == 1.0f ? 0.5f : 2.0f; // exact there and back
    last *= factor;
    for (ValueMap& block : castTo<GrCompound>(limb_.attributes[attribute::kBlock])->values) {
        std::vector<float>& weights = castTo<GrFloat>(block[attribute::kBlockWeights])->values;
        for (std::size_t i = 0; i < points; ++i) weights[i] *= factor;
    }
}

void Scene::keepCaches(bool keep) {
    castTo<GrBoolean>(limb_.attributes["CACHE_ATTRIBUTES"])->value = keep;
}

void Scene::rigStage() {
    const auto blocks = castTo<GrCompound>(limb_.attributes["talvisora__block"]);
    const BlockStage stage{*blocks, *limb_.hierarchy, node_.tweaks, kCpuSetupLines, false, true};
    if (!setUpBlocks(stage, rigCache(node_), *node_.rigArrays).empty()) std::exit(1);
}

void Scene::literalStage() {
    literal::deformPoints(stage());
}

void Scene::blend(const Blend<float>& blend, std::size_t first, std::size_t end) {
    blend.run({skinPoints_.data(), limb_.skinJoints.data(), limb_.skinWeights.data(), skinMatrices_.data()},
              first, end);
}

void Scene::blend(const Blend<double>& blend, std::size_t first, std::size_t end) {
    blend.run(
        {&record_.points[0].x, limb_.skinJoints.data(), limb_.skinWeights.data(), limb_.skinMatrices.data()},
        first, end);
}

void Scene::bytes(std::size_t first, std::size_t end) {
    moveBytes({&record_.points[0].x, record_.weights.data(), node_.blockWeights.data(), node_.params.data(),
               node_.ordersStart.data(), node_.ordersEnd.data()},
              first, end);
}

PointStage Scene::stage() {
    const RigArrays& rig = *node_.rigArrays;
    PointStage stage;
    stage.points = record_.points.data();
    stage.pointCount = record_.points.size();
    stage.pointWeights = record_.weights.data();
    stage.pointWeightCount = record_.weights.size();
    stage.geoMatrix = &castTo<GrMatrix>(limb_.attributes["talvisora__geoMatrix"])->value;
    stage.geoMatrixInverse = &node_.geoMatrixInverse;
    stage.blockCount = node_.blockCount;
    stage.ordersStart = node_.ordersStart.data();
    stage.ordersEnd = node_.ordersEnd.data();
    stage.blockWeights = node_.blockWeights.data();
    stage.params = node_.params.data();
    stage.weightMaps = node_.weightMaps.data();
    stage.blocks = rig.blocks.data();
    stage.knots = rig.knots.data();
    stage.cvMatrices = rig.cvMatrices.data();
    stage.cvBaseMatrices = rig.cvBaseMatrices.data();
    stage.cvBaseMatricesInverse = rig.cvBaseMatricesInverse.data();
    stage.tweaks = node_.tweaks.data();
    stage.tweakVectors = rig.tweakVectors.data();
    return stage;
}

} // namespace talvisora::bench
