// SPDX-License-Identifier: Apache-2.0
// A skinned, animated character as the host works with it: what the file holds, checked, in evaluation units.
// Vertices stay as the file splits them (for writing); the deformation runs on the joined points.
//
// Spaces and units: world space of the file, lengths times `evaluationPerFileUnit` (centimetres, unless the
// caller asked to keep the file's unit). Row vectors, row-major matrices, translation in elements 12 to 14.
#pragma once

#include "host/host_error.h"
#include "maths/quaternion.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

using Triangle = std::array<std::uint32_t, 3>;

/// What `--units` can say about the lengths in a file.
enum class FileUnit {
    kFromFile,   ///< the file's metadata decides; metres where it says nothing
    kMetre,      ///< the three units hold over the file's metadata
    kCentimetre, //
    kMillimetre, //
    kKeep,       ///< no conversion: the evaluation runs in the file's numbers
};

/// "m", "cm", "mm", "keep" (empty: kFromFile); anything else is a HostError kUsage.
FileUnit parseFileUnit(const std::string& text);

/// Whether the file must say which joint moves which point.
enum class SkinUse {
    kRequired, ///< a file without a skin, or with an empty one, is refused
    kOptional, ///< the points of such a file have no influences: a rig file, or the mesh itself, says the
               ///< rest
};

struct ReadOptions {
    FileUnit units = FileUnit::kFromFile;
    SkinUse skin = SkinUse::kRequired;
};

/// One mesh as the file splits it. All lists over vertices have `positions.size()` elements or are empty.
struct CharacterMesh {
    std::string name;
    std::vector<Vec3d> positions;             ///< rest, evaluation units, world
    std::vector<Vec3d> normals;               ///< unit length, world; empty when the file has none
    std::vector<std::array<double, 2>> uvs;   ///< v upwards; empty when the file has none
    std::vector<std::uint32_t> pointOfVertex; ///< index into Character::points
    std::vector<Triangle> triangles;          ///< indices into this mesh's vertices
};

/// One weight of a point: an index into Character::joints and a share in (0, 1].
struct Influence {
    std::uint32_t joint = 0;
    double weight = 0.0;
};

/// One joint that moves points, or that lies between two that do. Parents stand before their children.
struct Joint {
    std::string name;       ///< unique in the character, never empty, stable from run to run
    int parent = -1;        ///< index of the nearest joint above, -1 for a root
    std::uint32_t node = 0; ///< index into Character::nodes
    bool bound = true;      ///< has an inverse bind matrix; false: only lies between two that have one
    Matrix44d restWorld;    ///< from the inverse bind matrices, never from the node pose
    Matrix44d inverseRest;  ///< of restWorld
};

/// One node of the file's tree, in depth-first order; parents stand before their children.
struct CharacterNode {
    std::string name; ///< as in the file; may be empty or occur twice
    int parent = -1;
    Matrix44d local; ///< pose as loaded
};

template <typename Value>
struct Key {
    double seconds = 0.0;
    Value value;
};

/// The keys of one node in one clip, times ascending. An empty list leaves that component at the node's pose.
struct Channel {
    std::uint32_t node = 0;
    std::vector<Key<Vec3d>> positions;
    std::vector<Key<Quatd>> rotations;
    std::vector<Key<Vec3d>> scales;
};

struct Clip {
    std::string name; ///< unique, never empty: nameless ones are clip1, clip2, …
    double seconds = 0.0;
    std::vector<Channel> channels; ///< at most one per node
};

/// How the file's weights summed up before they were normalised, counted over vertices.
struct WeightReport {
    std::size_t notOne = 0;     ///< vertices whose weights differ from a sum of 1 by more than 0.001
    std::size_t unweighted = 0; ///< vertices that no joint moves; they stay where they are
    double smallestSum = 1.0;   ///< over vertices that have weights
    double largestSum = 1.0;
};

struct Character {
    std::string path;
    double metresPerFileUnit = 1.0;
    double evaluationPerFileUnit = 100.0; ///< file lengths times this are evaluation lengths; 1 for kKeep
    bool unitFromMetadata = false;
    bool skinned = true; ///< false: joints are found among the nodes, rest is the pose as loaded

    std::vector<CharacterNode> nodes;
    std::vector<Joint> joints;
    std::vector<Clip> clips;
    std::vector<CharacterMesh> meshes;

    std::vector<Vec3d> points;                 ///< joined, rest, world
    std::vector<std::uint32_t> influenceStart; ///< points.size() + 1 offsets into influences
    std::vector<Influence> influences; ///< of point p: [influenceStart[p], influenceStart[p + 1]), sum 1

    WeightReport weights;
    std::vector<std::string> warnings; ///< one line each, for people

    std::size_t vertexCount() const;
    /// All triangles as indices into `points`, mesh after mesh; those that joining made degenerate are left
    /// out.
    std::vector<Triangle> pointTriangles() const;
};

/// Reads a glTF 2.0 (.gltf, .glb), FBX, COLLADA (.dae) or X file. Everything that the file claims is checked
/// (indices, finite numbers, sizes, the node tree), so the result can be used without further tests.
/// Throws HostError kInput with one line: file missing, not a file, unreadable, of another format, without a
/// skin where one is required, without joints, or broken. Threads: may run at the same time as other calls.
Character readCharacter(const std::string& path, const ReadOptions& options = {});

} // namespace talvisora::host
