// SPDX-License-Identifier: Apache-2.0
#include "host/rig_edit/mirror.h"

#include "host/rig_edit/layers.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace talvisora::host {

namespace {

double& component(Vec3d& v, int axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

Vec3d mirroredAt(Vec3d v, int axis) {
    component(v, axis) = -component(v, axis);
    return v;
}

double sizeOf(const std::vector<Vec3d>& points) {
    if (points.empty()) return 0.0;
    Vec3d low = points[0], high = points[0];
    for (const Vec3d& p : points) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return length(high - low);
}

// Middle of a point's neighbours, per corner of a triangle; the point itself where it has none.
std::vector<Vec3d> neighbourMiddles(const Character& character) {
    std::vector<Vec3d> sums(character.points.size());
    std::vector<double> counts(sums.size(), 0.0);
    for (const Triangle& triangle : character.pointTriangles())
        for (std::size_t k = 0; k < 3; ++k) {
            sums[triangle[k]] +=
                character.points[triangle[(k + 1) % 3]] + character.points[triangle[(k + 2) % 3]];
            counts[triangle[k]] += 2.0;
        }
    for (std::size_t p = 0; p < sums.size(); ++p)
        sums[p] = counts[p] > 0.0 ? sums[p] / counts[p] : character.points[p];
    return sums;
}

// Points in cubes of one edge length, found by the cube's place.
class Cubes {
public:
    Cubes(const std::vector<Vec3d>& points, double edge) : edge_(edge) {
        for (std::size_t p = 0; p < points.size(); ++p)
            cubes_[key(place(points[p].x), place(points[p].y), place(points[p].z))].push_back(
                static_cast<std::uint32_t>(p));
    }

    // All points within one edge length, and some more; a cube may be visited twice.
    template <class Visit>
    void near(const Vec3d& at, Visit visit) const {
        for (int x = -1; x <= 1; ++x)
            for (int y = -1; y <= 1; ++y)
                for (int z = -1; z <= 1; ++z) {
                    const auto cube = cubes_.find(key(place(at.x) + x, place(at.y) + y, place(at.z) + z));
                    if (cube == cubes_.end()) continue;
                    for (const std::uint32_t p : cube->second) visit(p);
                }
    }

private:
    std::int64_t place(double coordinate) const {
        return static_cast<std::int64_t>(std::clamp(std::floor(coordinate / edge_), -1e15, 1e15));
    }
    // Different places may share a key; who visits compares positions anyway.
    static std::uint64_t key(std::int64_t x, std::int64_t y, std::int64_t z) {
        std::uint64_t hash = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15u;
        hash = (hash ^ static_cast<std::uint64_t>(y)) * 0xc2b2ae3d27d4eb4fu;
        return (hash ^ static_cast<std::uint64_t>(z)) * 0x165667b19e3779f9u;
    }

    double edge_;
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> cubes_;
};

// Per block the index of its pair, itself for a centre block.
std::vector<std::size_t> pairBlocks(const RigFile& rig, const NamePairs& pairs, MirrorResult& result) {
    std::vector<std::size_t> pairOf(rig.blocks.size());
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        const std::string& name = rig.blocks[b].name;
        const std::vector<std::string> names = otherSideNames(name, pairs);
        pairOf[b] = b;
        for (std::size_t k = 0; k < names.size() && pairOf[b] == b; ++k)
            for (std::size_t c = 0; c < rig.blocks.size(); ++c)
                if (rig.blocks[c].name == names[k]) pairOf[b] = c;
        if (names.empty()) result.centre.push_back(name);
        if (!names.empty() && pairOf[b] == b)
            throw HostError(ExitCode::kInput, rig.path + ": block '" + name + "' has no partner; a block '" +
                                                  names[0] + "' is missing, or name the sides with --pairs");
    }
    for (std::size_t b = 0; b < pairOf.size(); ++b) {
        const RigFileBlock &one = rig.blocks[b], &other = rig.blocks[pairOf[b]];
        if (pairOf[pairOf[b]] != b)
            throw HostError(ExitCode::kInput, rig.path + ": block '" + one.name + "' is paired with '" +
                                                  other.name + "', and that with '" +
                                                  rig.blocks[pairOf[pairOf[b]]].name +
                                                  "'; name the sides with --pairs");
        if (one.joints.size() != other.joints.size())
            throw HostError(ExitCode::kInput,
                            rig.path + ": blocks '" + one.name + "' and '" + other.name + "' have " +
                                std::to_string(one.joints.size()) + " and " +
                                std::to_string(other.joints.size()) +
                                " joints; parameters can be mirrored only between equal chains");
        if (b < pairOf[b]) result.pairs.emplace_back(one.name, other.name);
    }
    return pairOf;
}

} // namespace

