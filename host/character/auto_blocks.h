// SPDX-License-Identifier: Apache-2.0
// From a character's joints to the deformer's blocks: chains of joints, each with frames of its own, block
// weights seeded from the file's skin weights and curve parameters on the chain's rest curve.
//
// Why it is more than "one block per chain": the deformer drops the bend of a chain's last joint (so every
// chain whose last joint moves points gets a virtual end), takes the x axis as the bone (so every chain
// brings its own frames as constant offsets under the real joints), and lets blocks act one over the other
// (so weights are layered to give every chain its share again).
#pragma once

#include "host/character/clip.h"

namespace talvisora::host {

/// One record of the shared hierarchy: as the deformer looks it up, in plain data.
struct RigRecord {
    std::string name;
    std::string parent; ///< empty for a root
    bool flag = false;  ///< always false here: the parent's whole matrix is used
    Matrix44d local;    ///< current, against the parent record
    Matrix44d restLocal;
    int joint = -1; ///< index into Character::joints of the joint that moves it, -1: keeps its rest local
};

/// A record that carries the two in-between control points of a segment.
struct RigBend {
    int segment = 0; ///< from record `segment` of the block to the next one
    std::string control;
};

/// The fourteen amounts at one centre joint, in the order of the schema.
struct RigTweak {
    int centre = 0; ///< record `centre` + 1 of the block
    std::array<float, 14> amounts{};
};

/// One block: one entry of the deformer's block attribute.
struct RigBlock {
    std::string name;
    std::vector<std::string> joints; ///< record names in chain order: 2 to 10, up to 30 when simple
    bool simple = false;
    std::vector<float> weights; ///< one per point: the layered block weight in [0, 1]
    std::vector<float> params;  ///< one per point in [0, 1], whatever its weight
    std::vector<std::uint32_t>
        ownedJoints;              ///< indices into Character::joints whose weights this block carries
    bool virtualEnd = false;      ///< the last record is an end that the file does not have
    float env = 1.0f;             ///< of the whole block, in [0, 1]
    std::vector<RigBend> bends;   ///< none in a rig that the host makes up
    std::vector<RigTweak> tweaks; ///< none in a rig that the host makes up
};

enum class ParamSearch {
    kWeightedBone, ///< nearest sample within each weighting joint's bone, mean by weight
    kNearest,      ///< plain nearest of all samples
};

struct AutoBlockOptions {
    ParamSearch params = ParamSearch::kWeightedBone;
    bool simple =
        false;          ///< one control point per joint where a chain is long enough, no cut before 30 joints
    std::string chains; ///< chosen by hand, "spine=Pelvis..Neck,tail=Tail01..Tail06"; empty: all by itself
};

struct AutoRig {
    std::vector<RigRecord>
        records; ///< made up by the host: first the joints (parallel to Character::joints), then frames
    std::vector<RigBlock> blocks; ///< in depth-first order of the joints
    std::size_t jointCount = 0;   ///< how many records are real joints
    /// The six tweak weight maps in the order of the schema: one value per point, or empty: 1 everywhere.
    std::array<std::vector<float>, 6> weightMaps;
    std::vector<std::string> notes; ///< what was folded, dropped, cut; one line each, for people

    /// Mean number of blocks that act on a point that any block acts on.
    double blocksPerPoint() const;
    /// Per point the share that no block takes: the product of (1 - weight) over the blocks. 0 when all is
    /// well, 1 for points without weights.
    std::vector<double> shareLeftBehind() const;
};

/// Builds the rig in its rest pose (every record's local is its rest local).
/// Throws HostError kInput when no joint moves a point, kUsage when options.chains cannot be followed. Uses
/// the clips to see which joints never turn.
AutoRig buildAutoRig(const Character& character, const AutoBlockOptions& options = {});

/// Writes the pose into the records' current local matrices. The chains' own frames keep their rest local, so
/// they follow their joints rigidly. The rig must come from the same character as the pose.
void applyPose(AutoRig& rig, const Pose& pose);

} // namespace talvisora::host
