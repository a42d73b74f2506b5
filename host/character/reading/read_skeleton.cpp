// SPDX-License-Identifier: Apache-2.0
// Joints and their rest pose. A joint is a node that a mesh names as a bone, or that lies between two of
// those.
//
// Rest comes from the inverse bind matrices: with G = offset · world of one joint of the mesh, points rest at
// vertex · G and a joint at inverse(offset) · G. The joint is one whose rest is known already (from another
// mesh of the same skeleton), else the root-most one at its node pose; so a constant scale or turn above the
// skeleton ends up in points and rest matrices alike, and the mesh node's own transform is never used.
#include "host/character/reading/parts.h"
#include "host/character/reading/scene_convert.h"
#include "host/figures.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace talvisora::host::reading {

namespace {

double determinant3(const Matrix44d& a) {
    return dot(row(a, 0), cross(row(a, 1), row(a, 2)));
}

bool invertible(const Matrix44d& a) {
    const double volume = length(row(a, 0)) * length(row(a, 1)) * length(row(a, 2));
    return volume > 0.0 && std::fabs(determinant3(a)) > 1e-9 * volume;
}

struct Builder {
    const SceneFile& file;
    const NodeOfName& nodeOfName;
    Character& character;
    std::vector<int> jointOfNode;  ///< per node, -1 for none
    std::vector<int> depth;        ///< per node
    std::vector<char> restKnown{}; ///< per joint
    std::size_t restConflicts = 0;

    double unit() const { return character.evaluationPerFileUnit; }

    void findJoints() {
        const std::vector<CharacterNode>& nodes = character.nodes;
        depth.resize(nodes.size());
        for (std::size_t i = 0; i < nodes.size(); ++i)
            depth[i] = nodes[i].parent < 0 ? 0 : depth[static_cast<std::size_t>(nodes[i].parent)] + 1;
        std::vector<char> bound(nodes.size(), 0), inside(nodes.size(), 0);
        if (character.skinned)
            markBones(bound, inside);
        else
            inside = findBareJoints(file, nodeOfName, character);
        makeJoints(bound, inside);
    }

    /// Nodes that meshes name as bones, and those that lie between two of them.
    void markBones(std::vector<char>& bound, std::vector<char>& inside) {
        const aiScene& scene = file.scene();
        const std::vector<CharacterNode>& nodes = character.nodes;
        std::set<std::string> lost;
        for (unsigned m = 0; m < scene.mNumMeshes; ++m)
            for (unsigned b = 0; b < scene.mMeshes[m]->mNumBones; ++b) {
                const std::string name = toText(scene.mMeshes[m]->mBones[b]->mName);
                const auto node = nodeOfName.find(name);
                if (node == nodeOfName.end())
                    lost.insert(name);
                else
                    bound[node->second] = 1;
            }
        for (const std::string& name : lost)
            character.warnings.push_back("joint '" + name +
                                         "' has no node in the file; its weights go to the other joints");
        // Parents come first: a node is below a bone when its parent is one or is below one. Walking back up
        // from every bone marks what lies between; a marked node ends the walk, so each is visited once.
        std::vector<char> below(nodes.size(), 0);
        for (std::size_t i = 0; i < nodes.size(); ++i)
            if (nodes[i].parent >= 0)
                below[i] = bound[static_cast<std::size_t>(nodes[i].parent)] ||
                           below[static_cast<std::size_t>(nodes[i].parent)];
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (!bound[i] || !below[i]) continue;
            for (auto at = static_cast<std::size_t>(nodes[i].parent); !bound[at] && !inside[at];
                 at = static_cast<std::size_t>(nodes[at].parent))
                inside[at] = 1;
        }
    }

