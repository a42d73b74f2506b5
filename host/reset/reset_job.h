// SPDX-License-Identifier: Apache-2.0
// One run of `grhost params` or `grhost weights`: the module's own reset commands on the blocks of a rig
// file.
#pragma once

#include "host/reset/reset_stage.h"
#include "host/rig_picture/rig_picture.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// How far a block reaches by itself, in thicknesses of the mesh round its curve.
inline constexpr double kMaxDistanceCoeff = 2.0;

struct ResetJob {
    ResetKind kind = ResetKind::kParams;
    std::string rig;                 ///< path
    std::string output;              ///< path; empty: the rig file itself
    std::string character;           ///< path; empty: the one that the rig file names
    bool keepUnknown = false;        ///< take a rig file with keys that are not known
    std::vector<std::string> blocks; ///< names, or numbers from 0; empty: all
    std::string select;              ///< points, "0-99,120"; empty: all
    int smooth = 0;
    std::string base; ///< of kWeights only: the block, name or number, that takes what the others leave of a
                      ///< selected point; empty: none
    double maxDistanceCoeff = kMaxDistanceCoeff; ///< of kWeights only
    std::string module;                          ///< path; empty: the one beside the executable
    std::string variant;
    int threads = 0;
    RigPictureOptions picture; ///< of all blocks, after the command
};

/// What became of one block: over all points, after the command.
struct ResetLine {
    std::string block;
    std::size_t changed = 0; ///< points whose value is another one now
    double least = 0.0, mean = 0.0, most = 0.0;
};

struct ResetReport {
    std::string rig, character, output;
    std::size_t points = 0, selected = 0;
    std::size_t leftBehind = 0;    ///< points of which the blocks leave more than a thousandth behind
    std::size_t reset = 0;         ///< blocks that the command ran on
    std::vector<ResetLine> blocks; ///< these, and those that the base changed; in the rig's order
    std::vector<std::string> notes;
    std::vector<std::string> pictures; ///< paths of what was drawn
};

/// Throws HostError: kUsage (options, an unknown block, a point past the end), kInput (rig, character,
/// module), kModuleFailed, kOutput. Whatever is thrown, the rig has not been written.
ResetReport runResetJob(const ResetJob& job);

} // namespace talvisora::host
