// SPDX-License-Identifier: Apache-2.0
// The stages of reading a character, in the order they run: the file through assimp, checks of everything
// that is used later, nodes, skeleton, points, clips. Private to host/character.
//
// All lengths are multiplied by Character::evaluationPerFileUnit as they are taken over from the scene: node
// and offset translations, vertices, position keys. Matrices are transposed (assimp works with column
// vectors).
#pragma once

#include "host/character/character.h"

#include <map>
#include <memory>

struct aiScene;
struct aiNode;

namespace talvisora::host::reading {

/// An imported file and what its format says about lengths. The scene lives as long as this object.
class SceneFile {
public:
    /// Throws HostError kInput with one line that names the file.
    explicit SceneFile(const std::string& path);
    ~SceneFile();
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;

    const aiScene& scene() const;

    double metresPerUnit = 1.0;
    bool unitFromMetadata = false;
    /// A factor that the importer has put into the root node for the file's unit; divided out again by
    /// readNodes.
    double rootScale = 1.0;
    std::vector<std::string> warnings;

private:
    struct Held;
    std::unique_ptr<Held> held_;
};

/// Refuses what cannot be used: missing lists, indices out of range, numbers that are not finite, a node tree
/// with a cycle, sizes past what 32-bit indices hold. Throws HostError kInput.
void checkScene(const std::string& path, const aiScene& scene);

/// Whether a mesh of a checked scene names a joint.
bool hasSkin(const aiScene& scene);

/// Fills nodes. The map answers the first node (depth first) of a name.
using NodeOfName = std::map<std::string, std::uint32_t>;
NodeOfName readNodes(const SceneFile& file, Character& character);

/// Which joint a bone of a mesh is, and how its mesh space lies in the world at rest.
struct MeshPlacement {
    bool used = false;
    std::vector<int> jointOfBone; ///< parallel to the mesh's bones; -1 for a bone without a node
    int rigidJoint = -1;          ///< a mesh without bones that hangs on this joint
    Matrix44d toWorld;            ///< mesh space to world at rest
    std::uint32_t sceneMesh = 0;
};

/// One flag per node: whether it is a joint of a file without a skin. A joint holds no mesh. Where joints are
/// animated, these are, with all between two of them and all below them; else every node that holds no mesh
/// and has none below it, but for a container at the origin that they hang on. HostError kInput when there
/// are none.
std::vector<char> findBareJoints(const SceneFile& file, const NodeOfName& nodeOfName,
                                 const Character& character);

/// Fills joints with their rest matrices; one placement per mesh to read, in a file without a skin one per
/// node that shows a mesh.
std::vector<MeshPlacement> readSkeleton(const SceneFile& file, const NodeOfName& nodeOfName,
                                        Character& character);

/// Fills meshes, points, influences and the weight report.
void readSkin(const SceneFile& file, const std::vector<MeshPlacement>& placements, Character& character);

/// Fills clips.
void readClips(const SceneFile& file, const NodeOfName& nodeOfName, Character& character);

/// One line for a HostError: "cannot use 'PATH': TEXT".
[[noreturn]] void refuse(const std::string& path, const std::string& text);

} // namespace talvisora::host::reading