    void makeJoints(const std::vector<char>& bound, const std::vector<char>& inside) {
        const std::vector<CharacterNode>& nodes = character.nodes;
        std::set<std::string> taken;
        jointOfNode.assign(nodes.size(), -1);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (!bound[i] && !inside[i]) continue;
            Joint joint;
            joint.node = static_cast<std::uint32_t>(i);
            joint.bound = bound[i] != 0;
            const std::string base =
                nodes[i].name.empty() ? "joint" + std::to_string(character.joints.size()) : nodes[i].name;
            joint.name = base;
            for (std::size_t copy = 2; !taken.insert(joint.name).second; ++copy)
                joint.name = base + "_" + std::to_string(copy);
            for (int up = nodes[i].parent; up >= 0 && joint.parent < 0;
                 up = nodes[static_cast<std::size_t>(up)].parent)
                joint.parent = jointOfNode[static_cast<std::size_t>(up)];
            jointOfNode[i] = static_cast<int>(character.joints.size());
            character.joints.push_back(std::move(joint));
        }
        restKnown.assign(character.joints.size(), 0);
    }

    /// World of a node at rest: its loaded pose under the nearest joint above whose rest is known.
    Matrix44d nodeRest(std::uint32_t node) const {
        Matrix44d world;
        for (int at = static_cast<int>(node); at >= 0;
             at = character.nodes[static_cast<std::size_t>(at)].parent) {
            const int joint = jointOfNode[static_cast<std::size_t>(at)];
            if (joint >= 0 && restKnown[static_cast<std::size_t>(joint)])
                return world * character.joints[static_cast<std::size_t>(joint)].restWorld;
            world = world * character.nodes[static_cast<std::size_t>(at)].local;
        }
        return world;
    }

    Matrix44d offsetOf(const aiMesh& mesh, unsigned bone) const {
        const Matrix44d offset = toRowMatrix(mesh.mBones[bone]->mOffsetMatrix, unit());
        if (!invertible(offset))
            refuse(character.path, std::string("the inverse bind matrix of joint '") +
                                       mesh.mBones[bone]->mName.C_Str() +
                                       "' cannot be inverted; export the character again");
        return offset;
    }

    void setRest(int joint, const Matrix44d& world) {
        Joint& target = character.joints[static_cast<std::size_t>(joint)];
        if (!invertible(world) || !detail::allFinite(world))
            refuse(character.path, "joint '" + target.name +
                                       "' is scaled to nothing in its rest pose; export the character again");
        target.restWorld = world;
        target.inverseRest = inverse(world);
        restKnown[static_cast<std::size_t>(joint)] = 1;
    }

    /// The bone that carries the mesh into the world: one at rest already if possible, the root-most one of
    /// those.
    int leadBone(const MeshPlacement& placement) const {
        int best = -1;
        const auto rank = [&](int bone) {
            const auto joint =
                static_cast<std::size_t>(placement.jointOfBone[static_cast<std::size_t>(bone)]);
            const std::uint32_t node = character.joints[joint].node;
            return std::make_tuple(restKnown[joint] ? 0 : 1, depth[node], node);
        };
        for (int b = 0; b < static_cast<int>(placement.jointOfBone.size()); ++b)
            if (placement.jointOfBone[static_cast<std::size_t>(b)] >= 0 && (best < 0 || rank(b) < rank(best)))
                best = b;
        return best;
    }

    void placeSkinned(const aiMesh& mesh, MeshPlacement& placement) {
        const int lead = leadBone(placement);
        const int leadJoint = placement.jointOfBone[static_cast<std::size_t>(lead)];
        placement.used = true;
        placement.toWorld = offsetOf(mesh, static_cast<unsigned>(lead)) *
                            nodeRest(character.joints[static_cast<std::size_t>(leadJoint)].node);
        for (unsigned b = 0; b < mesh.mNumBones; ++b) {
            const int joint = placement.jointOfBone[b];
            if (joint < 0) continue;
            const Matrix44d rest = inverse(offsetOf(mesh, b)) * placement.toWorld;
            if (!restKnown[static_cast<std::size_t>(joint)])
                setRest(joint, rest);
            else if (!agrees(rest, character.joints[static_cast<std::size_t>(joint)].restWorld))
                ++restConflicts;
        }
    }

    static bool agrees(const Matrix44d& a, const Matrix44d& b) {
        const double size = 1.0 + length(translation(a)) + length(translation(b));
        bool same = length(translation(a) - translation(b)) <= 1e-3 * size;
        for (int r = 0; r < 3; ++r)
            same = same && length(row(a, r) - row(b, r)) <= 1e-2 * (length(row(a, r)) + length(row(b, r)));
        return same;
    }
};

} // namespace

