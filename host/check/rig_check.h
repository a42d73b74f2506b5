// SPDX-License-Identifier: Apache-2.0
// What can be wrong with a rig although every value in it is allowed: points that no block takes, weights
// that never act, parameters that tear, chains that the module refuses. Pure functions over the rig in its
// rest pose; nothing here loads a module or reads a file.
#pragma once

#include "host/character/auto_blocks.h"

#include <string>
#include <vector>

namespace talvisora::host {

enum class FindingKind {
    kChain,      ///< a block that the module refuses; no evaluation is possible
    kFloating,   ///< points whose block weights do not sum to 1
    kLeftBehind, ///< points whose weights sum to 1, but of which no block takes more than a thousandth part
    kNotFinite,  ///< points that an evaluation at rest puts at no place
    kParamJump,  ///< points at which a block's parameter jumps along an edge of the mesh
    kCovered,    ///< points at which a block's weight never acts, because later blocks cover it
};

/// "chain", "floating", "leftBehind", "notFinite", "paramJump", "covered".
const char* findingName(FindingKind kind);

struct Finding {
    FindingKind kind = FindingKind::kChain;
    std::string block;                 ///< name; empty: not about one block
    std::string text;                  ///< what is wrong with it, for people, without the points
    std::vector<std::uint32_t> points; ///< ascending, all of them; empty for kChain
};

/// A point is left behind when more than this share of it is: the product of (1 - weight) over the blocks.
inline constexpr double kLeftBehindShare = 1e-3;
/// Weights below this are nothing to speak of: they count neither as covered nor in jumps of parameters.
inline constexpr double kWeightOfNote = 1e-3;
/// A weight never acts when the later blocks leave at most this share of it, their envelopes counted.
inline constexpr double kCoveredShare = 1e-6;
/// A block moves both ends of an edge noticeably from this share on; only then a jump can be seen.
inline constexpr double kJumpShare = 0.1;
/// A jump: over one edge the place on the curve moves by more than this many times the edge's length (inside
/// of bends and on coarse meshes healthy rigs reach 6) …
inline constexpr double kJumpStretch = 8.0;
/// … and by more than this part of the whole curve.
inline constexpr double kJumpPart = 0.25;

/// Fewer than two joints, or more than 10 (30 when simple and of four joints or more); a rig without blocks.
std::vector<Finding> checkChains(const AutoRig& rig);

/// Points left behind whose weights sum to 1, that is, which are not in `floating` (ascending).
std::vector<Finding> checkLeftBehind(const AutoRig& rig, const std::vector<std::uint32_t>& floating);

/// One finding per block with covered weights.
std::vector<Finding> checkCovered(const AutoRig& rig);

/// One finding per block with jumps; its points are both ends of every such edge. A parameter's place on the
/// curve is taken as parameter times the length of the chain at rest. Edges are those of the triangles.
std::vector<Finding> checkParamJumps(const Character& character, const AutoRig& rig);

/// Points of `deformed` that are not finite; none or one finding.
std::vector<Finding> checkFinite(const std::vector<Vec3d>& deformed);

/// Per block and point the share of the point that the block moves in the end: its weight times what later
/// blocks leave of it, envelopes counted.
std::vector<std::vector<double>> actingShares(const AutoRig& rig);

} // namespace talvisora::host
