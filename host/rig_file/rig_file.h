// SPDX-License-Identifier: Apache-2.0
// The rig file, NAME.rig.json with per-point arrays beside it: what a rigger or a pipeline keeps, edits and
// versions. This header is the whole of it as plain data, and the two functions that read and write it. The
// format is described in docs/rig-file.md.
//
// Lengths are evaluation lengths (see RigFileUnits), matrices row-major for row vectors, points the joined
// points of the character in its order.
#pragma once

#include "host/capture/json_tree.h"
#include "host/host_error.h"
#include "maths/matrix44.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace talvisora::host {

inline constexpr const char* kRigFormat = "talvisora-rig";
inline constexpr int kRigVersion = 1;

/// Short names of the six tweak weight maps, and of the fourteen children of a tweak, in the schema's order.
inline constexpr std::size_t kRigMapCount = 6, kRigTweakCount = 14;
extern const std::array<const char*, kRigMapCount> kRigMapNames;
extern const std::array<const char*, kRigTweakCount> kRigTweakNames;
/// What a tweak's child has when the file does not name it: 0, but 0.5 for collisionPlaneTweak.
std::array<float, kRigTweakCount> rigTweakDefaults();

/// Keys that the format does not know, kept on request and written back. The values are shared, never
/// changed; numbers are kept as doubles.
using KeptKeys = std::map<std::string, std::shared_ptr<const JsonValue>>;

/// The unit of every length in the file, and how it came about.
struct RigFileUnits {
    std::string length = "cm";         ///< "cm", or "file": the character's own numbers
    std::string fileUnit;              ///< what --units said: "m", "cm", "mm", "keep"; empty: the metadata
    double lengthsPerFileUnit = 100.0; ///< a length of the character file times this is a length here
    KeptKeys kept;
};

/// The mesh that the rig was made for.
struct RigFileMesh {
    std::string character;            ///< path: absolute, or relative to the rig file's folder; '/' separates
    std::vector<std::string> objects; ///< names of the meshes, in the character's order
    std::size_t points = 0;           ///< joined points; every per-point array has that many values
    std::string topology;             ///< 16 hexadecimal digits: topologyHash() of the character
    std::string restPositions;        ///< 16 hexadecimal digits: restPositionsHash() of the character
    KeptKeys kept;
};

/// One record of the hierarchy. A parent stands before its children.
struct RigFileRecord {
    std::string name;   ///< unique
    std::string parent; ///< empty for a root
    bool flag = false;  ///< true: only the parent's rotation counts
    Matrix44d rest;     ///< local, against the parent
    std::string joint;  ///< the character's joint that moves it; empty: a constant offset under its parent
    KeptKeys kept;
};

/// The amounts at one centre joint: joint `centre` + 1 of the block's list.
struct RigFileTweak {
    int centre = 0;
    std::array<float, kRigTweakCount> amounts = rigTweakDefaults(); ///< in the order of kRigTweakNames
    KeptKeys kept;
};

/// A control (a record's name) that carries the two in-between control points of a segment.
struct RigFileBend {
    int segment = 0; ///< from joint `segment` to the next one
    std::string control;
    KeptKeys kept;
};

struct RigFileBlock {
    std::string name; ///< unique
    float env = 1.0f; ///< in [0, 1]
    bool simple = false;
    std::vector<std::string> joints; ///< record names in chain order
    std::vector<RigFileBend> bends;
    std::vector<RigFileTweak> tweaks; ///< no centre twice
    std::vector<float> weights;       ///< "blockWeights": one per point, in [0, 1]
    std::vector<float> params;        ///< one per point, in [0, 1]
    KeptKeys kept;
    std::map<std::string, KeptKeys> keptInArrays; ///< of the objects under "blockWeights" and "params"
};

struct RigFile {
    std::string path; ///< where it was read from; for errors, and for relative paths
    RigFileUnits units;
    std::string upAxis = "y"; ///< "y" or "z"
    RigFileMesh mesh;
    std::vector<RigFileRecord> hierarchy;
    std::vector<RigFileBlock> blocks; ///< in the order in which they act
    /// By the order of kRigMapNames: one value in [0, 1] per point, or empty: 1 everywhere.
    std::array<std::vector<float>, kRigMapCount> weightMaps;
    KeptKeys kept, keptInMaps;
    std::map<std::string, KeptKeys> keptInArrays; ///< of the objects under the weight maps' names

    /// Index of the block of that name. HostError kUsage that lists the names when there is none.
    std::size_t blockIndex(const std::string& name) const;
    /// Where the character lies, seen from here: mesh.character resolved against the rig file's folder.
    std::string characterPath() const;
    /// `given`, or else characterPath(). HostError kInput when that one is not there: `option` is what the
    /// user can name another one with.
    std::string characterOr(const std::string& given, const char* option = "--character") const;
};

/// Brings a document from one version to the next; the version key itself is set by the caller.
using RigConverter = std::function<void(JsonValue::Object& document)>;

/// The versions that a reader takes: `present`, and every one from which a row of converters leads to it.
/// `from[v]` makes a document of version v one of version v + 1.
struct RigVersions {
    int present = kRigVersion;
    std::map<int, RigConverter> from;
};

/// The converters of this version. Version 1 is the first: there is none yet.
const RigVersions& rigVersions();

/// Upgrades a document in place to `versions.present`. HostError kInput, with the pointer /version: newer
/// than that, or no converter leads there.
void upgradeRigDocument(JsonValue::Object& document, const RigVersions& versions);

struct RigReadOptions {
    bool keepUnknown = false;              ///< keep keys that the format does not know; else an error
    const RigVersions* versions = nullptr; ///< null: rigVersions()
};

/// Reads a rig file and its arrays. Everything is checked: types, unique names, parents, references, sizes,
/// ranges, finite numbers; what comes back can be used without further tests. It is not compared with a
/// character, see fitRig(). HostError kInput: "PATH: POINTER: what is wrong".
RigFile readRigFile(const std::string& path, const RigReadOptions& options = {});

/// Refuses a path that does not end in .json: HostError kUsage. For options, before the work starts.
void checkRigPath(const std::string& path);

struct RigWriteOptions {
    std::size_t inlineValues = 256; ///< longer lists of numbers go into an .npy file
};

/// Writes the rig to `path` (which must end in .json) and its large arrays into the folder of the same name
/// that ends in .arrays. All or nothing: arrays first, under names that depend on their content so that none
/// that the present file uses is touched, the JSON last; then arrays that nothing uses any more are removed.
/// Until the JSON is renamed the old rig is whole. HostError kOutput; kInput when `rig` itself is not in
/// order (a size, a name): nothing is written then. mesh.character is written as it stands.
void writeRigFile(const std::string& path, const RigFile& rig, const RigWriteOptions& options = {});

} // namespace talvisora::host
