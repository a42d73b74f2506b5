// SPDX-License-Identifier: Apache-2.0
// A file without a skin does not say which of its nodes are joints. Joints move, and meshes do not hang in
// them.
#include "host/character/reading/parts.h"
#include "host/character/reading/scene_convert.h"

#include <assimp/scene.h>

#include <algorithm>

namespace talvisora::host::reading {

namespace {

/// Per node, in the order of readNodes: whether it shows a mesh.
std::vector<char> showsMesh(const aiScene& scene) {
    std::vector<char> shows;
    std::vector<const aiNode*> open{scene.mRootNode};
    while (!open.empty()) {
        const aiNode* node = open.back();
        open.pop_back();
        shows.push_back(node->mNumMeshes > 0);
        for (unsigned i = node->mNumChildren; i-- > 0;) open.push_back(node->mChildren[i]);
    }
    return shows;
}

bool isAnimated(const aiNodeAnim& channel) {
    return channel.mNumPositionKeys + channel.mNumRotationKeys + channel.mNumScalingKeys > 0;
}

/// Marks what is not marked yet between two marked nodes.
void markBetween(const std::vector<CharacterNode>& nodes, std::vector<char>& marked) {
    std::vector<char> below(nodes.size(), 0); // a marked node stands above; parents come first
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].parent < 0) continue;
        const auto up = static_cast<std::size_t>(nodes[i].parent);
        below[i] = marked[up] || below[up];
    }
    for (std::size_t i = nodes.size(); i-- > 0;)
        if (marked[i] && below[i]) marked[static_cast<std::size_t>(nodes[i].parent)] = 1;
}

} // namespace

std::vector<char> findBareJoints(const SceneFile& file, const NodeOfName& nodeOfName,
                                 const Character& character) {
    const aiScene& scene = file.scene();
    const std::vector<CharacterNode>& nodes = character.nodes;
    const std::vector<char> mesh = showsMesh(scene);
    std::vector<char> joints(nodes.size(), 0);
    bool any = false;
    for (unsigned a = 0; a < scene.mNumAnimations; ++a)
        for (unsigned c = 0; c < scene.mAnimations[a]->mNumChannels; ++c) {
            const aiNodeAnim& channel = *scene.mAnimations[a]->mChannels[c];
            const auto node = nodeOfName.find(toText(channel.mNodeName));
            if (node == nodeOfName.end() || !isAnimated(channel) || mesh[node->second]) continue;
            joints[node->second] = 1;
            any = true;
        }
    if (any) {
        for (std::size_t i = 0; i < nodes.size(); ++i)
            if (nodes[i].parent >= 0 && joints[static_cast<std::size_t>(nodes[i].parent)] && !mesh[i])
                joints[i] = 1;
        markBetween(nodes, joints);
        return joints;
    }

    std::vector<char> meshBelow = mesh;
    for (std::size_t i = nodes.size(); i-- > 1;)
        if (meshBelow[i]) meshBelow[static_cast<std::size_t>(nodes[i].parent)] = 1;
    std::vector<std::size_t> children(nodes.size(), 0);
    for (const CharacterNode& node : nodes)
        if (node.parent >= 0) ++children[static_cast<std::size_t>(node.parent)];
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const int up = nodes[i].parent;
        const bool first = up < 0 || !joints[static_cast<std::size_t>(up)];
        const bool container = first && children[i] > 0 && translation(nodes[i].local) == Vec3d{};
        // What stands alone is a light, a camera or a locator.
        joints[i] = !meshBelow[i] && !container && !(first && children[i] == 0);
        any = any || joints[i];
    }
    if (!any)
        refuse(character.path,
               "it has neither a skin nor joints (nodes without a mesh that move, or that hang "
               "on each other); export the mesh together with its armature");
    return joints;
}

} // namespace talvisora::host::reading
