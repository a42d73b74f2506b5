// SPDX-License-Identifier: Apache-2.0
// A limb as everything that is timed needs it: as a node that has been evaluated once, as the bare input of
// the point stage and of the rig set-up, as a skin, and as bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/baselines.h"
#include "bench/limb_scene.h"
#include "kernels/deform_points.h"
#include "kernels/dispatch.h"
#include "node/my_node.h"

namespace talvisora::bench {

/// Calls must not overlap: all of them work on the same points.
class Scene {
public:
    /// Evaluates once, so that the caches stand. Ends the program when that fails.
    explicit Scene(const LimbOptions& options);

    std::size_t pointCount() const { return limb_.restPoints.size(); }
    std::size_t pairCount() const { return node_.activePairs.pairCount(); }
    /// Of the points as the last call left them.
    std::uint64_t hash() const;
    /// The same of the points in single precision, and of the current control matrices.
    std::uint64_t skinHash() const;
    std::uint64_t rigHash() const;

    /// Puts the points back that the next call deforms.
    void restore() { record_.points = limb_.restPoints; }
    void restoreSkin() { skinPoints_ = skinRest_; }
    /// Another pose than before and the points back: what an animation hands to the deformer.
    void nextPose();
    /// Other block weights than before, for the first `points` points that have any: a painter's stroke, or
    /// with all of them a new weighting.
    void nextWeights(std::size_t points);
    /// "CACHE_ATTRIBUTES".
    void keepCaches(bool keep);

    void deformCpu() { (void)node_.deformCpu(limb_.attributes, record_); }
    void pointStage(const VariantTable& variant) { deformPoints(stage(), node_.activePairs, variant); }
    void rigStage();
    void literalStage();
    void blend(const Blend<float>& blend, std::size_t first, std::size_t end);
    void blend(const Blend<double>& blend, std::size_t first, std::size_t end);
    void bytes(std::size_t first, std::size_t end);

    /// What the point stage reads; valid until the next evaluation.
    PointStage stage();

private:
    LimbScene limb_;
    MyNode node_;
    DeformRecord record_;
    std::vector<float> skinRest_, skinPoints_, skinMatrices_;
    int step_ = 0;
    float strokeFactor_ = 1.0f, weightFactor_ = 1.0f;
};

} // namespace talvisora::bench