std::vector<MeshPlacement> readSkeleton(const SceneFile& file, const NodeOfName& nodeOfName,
                                        Character& character) {
    const aiScene& scene = file.scene();
    Builder builder{file, nodeOfName, character, {}, {}};
    builder.findJoints();
    if (character.joints.empty())
        refuse(character.path, "none of its joints has a node; export the mesh together with its armature");

    std::vector<MeshPlacement> placements(scene.mNumMeshes);
    std::vector<std::pair<int, std::uint32_t>> order; // depth of the lead joint, mesh
    for (std::uint32_t m = 0; m < scene.mNumMeshes; ++m) {
        placements[m].sceneMesh = m;
        for (unsigned b = 0; character.skinned && b < scene.mMeshes[m]->mNumBones; ++b) {
            const auto node = nodeOfName.find(toText(scene.mMeshes[m]->mBones[b]->mName));
            placements[m].jointOfBone.push_back(node == nodeOfName.end() ? -1
                                                                         : builder.jointOfNode[node->second]);
        }
        const int lead = builder.leadBone(placements[m]);
        if (lead < 0) continue;
        const int joint = placements[m].jointOfBone[static_cast<std::size_t>(lead)];
        order.emplace_back(builder.depth[character.joints[static_cast<std::size_t>(joint)].node], m);
    }
    // Root-most meshes first, so that the others find their skeleton at rest.
    std::sort(order.begin(), order.end());
    for (const auto& [ignored, m] : order) builder.placeSkinned(*scene.mMeshes[m], placements[m]);
    for (std::size_t j = 0; j < character.joints.size(); ++j)
        if (!builder.restKnown[j])
            builder.setRest(static_cast<int>(j), builder.nodeRest(character.joints[j].node));
    if (builder.restConflicts)
        character.warnings.push_back("the meshes disagree about the rest pose of " +
                                     counted(builder.restConflicts, "joint") +
                                     "; the root-most mesh decides");

    // Meshes without a skin follow the joint that they hang on, once for every node that shows them.
    std::vector<std::pair<const aiNode*, std::uint32_t>> open{{scene.mRootNode, 0}};
    std::uint32_t visited = 0;
    while (!open.empty()) {
        const aiNode* node = open.back().first;
        open.pop_back();
        const std::uint32_t index = visited++; // the same order as readNodes
        for (unsigned i = 0; i < node->mNumMeshes; ++i) {
            const std::uint32_t m = node->mMeshes[i];
            if (placements[m].used) continue;
            MeshPlacement rigid;
            rigid.sceneMesh = m;
            for (int up = static_cast<int>(index); up >= 0 && rigid.rigidJoint < 0;
                 up = character.nodes[static_cast<std::size_t>(up)].parent)
                rigid.rigidJoint = builder.jointOfNode[static_cast<std::size_t>(up)];
            const std::string name = std::string("mesh '") + scene.mMeshes[m]->mName.C_Str() + "'";
            if (!character.skinned) {
                rigid.rigidJoint = -1;
                rigid.used = true;
                rigid.toWorld = builder.nodeRest(index);
                placements.push_back(std::move(rigid));
                continue;
            }
            if (rigid.rigidJoint < 0) {
                character.warnings.push_back(name + " has no skin and hangs on no joint; left out");
                continue;
            }
            character.warnings.push_back(name + " has no skin; it follows joint '" +
                                         character.joints[static_cast<std::size_t>(rigid.rigidJoint)].name +
                                         "'");
            rigid.used = true;
            rigid.toWorld = builder.nodeRest(index);
            placements.push_back(std::move(rigid));
        }
        for (unsigned i = node->mNumChildren; i-- > 0;) open.emplace_back(node->mChildren[i], 0);
    }
    return placements;
}

} // namespace talvisora::host::reading
