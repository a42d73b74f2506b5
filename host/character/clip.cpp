// SPDX-License-Identifier: Apache-2.0
// Sampling clips: keys are looked up by bisection, nodes are combined parents first.
#include "host/character/clip.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

Vec3d blend(const Vec3d& a, const Vec3d& b, double f) {
    return a * (1.0 - f) + b * f;
}
Quatd blend(const Quatd& a, const Quatd& b, double f) {
    return slerp(a, b, f);
}

/// The value at a time; keys must not be empty.
template <typename Value>
Value valueAt(const std::vector<Key<Value>>& keys, double seconds) {
    const auto next = std::upper_bound(keys.begin(), keys.end(), seconds,
                                       [](double t, const Key<Value>& key) { return t < key.seconds; });
    if (next == keys.begin()) return keys.front().value;
    if (next == keys.end()) return keys.back().value;
    const auto previous = next - 1;
    const double span = next->seconds - previous->seconds; // > 0: next is past `seconds`, previous is not
    return blend(previous->value, next->value, (seconds - previous->seconds) / span);
}

struct Parts {
    Vec3d position, scale;
    Quatd rotation;
};

/// Translation, rotation and the lengths of the axes; a mirrored matrix gets a negative first scale.
Parts takeApart(const Matrix44d& a) {
    Parts parts;
    parts.position = translation(a);
    Vec3d r0 = normalise(row(a, 0)), r1 = row(a, 1);
    parts.scale = {length(row(a, 0)), length(row(a, 1)), length(row(a, 2))};
    if (dot(cross(row(a, 0), row(a, 1)), row(a, 2)) < 0.0) {
        r0 = -r0;
        parts.scale.x = -parts.scale.x;
    }
    r1 = normalise(r1 - r0 * dot(r0, r1));
    if (r0 == Vec3d{} || r1 == Vec3d{}) return parts;
    parts.rotation = fromRotation(r0, r1, cross(r0, r1));
    return parts;
}

Matrix44d channelMatrix(const Channel& channel, const Matrix44d& loaded, double seconds) {
    Parts parts;
    if (channel.positions.empty() || channel.rotations.empty() || channel.scales.empty())
        parts = takeApart(loaded);
    if (!channel.positions.empty()) parts.position = valueAt(channel.positions, seconds);
    if (!channel.rotations.empty()) parts.rotation = valueAt(channel.rotations, seconds);
    if (!channel.scales.empty()) parts.scale = valueAt(channel.scales, seconds);
    Matrix44d m = toMatrix(parts.rotation);
    setRow(m, 0, row(m, 0) * parts.scale.x);
    setRow(m, 1, row(m, 1) * parts.scale.y);
    setRow(m, 2, row(m, 2) * parts.scale.z);
    setTranslation(m, parts.position);
    return m;
}

/// World and local matrices of the joints from the local matrices of all nodes.
Pose poseFromNodes(const Character& character, const std::vector<Matrix44d>& locals) {
    std::vector<Matrix44d> world(locals.size());
    for (std::size_t i = 0; i < locals.size(); ++i) {
        const int parent = character.nodes[i].parent;
        world[i] = parent < 0 ? locals[i] : locals[i] * world[static_cast<std::size_t>(parent)];
    }
    Pose pose;
    for (const Joint& joint : character.joints) {
        pose.world.push_back(world[joint.node]);
        // The local matrix is a product of node matrices, never an inverse: a joint scaled to nothing stays
        // exact.
        const int above =
            joint.parent < 0
                ? -1
                : static_cast<int>(character.joints[static_cast<std::size_t>(joint.parent)].node);
        Matrix44d local = locals[joint.node];
        for (int at = character.nodes[joint.node].parent; at != above;
             at = character.nodes[static_cast<std::size_t>(at)].parent)
            local = local * locals[static_cast<std::size_t>(at)];
        pose.local.push_back(local);
    }
    return pose;
}

std::vector<Matrix44d> loadedLocals(const Character& character) {
    std::vector<Matrix44d> locals;
    locals.reserve(character.nodes.size());
    for (const CharacterNode& node : character.nodes) locals.push_back(node.local);
    return locals;
}

} // namespace

Pose samplePose(const Character& character, const Clip& clip, double seconds) {
    std::vector<Matrix44d> locals = loadedLocals(character);
    for (const Channel& channel : clip.channels)
        locals[channel.node] = channelMatrix(channel, locals[channel.node], seconds);
    return poseFromNodes(character, locals);
}

Pose loadedPose(const Character& character) {
    return poseFromNodes(character, loadedLocals(character));
}

Pose restPose(const Character& character) {
    std::vector<Matrix44d> world;
    for (const Joint& joint : character.joints) world.push_back(joint.restWorld);
    return poseFromWorld(character, std::move(world));
}

Pose poseFromWorld(const Character& character, std::vector<Matrix44d> world) {
    Pose pose;
    for (std::size_t j = 0; j < character.joints.size(); ++j) {
        const int parent = character.joints[j].parent;
        pose.local.push_back(parent < 0 ? world[j]
                                        : world[j] * inverse(world[static_cast<std::size_t>(parent)]));
    }
    pose.world = std::move(world);
    return pose;
}

} // namespace talvisora::host
