// SPDX-License-Identifier: Apache-2.0
// Order: options, the module where it is needed, the character, the rig, the file.
#include "host/bind/bind_job.h"

#include "host/deform/frame_outputs.h"
#include "host/rig_file/rig_fit.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

namespace talvisora::host {

namespace {

constexpr double kLeftBehind = 1e-3;

// The module when weights are to come from it.
std::optional<Module> moduleFor(const BindJob& job, const ModuleBinder& throughModule) {
    if (job.weights == BindWeights::kSkin && job.smooth == 0) return {};
    chooseVariant(job.variant);
    std::optional<Module> module(std::in_place, job.module);
    if (!throughModule || !module->command("resetWeights"))
        throw HostError(ExitCode::kUsage,
                        module->path() + ": the module does not offer resetWeights, which " +
                            (job.weights == BindWeights::kDistance ? "--weights distance" : "--smooth") +
                            " needs; use --weights skin, or name another module with --module FILE");
    return module;
}

// How wide a text is on a terminal: bytes that go on with a character do not count.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
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
        char mean[32];
        std::snprintf(mean, sizeof mean, "%.3f", line.meanWeight);
        rows.push_back({line.name + (line.simple ? " (simple)" : ""), line.firstJoint,
                        line.lastJoint + (line.end ? " (+ end)" : ""), std::to_string(line.records),
                        std::to_string(line.points), mean});
    }
    std::vector<std::size_t> widths(rows[0].size(), 0);
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], width(row[c]));
    std::string table;
    for (const auto& row : rows) {
        std::string text;
        for (std::size_t c = 0; c < row.size(); ++c) {
            const std::string blanks(widths[c] - width(row[c]), ' ');
            text += (c ? "  " : "") + (c < 3 ? row[c] + blanks : blanks + row[c]); // numbers to the right
        }
        for (char& c : text)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?'; // a row stays one line
        table += text + "\n";
    }
    return table;
}

BindReport runBindJob(const BindJob& job, const ModuleBinder& throughModule) {
    checkRigPath(job.output);
    checkFilesApart(job.character, {job.output}, "", "");
    if (job.up != "y" && job.up != "z")
        throw HostError(ExitCode::kUsage, "--up " + job.up + ": y or z expected");
    const std::optional<Module> module = moduleFor(job, throughModule);

    const Character character = readCharacter(job.character, {job.units});
    const AutoRig rig = buildAutoRig(character, job.blocks);
    RigFile file = makeRigFile(character, rig, job.output, job.units, job.up);
    file.path = job.output;
    if (module) throughModule(*module, character, job, file);
    writeRigFile(job.output, file);

    const AutoRig bound = module ? fitRig(file, character) : rig;
    BindReport report;
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
