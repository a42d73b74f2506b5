// SPDX-License-Identifier: Apache-2.0
// Clips in seconds. Some exporters write one nameless animation per node: those of equal name and length that
// move different things are one clip.
#include "host/character/reading/parts.h"
#include "host/character/reading/scene_convert.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace talvisora::host::reading {

namespace {

constexpr double kUsualTicksPerSecond = 25.0; // the convention for files that say nothing

template <typename Value, typename Source, typename Convert>
std::vector<Key<Value>> convertKeys(const Source* keys, unsigned count, double ticks,
                                    const Convert& convert) {
    std::vector<Key<Value>> result;
    result.reserve(count);
    for (unsigned k = 0; k < count; ++k) result.push_back({keys[k].mTime / ticks, convert(keys[k].mValue)});
    std::stable_sort(result.begin(), result.end(),
                     [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
    return result;
}

double lastKey(const Channel& channel) {
    double last = 0.0;
    if (!channel.positions.empty()) last = std::max(last, channel.positions.back().seconds);
    if (!channel.rotations.empty()) last = std::max(last, channel.rotations.back().seconds);
    if (!channel.scales.empty()) last = std::max(last, channel.scales.back().seconds);
    return last;
}

/// Adds the keys of another channel of the same node; false when both truly animate the same component.
bool canMerge(const Channel& a, const Channel& b) {
    const auto both = [](const auto& x, const auto& y) { return x.size() > 1 && y.size() > 1; };
    return !both(a.positions, b.positions) && !both(a.rotations, b.rotations) && !both(a.scales, b.scales);
}

void mergeInto(Channel& a, const Channel& b) {
    if (b.positions.size() > a.positions.size()) a.positions = b.positions;
    if (b.rotations.size() > a.rotations.size()) a.rotations = b.rotations;
    if (b.scales.size() > a.scales.size()) a.scales = b.scales;
}

Channel* channelOf(Clip& clip, std::uint32_t node) {
    for (Channel& channel : clip.channels)
        if (channel.node == node) return &channel;
    return nullptr;
}

bool tryJoin(Clip& target, const Clip& clip) {
    if (target.name != clip.name || std::fabs(target.seconds - clip.seconds) > 1e-6 * (1.0 + clip.seconds))
        return false;
    std::map<std::uint32_t, Channel*> known;
    for (Channel& channel : target.channels) known[channel.node] = &channel;
    for (const Channel& channel : clip.channels)
        if (const auto same = known.find(channel.node);
            same != known.end() && !canMerge(*same->second, channel))
            return false;
    for (const Channel& channel : clip.channels) {
        if (Channel* same = channelOf(target, channel.node))
            mergeInto(*same, channel);
        else
            target.channels.push_back(channel);
    }
    return true;
}

Clip convertClip(const aiAnimation& animation, const NodeOfName& nodeOfName, double unit, std::size_t& lost) {
    const double ticks = animation.mTicksPerSecond > 0.0 ? animation.mTicksPerSecond : kUsualTicksPerSecond;
    Clip clip;
    clip.name = toText(animation.mName);
    std::map<std::uint32_t, std::size_t> known;
    for (unsigned c = 0; c < animation.mNumChannels; ++c) {
        const aiNodeAnim& source = *animation.mChannels[c];
        const auto node = nodeOfName.find(toText(source.mNodeName));
        if (node == nodeOfName.end()) {
            ++lost;
            continue;
        }
        Channel channel;
        channel.node = node->second;
        channel.positions = convertKeys<Vec3d>(source.mPositionKeys, source.mNumPositionKeys, ticks,
                                               [unit](const aiVector3D& v) { return toVec(v) * unit; });
        channel.rotations = convertKeys<Quatd>(source.mRotationKeys, source.mNumRotationKeys, ticks, toQuat);
        channel.scales = convertKeys<Vec3d>(source.mScalingKeys, source.mNumScalingKeys, ticks, toVec);
        const auto [entry, isNew] = known.emplace(channel.node, clip.channels.size());
        if (isNew)
            clip.channels.push_back(std::move(channel));
        else
            mergeInto(clip.channels[entry->second], channel);
    }
    clip.seconds = animation.mDuration / ticks;
    if (!(clip.seconds > 0.0)) {
        clip.seconds = 0.0;
        for (const Channel& channel : clip.channels) clip.seconds = std::max(clip.seconds, lastKey(channel));
    }
    return clip;
}

} // namespace

void readClips(const SceneFile& file, const NodeOfName& nodeOfName, Character& character) {
    const aiScene& scene = file.scene();
    std::size_t lost = 0;
    for (unsigned a = 0; a < scene.mNumAnimations; ++a) {
        Clip clip = convertClip(*scene.mAnimations[a], nodeOfName, character.evaluationPerFileUnit, lost);
        bool joined = false;
        for (std::size_t k = 0; k < character.clips.size() && !joined; ++k)
            joined = tryJoin(character.clips[k], clip);
        if (!joined) character.clips.push_back(std::move(clip));
    }
    if (lost)
        character.warnings.push_back(std::to_string(lost) +
                                     " animation channels name nodes that do not exist; left out");
    std::set<std::string> taken;
    for (std::size_t k = 0; k < character.clips.size(); ++k) {
        const std::string base =
            character.clips[k].name.empty() ? "clip" + std::to_string(k + 1) : character.clips[k].name;
        std::string unique = base;
        for (std::size_t copy = 2; !taken.insert(unique).second; ++copy)
            unique = base + "_" + std::to_string(copy);
        character.clips[k].name = unique;
    }
}

} // namespace talvisora::host::reading
