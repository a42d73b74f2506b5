// SPDX-License-Identifier: Apache-2.0
// The importer validates little, and its own validation step changes data: everything that the reading stages
// index, divide by or multiply with is tested here, once.
#include "host/character/reading/parts.h"

#include <assimp/scene.h>

#include <cmath>
#include <unordered_set>

namespace talvisora::host::reading {

namespace {

constexpr std::size_t kMaxNodes = 1000000;
constexpr std::size_t kMaxVertices = 200000000;

/// Numbers past this are as good as infinite: their squares and products would be.
constexpr float kLargest = 1e15f;

bool usable(float v) {
    return std::isfinite(v) && std::fabs(v) < kLargest;
}
bool usable(const aiVector3D& v) {
    return usable(v.x) && usable(v.y) && usable(v.z);
}
bool usable(const aiQuaternion& q) {
    return usable(q.x) && usable(q.y) && usable(q.z) && usable(q.w);
}

bool usable(const aiMatrix4x4& m) {
    for (unsigned r = 0; r < 4; ++r)
        for (unsigned c = 0; c < 4; ++c)
            if (!usable(m[r][c])) return false;
    return true;
}

struct Checker {
    const std::string& path;
    const aiScene& scene;

    [[noreturn]] void broken(const std::string& what, const std::string& fault) const {
        refuse(path, what + " " + fault + "; export the character again");
    }

    void nodes() const {
        std::unordered_set<const aiNode*> seen;
        std::vector<const aiNode*> open{scene.mRootNode};
        while (!open.empty()) {
            const aiNode* node = open.back();
            open.pop_back();
            if (!node || !seen.insert(node).second)
                broken("its node tree", "is broken (a node occurs twice)");
            if (seen.size() > kMaxNodes) broken("its node tree", "has more than a million nodes");
            const std::string what = std::string("node '") + node->mName.C_Str() + "'";
            if (!usable(node->mTransformation)) broken(what, "has a transform that is not finite");
            for (unsigned i = 0; i < node->mNumMeshes; ++i)
                if (node->mMeshes[i] >= scene.mNumMeshes) broken(what, "names a mesh that does not exist");
            for (unsigned i = 0; i < node->mNumChildren; ++i) open.push_back(node->mChildren[i]);
        }
    }

    void bones(const aiMesh& mesh, const std::string& meshName) const {
        for (unsigned b = 0; b < mesh.mNumBones; ++b) {
            if (!mesh.mBones || !mesh.mBones[b]) broken(meshName, "has a joint without data");
            const aiBone& bone = *mesh.mBones[b];
            const std::string what = std::string("joint '") + bone.mName.C_Str() + "' of " + meshName;
            if (!usable(bone.mOffsetMatrix)) broken(what, "has an inverse bind matrix that is not finite");
            if (bone.mNumWeights && !bone.mWeights) broken(what, "has no weights where it says so");
            for (unsigned w = 0; w < bone.mNumWeights; ++w) {
                if (bone.mWeights[w].mVertexId >= mesh.mNumVertices)
                    broken(what, "weighs on a vertex that does not exist");
                if (!usable(bone.mWeights[w].mWeight)) broken(what, "has a weight that is not finite");
            }
        }
    }

    void meshes() const {
        std::size_t total = 0;
        for (unsigned m = 0; m < scene.mNumMeshes; ++m) {
            if (!scene.mMeshes || !scene.mMeshes[m]) broken("mesh " + std::to_string(m), "has no data");
            const aiMesh& mesh = *scene.mMeshes[m];
            const std::string what = std::string("mesh '") + mesh.mName.C_Str() + "'";
            if (mesh.mNumVertices && !mesh.mVertices) broken(what, "has no positions");
            if ((total += mesh.mNumVertices) > kMaxVertices)
                broken(what, "takes the file past 200 million vertices");
            for (unsigned v = 0; v < mesh.mNumVertices; ++v)
                if (!usable(mesh.mVertices[v]))
                    broken(what,
                           "has a position that is not a finite number (vertex " + std::to_string(v) + ")");
            for (unsigned f = 0; f < mesh.mNumFaces; ++f)
                for (unsigned i = 0; i < mesh.mFaces[f].mNumIndices; ++i)
                    if (mesh.mFaces[f].mIndices[i] >= mesh.mNumVertices)
                        broken(what, "has a face with a vertex that does not exist");
            bones(mesh, what);
        }
    }

    void animations() const {
        for (unsigned a = 0; a < scene.mNumAnimations; ++a) {
            if (!scene.mAnimations || !scene.mAnimations[a])
                broken("animation " + std::to_string(a), "has no data");
            const aiAnimation& animation = *scene.mAnimations[a];
            const std::string what = std::string("animation '") + animation.mName.C_Str() + "'";
            if (!std::isfinite(animation.mDuration) || !std::isfinite(animation.mTicksPerSecond))
                broken(what, "has a length that is not finite");
            for (unsigned c = 0; c < animation.mNumChannels; ++c) {
                if (!animation.mChannels || !animation.mChannels[c])
                    broken(what, "has a channel without data");
                const aiNodeAnim& channel = *animation.mChannels[c];
                bool good = (channel.mNumPositionKeys == 0 || channel.mPositionKeys) &&
                            (channel.mNumRotationKeys == 0 || channel.mRotationKeys) &&
                            (channel.mNumScalingKeys == 0 || channel.mScalingKeys);
                for (unsigned k = 0; good && k < channel.mNumPositionKeys; ++k)
                    good = std::isfinite(channel.mPositionKeys[k].mTime) &&
                           usable(channel.mPositionKeys[k].mValue);
                for (unsigned k = 0; good && k < channel.mNumRotationKeys; ++k)
                    good = std::isfinite(channel.mRotationKeys[k].mTime) &&
                           usable(channel.mRotationKeys[k].mValue);
                for (unsigned k = 0; good && k < channel.mNumScalingKeys; ++k)
                    good = std::isfinite(channel.mScalingKeys[k].mTime) &&
                           usable(channel.mScalingKeys[k].mValue);
                if (!good)
                    broken(what, std::string("has keys of '") + channel.mNodeName.C_Str() +
                                     "' that are not finite numbers");
            }
        }
    }
};

/// Some importers show the nodes of a file without meshes as a mesh of their own, whatever they are told.
bool isMadeUp(const aiScene& scene, const aiMesh& mesh) {
    if (scene.mNumMeshes != 1 || mesh.mMaterialIndex >= scene.mNumMaterials || !scene.mMaterials ||
        !scene.mMaterials[mesh.mMaterialIndex])
        return false;
    return std::string(scene.mMaterials[mesh.mMaterialIndex]->GetName().C_Str()) == "SkeletonMaterial";
}

} // namespace

void checkScene(const std::string& path, const aiScene& scene) {
    const Checker checker{path, scene};
    checker.nodes();
    checker.meshes();
    checker.animations();
}

bool hasSkin(const aiScene& scene) {
    bool anyBone = false;
    for (unsigned m = 0; m < scene.mNumMeshes; ++m)
        anyBone = anyBone || (scene.mMeshes[m]->mNumBones > 0 && !isMadeUp(scene, *scene.mMeshes[m]));
    return anyBone;
}

} // namespace talvisora::host::reading
