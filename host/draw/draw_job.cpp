// SPDX-License-Identifier: Apache-2.0
// Order: options, rig and character, the pose, one evaluation, the overlay's recording, the picture.
#include "host/draw/draw_job.h"

#include "headless/scene/draw_log.h"
#include "host/deform/frame_outputs.h"
#include "host/draw/overlay_library.h"
#include "host/draw/paint.h"
#include "host/rig_file/rig_fit.h"
#include "host/rig_values.h"
#include "host/writers/atomic_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>

namespace talvisora::host {

namespace {

std::string lowerExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return extension;
}

[[noreturn]] void refuse(const std::string& text) {
    throw HostError(ExitCode::kUsage, text);
}

OverlayLabels labelsOf(const DrawJob& job) {
    if (job.labels.empty()) return OverlayLabels::kNone;
    if (job.labels == "index") return OverlayLabels::kIndex;
    if (job.labels == "weights") return OverlayLabels::kWeights;
    if (job.labels == "params") return OverlayLabels::kParams;
    refuse("--labels " + job.labels + ": index, weights or params expected");
}

// The parts as switches of the request.
void readParts(const std::string& text, OverlayRequest& request) {
    request.restCurves = request.curves = request.frames = request.tweakVectors = false;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        const std::string part = text.substr(start, comma - start);
        start = comma + 1;
        if (part == "rest")
            request.restCurves = true;
        else if (part == "curve")
            request.curves = true;
        else if (part == "frames")
            request.frames = true;
        else if (part == "tweaks")
            request.tweakVectors = true;
        else if (part != "none")
            refuse("--parts " + text + ": rest, curve, frames, tweaks or none expected, with commas between");
    }
}

void checkOptions(const DrawJob& job, bool rig) {
    const std::string extension = lowerExtension(job.output);
    if (extension != ".png" && extension != ".svg") refuse("-o " + job.output + ": a .png or .svg expected");
    if (!(job.fps > 0.0) || !std::isfinite(job.fps)) refuse("--fps must be a positive number");
    if (!job.up.empty() && job.up != "y" && job.up != "z") refuse("--up " + job.up + ": y or z expected");
    if (!rig && !job.character.empty())
        refuse("--character goes with a rig file; '" + job.target + "' is a character itself");
    const OverlayLabels labels = labelsOf(job);
    if (labels == OverlayLabels::kNone && !job.points.empty())
        refuse("--points chooses what is labelled: give --labels too");
    if ((labels == OverlayLabels::kWeights || labels == OverlayLabels::kParams) && job.block.empty())
        refuse("--labels " + job.labels + ": every block has its own; choose one with --block NAME");
}

// "3,10-20" as indices below count.
std::set<std::size_t> chosenPoints(const DrawJob& job, std::size_t count) {
    std::set<std::size_t> chosen;
    if (job.points.empty()) return chosen;
    // Points count from 0, frames from 1: the same lists, one apart.
    const std::string wanted = "--points " + job.points + ": numbers and ranges from 0 to " +
                               std::to_string(count - 1) + " expected, as in 3,10-20";
    std::size_t value = 0, first = 0;
    bool digits = false, range = false;
    for (const char c : job.points + ",") {
        if (c >= '0' && c <= '9') {
            value = std::min(value * 10 + static_cast<std::size_t>(c - '0'), count);
            digits = true;
        } else if (c == '-' && digits && !range) {
            first = value;
            value = 0;
            digits = false;
            range = true;
        } else if (c == ',' && digits) {
            if (!range) first = value;
            if (value >= count || first > value) refuse(wanted);
            for (std::size_t i = first; i <= value; ++i) chosen.insert(i);
            value = 0;
            digits = range = false;
        } else {
            refuse(wanted);
        }
    }
    return chosen;
}

std::int32_t blockNumber(const DrawJob& job, const AutoRig& rig) {
    if (job.block.empty()) return -1;
    std::string names;
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        if (rig.blocks[b].name == job.block) return static_cast<std::int32_t>(b);
        names += (names.empty() ? "" : ", ") + rig.blocks[b].name;
    }
    refuse("--block " + job.block + ": no such block; there are " + names);
}

