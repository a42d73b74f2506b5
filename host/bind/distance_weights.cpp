// SPDX-License-Identifier: Apache-2.0
#include "host/bind/distance_weights.h"

#include "host/bind/nearest_bones.h"
#include "host/rig_edit/layers.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace talvisora::host {

namespace {

/// A block that reaches a point takes it only if its bones are at most so many times farther away than the
/// nearest ones: with a large reach the neck can see the inside of a knee.
constexpr double kFarther = 3.0;

constexpr double kTrace = 1e-3; ///< a share of a point that is too small to be seen

/// Which points lie in one place, and which places an edge joins.
struct Places {
    std::vector<std::uint32_t> ofPoint;
    std::vector<std::vector<std::uint32_t>> neighbours; ///< ascending, each once
};

Places placesOf(const Character& character) {
    Places places;
    std::map<std::array<double, 3>, std::uint32_t> found;
    for (const Vec3d& p : character.points)
        places.ofPoint.push_back(
            found.try_emplace({p.x, p.y, p.z}, static_cast<std::uint32_t>(found.size())).first->second);
    std::vector<std::set<std::uint32_t>> around(found.size());
    for (const Triangle& triangle : character.pointTriangles())
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint32_t a = places.ofPoint[triangle[c]], b = places.ofPoint[triangle[(c + 1) % 3]];
            if (a == b) continue;
            around[a].insert(b);
            around[b].insert(a);
        }
    for (const auto& set : around) places.neighbours.emplace_back(set.begin(), set.end());
    return places;
}

/// Mean over a place and its neighbours; out of the values of the pass before.
void smoothOver(const Places& places, int passes, std::vector<double>& values) {
    std::vector<double> next(values.size());
    for (int pass = 0; pass < passes; ++pass) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            double sum = values[i];
            for (const std::uint32_t n : places.neighbours[i]) sum += values[n];
            next[i] = sum / static_cast<double>(places.neighbours[i].size() + 1);
        }
        if (values == next) break;
        values.swap(next);
    }
}

/// Averaging spreads traces of every block over half the mesh. They move nothing that can be seen and cost
/// time; what remains takes their part.
void dropTraces(Layers& layers, std::size_t p) {
    double kept = 0.0;
    for (std::vector<double>& shares : layers.shares) {
        if (shares[p] < kTrace) shares[p] = 0.0;
        kept += shares[p];
    }
    if (!(kept > 0.0)) return;
    const double scale = (1.0 - layers.left[p]) / kept;
    for (std::vector<double>& shares : layers.shares) shares[p] *= scale;
}

} // namespace

DistanceResult weighByDistance(ResetStage& stage, const Character& character, const AutoRig& rig,
                               double maxDistanceCoeff, RigFile& file) {
    const std::size_t points = character.points.size();
    std::vector<int> blockOfJoint(character.joints.size(), -1);
    for (std::size_t b = 0; b < rig.blocks.size(); ++b)
        for (const std::uint32_t joint : rig.blocks[b].ownedJoints) blockOfJoint[joint] = static_cast<int>(b);
    std::vector<Bone> bones = bonesOf(character);
    bones.erase(std::remove_if(bones.begin(), bones.end(),
                               [&](const Bone& bone) { return blockOfJoint[bone.joint] < 0; }),
                bones.end());

    DistanceResult result;
    std::vector<std::vector<float>> reach;
    for (std::size_t b = 0; b < file.blocks.size(); ++b) {
        RigFileBlock& block = file.blocks[b];
        reach.push_back(stage.run({ResetKind::kWeights, b, 0, maxDistanceCoeff}, block.weights,
                                  "block '" + block.name + "'"));
        result.reached.push_back(static_cast<std::size_t>(
            std::count_if(reach[b].begin(), reach[b].end(), [](float w) { return w > 0.0f; })));
        block.weights.assign(points, 0.0f);
    }
    for (std::size_t p = 0; p < points; ++p) {
        double nearest[2] = {HUGE_VAL, HUGE_VAL}; // of all bones, of those whose block reaches the point
        int block[2] = {-1, -1};
        for (const Bone& bone : bones) {
            const double distance = distanceTo(bone, character.points[p]);
            const int b = blockOfJoint[bone.joint];
            const bool reaches = reach[static_cast<std::size_t>(b)][p] > 0.0f;
            for (std::size_t k = 0; k < (reaches ? 2u : 1u); ++k)
                if (distance <= nearest[k]) {
                    nearest[k] = distance;
                    block[k] = b;
                }
        }
        result.unreached += block[1] < 0 ? 1 : 0;
        const bool sensible = block[1] >= 0 && nearest[1] <= kFarther * nearest[0];
        const int taker = sensible ? block[1] : block[0];
        if (taker >= 0) file.blocks[static_cast<std::size_t>(taker)].weights[p] = 1.0f;
    }
    return result;
}

void smoothShares(const Character& character, int passes, RigFile& file) {
    if (passes <= 0) return;
    const std::size_t points = character.points.size();
    const Places places = placesOf(character);
    std::vector<double> members(places.neighbours.size(), 0.0);
    for (const std::uint32_t place : places.ofPoint) members[place] += 1.0;
    Layers layers = layersOf(file.blocks, points);
    const auto smooth = [&](std::vector<double>& shares) {
        std::vector<double> values(places.neighbours.size(), 0.0);
        for (std::size_t p = 0; p < points; ++p) values[places.ofPoint[p]] += shares[p];
        for (std::size_t i = 0; i < values.size(); ++i) values[i] /= members[i];
        smoothOver(places, passes, values);
        for (std::size_t p = 0; p < points; ++p) shares[p] = values[places.ofPoint[p]];
    };
    oneapi::tbb::parallel_for(std::size_t(0), layers.shares.size() + 1, [&](std::size_t b) {
        smooth(b < layers.shares.size() ? layers.shares[b] : layers.left);
    });
    for (std::size_t p = 0; p < points; ++p) {
        dropTraces(layers, p);
        setWeights(layers, p, file.blocks);
    }
}

} // namespace talvisora::host
