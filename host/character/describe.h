// SPDX-License-Identifier: Apache-2.0
// What a character holds, as plain data and as lines of text: joints, chains, clips, points, weight sums.
#pragma once

#include "host/character/auto_blocks.h"

namespace talvisora::host {

struct ClipDescription {
    std::string name;
    double seconds = 0.0;
    int frames = 1; ///< at the frame rate asked for
};

struct ChainDescription {
    std::string name;
    std::vector<std::string> joints; ///< names of the real joints, in chain order
    bool virtualEnd = false;
    bool simple = false;
    std::size_t points = 0; ///< points that the block acts on
};

struct CharacterDescription {
    std::string path;
    double metresPerFileUnit = 1.0;
    bool unitFromMetadata = false;
    double evaluationPerFileUnit = 100.0;
    double size = 0.0; ///< diagonal of the rest bounding box, evaluation units
    std::size_t meshes = 0, vertices = 0, points = 0, triangles = 0;
    std::vector<std::string> joints; ///< names, parents before children
    std::vector<int> jointParents;   ///< parallel to joints, -1 for roots
    std::vector<ChainDescription> chains;
    std::vector<ClipDescription> clips;
    WeightReport weights;
    double blocksPerPoint = 0.0;
    std::vector<std::string> warnings; ///< of the file and of the rig
};

CharacterDescription describeCharacter(const Character& character, const AutoRig& rig, double fps);

/// The same for people, one line per thing, without line ends.
std::vector<std::string> describeLines(const CharacterDescription& description, double fps);

} // namespace talvisora::host