Pose posed(const DrawJob& job, const Character& character, DrawReport& report) {
    if (job.rest) {
        report.pose = "rest";
        return restPose(character);
    }
    if (character.clips.empty() && job.clip.empty() && job.frame == 0) {
        report.pose = "pose as loaded";
        return loadedPose(character);
    }
    const Clip& clip = character.clips[findClip(character, job.clip)];
    const int last = lastFrame(clip, job.fps);
    const int frame = job.frame == 0 ? 1 : job.frame;
    if (frame < 1 || frame > last)
        throw HostError(ExitCode::kInput, "--frame " + std::to_string(frame) + ": clip '" + clip.name +
                                              "' has frames 1 to " + std::to_string(last));
    report.pose = "frame " + std::to_string(frame) + " of '" + clip.name + "'";
    return samplePose(character, clip, frameSeconds(frame, job.fps));
}

Rgb shown(const OverlayColour& c) {
    const auto byte = [](float v) { return static_cast<std::uint8_t>(v * 255.0f + 0.5f); };
    return {byte(c[0]), byte(c[1]), byte(c[2])};
}

std::vector<LegendEntry> legendOf(const OverlayRequest& request) {
    std::vector<LegendEntry> legend;
    if (request.restCurves) legend.push_back({shown(kRestCurveColour), "rest curve"});
    if (request.curves) legend.push_back({shown(kCurveColour), "current curve"});
    if (request.frames) {
        legend.push_back({{255, 0, 0}, "control matrices: x"});
        legend.push_back({{0, 255, 0}, "y"});
        legend.push_back({{0, 0, 255}, "z"});
    }
    if (request.tweakVectors) {
        legend.push_back({shown(kDeformVecColour), "into the bend"});
        legend.push_back({shown(kNeighbourVecColour), "to the neighbours"});
        legend.push_back({shown(kBendAxisColour), "bend axis"});
        legend.push_back({shown(kPlaneNormalColour), "collision plane"});
    }
    return legend;
}

// What the camera must show: all points, or those that the chosen block moves; and all that was drawn.
std::vector<Vec3d> viewed(const std::vector<Vec3d>& points, const AutoRig& rig, std::int32_t block,
                          const std::vector<headless::DrawCall>& calls) {
    std::vector<Vec3d> shownPoints;
    if (block < 0) shownPoints = points;
    if (block >= 0) {
        const std::vector<float>& weights = rig.blocks[static_cast<std::size_t>(block)].weights;
        for (std::size_t i = 0; i < points.size() && i < weights.size(); ++i)
            if (weights[i] > 0.1f) shownPoints.push_back(points[i]);
    }
    for (const headless::DrawCall& call : calls) {
        if (call.kind != headless::DrawCallKind::line) continue;
        shownPoints.push_back({call.from[0], call.from[1], call.from[2]});
        shownPoints.push_back({call.to[0], call.to[1], call.to[2]});
    }
    return shownPoints;
}

} // namespace