std::vector<std::optional<std::uint32_t>> mirrorPartners(const Character& character, int axis,
                                                         double tolerance) {
    const std::vector<Vec3d>& points = character.points;
    const std::vector<Vec3d> middles = neighbourMiddles(character);
    // Cubes as small as a millionth of the mesh would only be more of them.
    const double edge = std::max({tolerance, sizeOf(points) * 1e-6, 1e-30});
    const Cubes cubes(points, edge);
    std::vector<std::optional<std::uint32_t>> partners(points.size());
    for (std::size_t p = 0; p < points.size(); ++p) {
        const Vec3d at = mirroredAt(points[p], axis), middle = mirroredAt(middles[p], axis);
        double best = HUGE_VAL;
        cubes.near(at, [&](std::uint32_t candidate) {
            const Vec3d apart = points[candidate] - at, turned = middles[candidate] - middle;
            const double miss = dot(apart, apart) + dot(turned, turned);
            if (length(apart) > tolerance) return;
            if (miss < best || (miss == best && candidate < *partners[p])) {
                best = miss;
                partners[p] = candidate;
            }
        });
    }
    return partners;
}

MirrorResult mirrorRig(RigFile& rig, const Character& character, const MirrorOptions& options) {
    MirrorResult result;
    const std::vector<std::size_t> pairOf = pairBlocks(rig, options.pairs, result);
    const double tolerance = options.tolerance < 0.0 ? 1e-3 * sizeOf(character.points) : options.tolerance;
    const double seam = options.seam < 0.0 ? tolerance : options.seam;
    const auto partners = mirrorPartners(character, options.axis, tolerance);
    const RigFile old = rig;
    const Layers before = layersOf(old.blocks, character.points.size());
    Layers after = before;

    for (std::size_t p = 0; p < character.points.size(); ++p) {
        Vec3d point = character.points[p];
        const double away = component(point, options.axis);
        const bool onSeam = std::fabs(away) <= seam;
        if (!onSeam && (away > 0.0) == options.fromPositive) continue;
        if (!partners[p]) {
            result.unmatched.push_back(static_cast<std::uint32_t>(p));
            continue;
        }
        const std::size_t m = *partners[p];
        // Part of the partner's values in the new ones.
        const double part = onSeam ? 0.5 : 1.0;
        const auto mean = [part](double own, double other) { return (1.0 - part) * own + part * other; };
        after.left[p] = mean(before.left[p], before.left[m]);
        for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
            const std::size_t other = pairOf[b];
            const double own = before.shares[b][p], its = before.shares[other][m];
            after.shares[b][p] = mean(own, its);
            const double ownParam = old.blocks[b].params[p], itsParam = old.blocks[other].params[m];
            // Where a block does not act its parameter means nothing.
            const double acting = mean(own, its);
            const double param = acting > 0.0 && onSeam
                                     ? ((1.0 - part) * own * ownParam + part * its * itsParam) / acting
                                     : mean(ownParam, itsParam);
            rig.blocks[b].params[p] = static_cast<float>(std::clamp(param, 0.0, 1.0));
        }
        setWeights(after, p, rig.blocks);
        for (std::size_t map = 0; map < kRigMapCount; ++map)
            if (!rig.weightMaps[map].empty())
                rig.weightMaps[map][p] =
                    static_cast<float>(mean(old.weightMaps[map][p], old.weightMaps[map][m]));
        ++(onSeam ? result.seam : result.mirrored);
    }
    return result;
}

} // namespace talvisora::host
