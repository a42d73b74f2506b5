// SPDX-License-Identifier: Apache-2.0
// Gathers what a character and its rig say about themselves, and lays it out as lines: units, mesh, weights,
// joints as an indented tree, chains, clips, and what was noticed on the way.
#include "host/character/describe.h"

#include "host/box.h"
#include "host/figures.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace talvisora::host {

namespace {

ChainDescription describeChain(const std::map<std::string, std::string>& parents, const RigBlock& block) {
    ChainDescription chain;
    chain.name = block.name;
    chain.virtualEnd = block.virtualEnd;
    chain.simple = block.simple;
    // A chain's own records hang on the real joints that they follow; the virtual end is no joint.
    for (std::size_t r = 0; r + (block.virtualEnd ? 1 : 0) < block.joints.size(); ++r)
        chain.joints.push_back(parents.at(block.joints[r]));
    for (float weight : block.weights) chain.points += weight > 0.0f ? 1 : 0;
    return chain;
}

} // namespace

CharacterDescription describeCharacter(const Character& character, const AutoRig& rig, double fps) {
    CharacterDescription d;
    d.path = character.path;
    d.metresPerFileUnit = character.metresPerFileUnit;
    d.unitFromMetadata = character.unitFromMetadata;
    d.evaluationPerFileUnit = character.evaluationPerFileUnit;
    d.size = boxRound(character.points).diagonal();
    d.meshes = character.meshes.size();
    d.vertices = character.vertexCount();
    d.points = character.points.size();
    for (const CharacterMesh& mesh : character.meshes) d.triangles += mesh.triangles.size();
    for (const Joint& joint : character.joints) {
        d.joints.push_back(joint.name);
        d.jointParents.push_back(joint.parent);
    }
    std::map<std::string, std::string> parents;
    for (const RigRecord& record : rig.records) parents[record.name] = record.parent;
    for (const RigBlock& block : rig.blocks) d.chains.push_back(describeChain(parents, block));
    for (const Clip& clip : character.clips)
        d.clips.push_back({clip.name, clip.seconds, lastFrame(clip, fps)});
    d.weights = character.weights;
    d.blocksPerPoint = rig.blocksPerPoint();
    d.warnings = character.warnings;
    d.warnings.insert(d.warnings.end(), rig.notes.begin(), rig.notes.end());
    return d;
}

std::vector<std::string> describeLines(const CharacterDescription& d, double fps) {
    std::vector<std::string> lines;
    lines.push_back(d.path);
    lines.push_back("unit: 1 file unit is " + shortNumber(d.metresPerFileUnit) + " m" +
                    (d.unitFromMetadata ? " (the file says so)" : "") + "; evaluated times " +
                    shortNumber(d.evaluationPerFileUnit) + ", size " + shortNumber(d.size));
    lines.push_back("mesh: " + counted(d.meshes, "mesh", "meshes") + ", " + counted(d.triangles, "triangle") +
                    ", " + counted(d.vertices, "vertex", "vertices") + " joined to " +
                    counted(d.points, "point"));
    lines.push_back("weights: sums " + shortNumber(d.weights.smallestSum) + " to " +
                    shortNumber(d.weights.largestSum) + "; " + std::to_string(d.weights.notOne) +
                    " normalised, " + std::to_string(d.weights.unweighted) + " without weights; " +
                    shortNumber(d.blocksPerPoint) + " chains act on a point");
    lines.push_back("joints: " + std::to_string(d.joints.size()));
    std::vector<int> depth(d.joints.size(), 0);
    for (std::size_t j = 0; j < d.joints.size(); ++j) {
        const int parent = d.jointParents[j];
        depth[j] = parent < 0 ? 0 : depth[static_cast<std::size_t>(parent)] + 1;
        lines.push_back(std::string(2 + 2 * static_cast<std::size_t>(std::min(depth[j], 40)), ' ') +
                        d.joints[j]);
    }
    lines.push_back("chains: " + std::to_string(d.chains.size()));
    for (const ChainDescription& chain : d.chains) {
        std::string line = "  " + chain.name + ": ";
        for (std::size_t j = 0; j < chain.joints.size(); ++j) line += (j ? " > " : "") + chain.joints[j];
        if (chain.virtualEnd) line += " > (end)";
        lines.push_back(line + "; " + counted(chain.points, "point") + (chain.simple ? "; simple" : ""));
    }
    lines.push_back("clips: " + std::to_string(d.clips.size()));
    for (const ClipDescription& clip : d.clips)
        lines.push_back("  " + clip.name + ": " + shortNumber(clip.seconds) + " s, " +
                        counted(static_cast<std::size_t>(clip.frames), "frame") + " at " + shortNumber(fps));
    for (const std::string& warning : d.warnings) lines.push_back("note: " + warning);
    return lines;
}

} // namespace talvisora::host
