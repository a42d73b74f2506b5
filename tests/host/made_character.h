// SPDX-License-Identifier: Apache-2.0
// Characters put together in memory for the tests: joints by position, points by weights, clips by keys; and
// what holds for the rig of any.
#pragma once

#include "host/character/auto_blocks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace made_character {

using namespace talvisora;
using namespace talvisora::host;

struct Bone {
    std::string name;
    int parent;
    Vec3d at; ///< world, at rest
};

/// Joints without turns: every rest matrix is a translation.
inline Character makeSkeleton(const std::vector<Bone>& bones) {
    Character c;
    c.path = "made.glb";
    c.influenceStart = {0};
    for (std::size_t b = 0; b < bones.size(); ++b) {
        Joint joint;
        joint.name = bones[b].name;
        joint.parent = bones[b].parent;
        joint.node = static_cast<std::uint32_t>(b);
        setTranslation(joint.restWorld, bones[b].at);
        setTranslation(joint.inverseRest, -bones[b].at);
        c.joints.push_back(joint);
        CharacterNode node;
        node.name = bones[b].name;
        node.parent = bones[b].parent;
        setTranslation(node.local, bones[b].parent < 0
                                       ? bones[b].at
                                       : bones[b].at - bones[static_cast<std::size_t>(bones[b].parent)].at);
        c.nodes.push_back(node);
    }
    return c;
}

inline std::size_t addPoint(Character& c, const Vec3d& at, const std::vector<Influence>& weights) {
    c.points.push_back(at);
    c.influences.insert(c.influences.end(), weights.begin(), weights.end());
    c.influenceStart.push_back(static_cast<std::uint32_t>(c.influences.size()));
    return c.points.size() - 1;
}

/// One point a little off every joint that is named, weighted by it alone.
inline void addPointAt(Character& c, std::uint32_t joint, const Vec3d& offset = {0, 0.1, 0}) {
    addPoint(c, translation(c.joints[joint].restWorld) + offset, {{joint, 1.0}});
}

/// A clip of one second in which a joint turns from rest by the turn and stands moved by the shift in the
/// end.
inline void addMotion(Character& c, std::uint32_t joint, const Quatd& turn, const Vec3d& shift = {}) {
    Clip clip;
    clip.name = "motion of " + c.joints[joint].name;
    clip.seconds = 1.0;
    Channel channel;
    channel.node = c.joints[joint].node;
    const Vec3d at = translation(c.nodes[channel.node].local);
    channel.positions = {{0.0, at}, {1.0, at + shift}};
    channel.rotations = {{0.0, Quatd{}}, {1.0, turn}};
    clip.channels.push_back(channel);
    c.clips.push_back(clip);
}

/// The last parts of a block's record names: "chain/joint" without the chain.
inline std::vector<std::string> shortNames(const std::vector<std::string>& records) {
    std::vector<std::string> names;
    for (const std::string& record : records) names.push_back(record.substr(record.rfind('/') + 1));
    return names;
}

inline Quatd turnAbout(const Vec3d& axis, double angle) {
    const Vec3d a = axis * std::sin(angle / 2);
    return {a.x, a.y, a.z, std::cos(angle / 2)};
}

/// A straight chain along x with one point per joint.
inline Character straight(int joints) {
    std::vector<Bone> bones;
    for (int j = 0; j < joints; ++j) bones.push_back({"j" + std::to_string(j), j - 1, {double(j), 0, 0}});
    Character c = makeSkeleton(bones);
    for (int j = 0; j < joints; ++j) addPointAt(c, static_cast<std::uint32_t>(j));
    return c;
}

/// Every joint that weighs on a point is owned by exactly one block.
inline void expectOwnedOnce(const Character& c, const AutoRig& rig) {
    std::vector<int> owners(c.joints.size(), 0), weighs(c.joints.size(), 0);
    for (const RigBlock& block : rig.blocks)
        for (std::uint32_t joint : block.ownedJoints) ++owners[joint];
    for (const Influence& i : c.influences) weighs[i.joint] = 1;
    for (std::size_t j = 0; j < owners.size(); ++j)
        EXPECT_TRUE(weighs[j] ? owners[j] == 1 : owners[j] <= 1) << c.joints[j].name;
}

} // namespace made_character
