// SPDX-License-Identifier: Apache-2.0
// One run of `grhost bind`: a character in, the rig file out that `grhost deform` would make up by itself, or
// one over chains that somebody chose.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/reset/reset_job.h"
#include "host/rig_file/rig_file.h"
#include "host/rig_picture/rig_picture.h"

#include <string>
#include <vector>

namespace talvisora::host {

enum class BindWeights {
    kSkin,     ///< from the file's own skin weights, layered
    kDistance, ///< from the mesh alone: the module's resetWeights per block, then resetParams
};

/// Weights from the skin are smooth already; those from distance are 0 or 1 before.
inline constexpr int kAutoSmooth = -1, kDistanceSmooth = 5;

struct BindJob {
    std::string character; ///< path
    std::string output;    ///< path of the rig file
    BindWeights weights = BindWeights::kSkin;
    double maxDistanceCoeff = kMaxDistanceCoeff; ///< how far a block reaches, in thicknesses; for kDistance
    int smooth = kAutoSmooth; ///< passes of smoothing over the weights; kAutoSmooth: as suits the weights
    AutoBlockOptions blocks;
    FileUnit units = FileUnit::kFromFile;
    std::string up = "y"; ///< the file's upward axis: "y" or "z"
    std::string module;   ///< path; empty: the one beside the executable. Used for kDistance only
    std::string variant;
    int threads = 0;
    bool quiet = false;
    RigPictureOptions picture;
};

/// One line of the table of blocks.
struct BlockLine {
    std::string name, firstJoint, lastJoint; ///< joints of the character that carry the chain
    std::size_t records = 0;
    bool end = false; ///< the last record is an end that the character does not have
    bool simple = false;
    std::size_t points = 0;  ///< points that the block acts on
    double meanWeight = 0.0; ///< over those points
};

/// The table of any rig.
std::vector<BlockLine> blockLines(const RigFile& rig);
/// The same for people, columns aligned, a line end after each line.
std::string blockTable(const std::vector<BlockLine>& lines);

struct BindReport {
    std::string character, output;
    std::size_t points = 0, leftBehind = 0; ///< leftBehind: points of which no block takes a thousandth part
    double blocksPerPoint = 0.0;
    std::vector<BlockLine> blocks;
    std::vector<std::string> notes;
    std::vector<std::string> pictures; ///< paths of what was drawn
};

/// Reads, binds, writes. Throws HostError: kUsage (options), kInput (character; a module that does not offer
/// the resets), kModuleFailed, kOutput. Whatever is thrown, an old rig file stays as it was.
BindReport runBindJob(const BindJob& job);

} // namespace talvisora::host