DrawReport runDrawJob(const DrawJob& job) {
    const bool isRig = lowerExtension(job.target) == ".json";
    checkOptions(job, isRig);
    DrawReport report;
    report.output = job.output;
    parseSize(job.size, report.width, report.height);
    OverlayRequest request;
    readParts(job.parts, request);
    request.labels = labelsOf(job);
    chooseVariant(job.variant);

    std::optional<RigFile> rigFile;
    if (isRig) rigFile = readRigFile(job.target, {job.keepUnknown, nullptr});
    const std::string path = isRig ? rigFile->characterOr(job.character) : job.target;
    checkFilesApart(path, {}, job.output, "", isRig ? job.target : "");
    const FileUnit units = rigFile && job.units == FileUnit::kFromFile ? unitsOf(*rigFile) : job.units;
    const bool zUp = (job.up.empty() && rigFile ? rigFile->upAxis : job.up) == "z";
    const View view = parseView(job.view, zUp ? Vec3d{0.0, 0.0, 1.0} : Vec3d{0.0, 1.0, 0.0});
    const Character character =
        readCharacter(path, {units, rigFile ? SkinUse::kOptional : SkinUse::kRequired});
    AutoBlockOptions blocks;
    blocks.simple = job.simple;
    AutoRig rig = rigFile ? fitRig(*rigFile, character) : buildAutoRig(character, blocks);
    report.notes = character.warnings;
    report.notes.insert(report.notes.end(), rig.notes.begin(), rig.notes.end());
    request.block = blockNumber(job, rig);
    FlattenOptions flat;
    flat.choose = !job.points.empty();
    flat.chosen = chosenPoints(job, character.points.size());
    const Pose pose = posed(job, character, report);
    const Module module(job.module);
    const OverlayFunction drawOverlay = loadOverlay(job.overlay);
    checkWritable(job.output);

    Session session(module, "grhost_draw", job.threads);
    fillSession(session, character, rig, true);
    applyPose(rig, pose);
    setFrame(session, character, rig);
    const CallResult result = session.deformCpu();
    const std::string where = job.target + ": " + report.pose + ": ";
    if (result.threw || result.status != 0)
        throw HostError(ExitCode::kModuleFailed,
                        where + (result.messages.empty() ? "the module failed and said nothing"
                                                         : "the module said: " + result.messages[0].text));
    const std::vector<Vec3d>& points = session.record->points;

    headless::DrawRecorder recorder;
    request.attributes = &session.attributes;
    request.sharedInputs = &session.sharedInputs();
    request.points = &points;
    request.manager = &recorder.manager();
    if (drawOverlay(request) != 0)
        throw HostError(ExitCode::kModuleFailed, where + "the overlay said: " + request.error);
    if (!recorder.misuses().empty())
        throw HostError(ExitCode::kModuleFailed,
                        where + "the overlay misused the draw manager: " + recorder.misuses().front());
    report.calls = recorder.calls().size();
    report.blocks = request.blocksDrawn;
    report.straightJoints = request.straightJoints;

    const std::vector<OutputMesh> meshes = outputMeshes(character);
    Bounds bounds;
    bounds.add(points);
    const Camera camera = makeCamera(viewed(points, rig, request.block, recorder.calls()), view,
                                     static_cast<double>(report.width) / report.height);
    RenderOptions render;
    render.width = report.width;
    render.height = report.height;
    render.samples = 2;
    render.shadow = false;
    render.background = {255, 255, 255};
    render.surface = {222, 216, 208}; // pale: the lines are what is to be seen
    Image picture = renderMeshes(meshes, points, camera, render);
    const std::vector<Triangle> triangles = character.pointTriangles();
    const DepthMap depth(points, triangles, camera, report.width, report.height);
    flat.slack = 0.004 * length(bounds.high - bounds.low);
    flat.points = points;

    PaintStyle style;
    // Text grows with the picture, within what can be read and what still leaves room.
    style.labelHeight = flat.labelHeight =
        std::clamp(std::min(report.width, report.height) / 84.0, 8.0, 16.0);
    style.title = std::filesystem::path(job.target).filename().string() + ", " + report.pose;
    if (!job.block.empty()) style.title += ", block " + job.block;
    style.legend = legendOf(request);
    if (request.labels != OverlayLabels::kNone)
        style.legend.push_back({shown(kLabelColour), "labels: " + job.labels});
    // On a small picture a legend would cover what it explains.
    if (static_cast<double>(style.legend.size()) * style.labelHeight * 1.9 > 0.4 * report.height)
        style.legend.clear();
    flat.reserved = textBoxes(style, report.height);
    const FlatDrawing drawing = flatten(recorder.calls(), camera, depth, flat);
    report.lines = drawing.lines.size();
    report.labels = drawing.labels.size();
    report.hiddenLabels = drawing.hiddenLabels;
    report.crowdedLabels = drawing.crowdedLabels;
    if (lowerExtension(job.output) == ".svg") {
        std::vector<ScreenPlace> places;
        for (const Vec3d& p : points) places.push_back(toScreen(p, camera, report.width, report.height));
        AtomicFile file(job.output);
        file.write(paintSvg(picture, depth, places, triangles, drawing, style));
        file.commit();
    } else {
        paintPixels(picture, drawing, style);
        writePng(job.output, picture);
    }
    return report;
}

} // namespace talvisora::host
