// SPDX-License-Identifier: Apache-2.0
// Order: options, rig, character, blocks and points, module, one command per block, the file.
#include "host/reset/reset_job.h"

#include "host/check/rig_check.h"
#include "host/deform/frame_outputs.h"
#include "host/reset/point_selection.h"
#include "host/rig_edit/layers.h"
#include "host/rig_file/rig_fit.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace talvisora::host {

namespace {

/// A block by its name, else by its number.
std::size_t blockCalled(const RigFile& rig, const std::string& text) {
    const auto named = std::any_of(rig.blocks.begin(), rig.blocks.end(),
                                   [&](const RigFileBlock& block) { return block.name == text; });
    if (named) return rig.blockIndex(text);
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (!text.empty() && error == std::errc() && end == text.data() + text.size() &&
        number < rig.blocks.size())
        return number;
    return rig.blockIndex(text); // refuses, and lists the names
}

/// In the rig's order, each once.
std::vector<std::size_t> chosenBlocks(const RigFile& rig, const std::vector<std::string>& texts) {
    std::vector<char> chosen(rig.blocks.size(), texts.empty() ? 1 : 0);
    for (const std::string& text : texts) chosen[blockCalled(rig, text)] = 1;
    std::vector<std::size_t> blocks;
    for (std::size_t b = 0; b < chosen.size(); ++b)
        if (chosen[b]) blocks.push_back(b);
    return blocks;
}

/// What no block takes of the points goes to one of the blocks; the others' shares stay.
void giveRest(RigFile& rig, std::size_t base, const std::optional<std::vector<std::uint32_t>>& selected) {
    Layers layers = layersOf(rig.blocks, rig.mesh.points);
    const auto give = [&](std::size_t p) {
        if (!(layers.left[p] > 0.0)) return;
        layers.shares[base][p] += layers.left[p];
        layers.left[p] = 0.0;
        setWeights(layers, p, rig.blocks);
    };
    if (selected)
        for (const std::uint32_t p : *selected) give(p);
    else
        for (std::size_t p = 0; p < rig.mesh.points; ++p) give(p);
}

ResetLine lineOf(const RigFileBlock& block, const std::vector<float>& before,
                 const std::vector<float>& after) {
    ResetLine line;
    line.block = block.name;
    if (after.empty()) return line;
    double sum = 0.0;
    for (std::size_t p = 0; p < after.size(); ++p) {
        line.changed += before[p] != after[p] ? 1 : 0;
        sum += after[p];
    }
    line.mean = sum / static_cast<double>(after.size());
    line.least = *std::min_element(after.begin(), after.end());
    line.most = *std::max_element(after.begin(), after.end());
    return line;
}

} // namespace

ResetReport runResetJob(const ResetJob& job) {
    const bool params = job.kind == ResetKind::kParams;
    if (!std::isfinite(job.maxDistanceCoeff) || job.maxDistanceCoeff < 0.0)
        throw HostError(ExitCode::kUsage, "--max-distance-coeff: a number of 0 or more expected");
    const std::string output = job.output.empty() ? job.rig : job.output;
    checkRigPath(output);
    chooseVariant(job.variant);

    RigFile rig = readRigFile(job.rig, {job.keepUnknown, nullptr});
    const std::vector<std::size_t> blocks = chosenBlocks(rig, job.blocks);
    const std::size_t base = job.base.empty() ? 0 : blockCalled(rig, job.base);
    std::optional<std::vector<std::uint32_t>> selected;
    if (!job.select.empty()) selected = parsePoints(job.select, rig.mesh.points);
    const std::string path = rig.characterOr(job.character);
    checkFilesApart(path, {output}, "", "");
    const RigPicture picture(job.picture, path, {output}, job.rig);
    const Character character = readCharacter(path, {unitsOf(rig), SkinUse::kOptional});
    const AutoRig fitted = fitRig(rig, character);
    const Module module(job.module);
    requireReset(module, job.kind, params ? "grhost params" : "grhost weights");

    ResetReport report;
    report.rig = job.rig;
    report.character = path;
    report.output = output;
    report.points = character.points.size();
    report.selected = selected ? selected->size() : report.points;
    report.reset = blocks.size();
    report.notes = fitted.notes;
    ResetStage stage(module, character, fitted, job.threads);
    stage.select(selected);
    const auto valuesOf = [params](RigFileBlock& block) -> std::vector<float>& {
        return params ? block.params : block.weights;
    };
    std::vector<std::vector<float>> before;
    for (RigFileBlock& block : rig.blocks) before.push_back(valuesOf(block));
    for (const std::size_t b : blocks)
        valuesOf(rig.blocks[b]) = stage.run({job.kind, b, job.smooth, job.maxDistanceCoeff}, before[b],
                                            job.rig + ": block '" + rig.blocks[b].name + "'");
    if (!job.base.empty()) giveRest(rig, base, selected);
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        const ResetLine line = lineOf(rig.blocks[b], before[b], valuesOf(rig.blocks[b]));
        if (line.changed > 0 || std::binary_search(blocks.begin(), blocks.end(), b))
            report.blocks.push_back(line);
    }
    const AutoRig after = fitRig(rig, character);
    const std::vector<double> left = after.shareLeftBehind();
    report.leftBehind = static_cast<std::size_t>(
        std::count_if(left.begin(), left.end(), [](double share) { return share > kLeftBehindShare; }));
    report.pictures = picture.write(character, after, rig.upAxis == "z");
    rig.mesh.character = characterPathFrom(output, path);
    writeRigFile(output, rig);
    return report;
}

} // namespace talvisora::host
