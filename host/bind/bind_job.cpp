// SPDX-License-Identifier: Apache-2.0
// Order: options, the module where it is needed, the character, the rig, the file.
#include "host/bind/bind_job.h"

#include "host/bind/distance_weights.h"
#include "host/bind/nearest_bones.h"
#include "host/deform/frame_outputs.h"
#include "host/figures.h"
#include "host/rig_file/rig_fit.h"
#include "host/text_table.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace talvisora::host {

namespace {

constexpr double kLeftBehind = 1e-3;

// Weights and parameters through the module's commands.
void bindByDistance(const BindJob& job, const Character& character, const AutoRig& rig, RigFile& file,
                    std::vector<std::string>& notes) {
    chooseVariant(job.variant);
    const Module module(job.module);
    for (const ResetKind kind : {ResetKind::kWeights, ResetKind::kParams})
        requireReset(module, kind, "--weights distance");
    ResetStage stage(module, character, rig, job.threads);
    const DistanceResult result = weighByDistance(stage, character, rig, job.maxDistanceCoeff, file);
    for (std::size_t b = 0; b < file.blocks.size(); ++b) {
        RigFileBlock& block = file.blocks[b];
        block.params = stage.run({ResetKind::kParams, b, 0, 0.0}, block.params, "block '" + block.name + "'");
        if (result.reached[b] == 0)
            notes.push_back("block '" + block.name +
                            "' reaches no point: its curve lies outside the mesh, or the mesh is open there");
    }
    if (result.unreached)
        notes.push_back(counted(result.unreached, "point is", "points are") +
                        " out of reach of every block; the nearest bone takes them");
}

std::size_t pointsLeftBehind(const AutoRig& rig) {
    const std::vector<double> left = rig.shareLeftBehind();
    return static_cast<std::size_t>(
        std::count_if(left.begin(), left.end(), [](double share) { return share > kLeftBehind; }));
}

} // namespace

std::vector<BlockLine> blockLines(const RigFile& rig) {
    std::map<std::string, const RigFileRecord*> records;
    for (const RigFileRecord& record : rig.hierarchy) records[record.name] = &record;
    // The nearest joint of the character above a record, or of the record itself.
    const auto jointOf = [&](std::string name) {
        while (!name.empty() && records[name]->joint.empty()) name = records[name]->parent;
        return name.empty() ? std::string() : records[name]->joint;
    };
    std::vector<BlockLine> lines;
    for (const RigFileBlock& block : rig.blocks) {
        BlockLine line;
        line.name = block.name;
        line.records = block.joints.size();
        line.simple = block.simple;
        if (!block.joints.empty()) {
            line.firstJoint = jointOf(block.joints.front());
            line.lastJoint = jointOf(block.joints.back());
        }
        if (block.joints.size() > 1)
            line.end = jointOf(block.joints[block.joints.size() - 2]) == line.lastJoint;
        double sum = 0.0;
        for (const float weight : block.weights)
            if (weight > 0.0f) {
                ++line.points;
                sum += weight;
            }
        if (line.points) line.meanWeight = sum / static_cast<double>(line.points);
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string blockTable(const std::vector<BlockLine>& lines) {
    std::vector<std::vector<std::string>> rows = {
        {"block", "from", "to", "records", "points", "mean weight"}};
    for (const BlockLine& line : lines) {
        rows.push_back({line.name + (line.simple ? " (simple)" : ""), line.firstJoint,
                        line.lastJoint + (line.end ? " (+ end)" : ""), std::to_string(line.records),
                        std::to_string(line.points), fixedNumber(line.meanWeight, 3)});
    }
    return alignedTable(rows, 3);
}

BindReport runBindJob(const BindJob& job) {
    checkRigPath(job.output);
    checkFilesApart(job.character, {job.output}, "", "");
    const RigPicture picture(job.picture, job.character, {job.output});
    if (job.up != "y" && job.up != "z")
        throw HostError(ExitCode::kUsage, "--up " + job.up + ": y or z expected");
    const bool byDistance = job.weights == BindWeights::kDistance;
    if (!std::isfinite(job.maxDistanceCoeff) || job.maxDistanceCoeff < 0.0)
        throw HostError(ExitCode::kUsage, "--max-distance-coeff: a number of 0 or more expected");

    const Character character =
        readCharacter(job.character, {job.units, byDistance ? SkinUse::kOptional : SkinUse::kRequired});
    AutoRig rig = buildAutoRig(byDistance ? boundToNearestBones(character) : character, job.blocks);
    RigFile file = makeRigFile(character, rig, job.output, job.units, job.up);
    file.path = job.output;
    if (byDistance) bindByDistance(job, character, rig, file, rig.notes);
    smoothShares(character, job.smooth == kAutoSmooth ? (byDistance ? kDistanceSmooth : 0) : job.smooth,
                 file);
    const AutoRig bound = fitRig(file, character);
    BindReport report;
    report.pictures = picture.write(character, bound, job.up == "z");
    writeRigFile(job.output, file);
    report.character = job.character;
    report.output = job.output;
    report.points = character.points.size();
    report.leftBehind = pointsLeftBehind(bound);
    report.blocksPerPoint = bound.blocksPerPoint();
    report.blocks = blockLines(file);
    report.notes = character.warnings;
    report.notes.insert(report.notes.end(), rig.notes.begin(), rig.notes.end());
    return report;
}

} // namespace talvisora::host
