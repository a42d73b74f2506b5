// SPDX-License-Identifier: Apache-2.0
// One run of `grhost bind`: a character in, the rig file out that `grhost deform` would make up by itself, or
// one over chains that somebody chose.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/module_loader.h"
#include "host/rig_file/rig_file.h"

#include <functional>
#include <string>
#include <vector>

namespace talvisora::host {

enum class BindWeights {
    kSkin,     ///< from the file's own skin weights, layered
    kDistance, ///< from the mesh alone: the module's resetWeights per block, then resetParams
};

struct BindJob {
    std::string character; ///< path
    std::string output;    ///< path of the rig file
    BindWeights weights = BindWeights::kSkin;
    int smooth = 0; ///< passes of the module's smoothing over the weights
    AutoBlockOptions blocks;
    FileUnit units = FileUnit::kFromFile;
    std::string up = "y"; ///< the file's upward axis: "y" or "z"
    std::string module; ///< path; empty: the one beside the executable. Used for distance and smoothing only
    std::string variant;
    int threads = 0;
    bool quiet = false;
};

/// What the module's commands do to a rig that is bound so far: given when weights by distance or smoothing
/// are asked for, after the module was seen to offer resetWeights. Changes weights and params of the rig.
using ModuleBinder =
    std::function<void(const Module& module, const Character& character, const BindJob& job, RigFile& rig)>;

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
};

/// Reads, binds, writes. Throws HostError: kUsage (options; a module that does not offer resetWeights),
/// kInput (character, module), kOutput. Whatever is thrown, an old rig file stays as it was.
BindReport runBindJob(const BindJob& job, const ModuleBinder& throughModule = {});

} // namespace talvisora::host
