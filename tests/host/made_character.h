// SPDX-License-Identifier: Apache-2.0
// Characters put together in memory for the tests: joints by position, points by weights, clips by keys.
#pragma once

#include "host/character/character.h"

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

} // namespace made_character
