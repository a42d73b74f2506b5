// SPDX-License-Identifier: Apache-2.0
#include "host/bind/nearest_bones.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>

namespace talvisora::host {

std::vector<Bone> bonesOf(const Character& character) {
    const std::vector<Joint>& joints = character.joints;
    std::vector<std::vector<std::size_t>> below(joints.size());
    for (std::size_t j = 0; j < joints.size(); ++j)
        if (joints[j].parent >= 0) below[static_cast<std::size_t>(joints[j].parent)].push_back(j);
    std::vector<Bone> bones;
    for (std::size_t j = 0; j < joints.size(); ++j) {
        const Vec3d start = translation(joints[j].restWorld);
        for (const std::size_t child : below[j])
            bones.push_back({static_cast<std::uint32_t>(j), start, translation(joints[child].restWorld)});
        if (below[j].empty()) bones.push_back({static_cast<std::uint32_t>(j), start, start});
    }
    return bones;
}

double distanceTo(const Bone& bone, const Vec3d& point) {
    const Vec3d way = bone.end - bone.start, offset = point - bone.start;
    const double square = dot(way, way);
    const double t = square > 0.0 ? std::min(std::max(dot(offset, way) / square, 0.0), 1.0) : 0.0;
    return length(offset - way * t);
}

Character boundToNearestBones(const Character& character) {
    const std::vector<Bone> bones = bonesOf(character);
    Character bound = character;
    const std::size_t points = character.points.size();
    bound.influences.assign(points, {0, 1.0});
    bound.influenceStart.resize(points + 1);
    for (std::size_t p = 0; p <= points; ++p) bound.influenceStart[p] = static_cast<std::uint32_t>(p);
    oneapi::tbb::parallel_for(
        oneapi::tbb::blocked_range<std::size_t>(0, points, 256), [&](const auto& range) {
            for (std::size_t p = range.begin(); p != range.end(); ++p) {
                double nearest = HUGE_VAL;
                for (const Bone& bone : bones) {
                    const double distance = distanceTo(bone, character.points[p]);
                    if (distance > nearest) continue; // joints come parents first: the lower one takes a tie
                    nearest = distance;
                    bound.influences[p].joint = bone.joint;
                }
            }
        });
    return bound;
}

} // namespace talvisora::host
