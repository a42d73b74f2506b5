// SPDX-License-Identifier: Apache-2.0
// Order: options, the page that is to be filled, rig and character, the size of what will be written, then
// frame by frame the module's points, the two ordinary ways, and the module's own drawing of curves and
// matrices; then the page.
#include "host/view/view_job.h"

#include "headless/scene/draw_log.h"
#include "host/capture/json_writer.h"
#include "host/character/linear_blend.h"
#include "host/deform/frame_outputs.h"
#include "host/deform/stage.h"
#include "host/draw/overlay_library.h"
#include "host/picture/ramp.h"
#include "host/progress.h"
#include "host/quality/dual_quaternion.h"
#include "host/rig_file/rig_fit.h"
#include "host/view/page_data.h"
#include "host/writers/atomic_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace talvisora::host {

namespace fs = std::filesystem;

namespace {

// A browser takes some seconds to open what is larger.
constexpr double kMaxMegabytes = 96.0;

[[noreturn]] void refuse(const std::string& text) {
    throw HostError(ExitCode::kUsage, text);
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string readPage(const std::string& given) {
    const std::string path = given.empty() ? defaultViewPage() : given;
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        throw HostError(ExitCode::kInput,
                        path +
                            ": the page to fill is not there; it is built with npm: install nodejs and npm, "
                            "configure and build again, once with a network");
    std::ifstream file(path, std::ios::binary);
    std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (fillPage(page, "").empty())
        throw HostError(ExitCode::kInput, path + ": no page of grhost view; build it again");
    return page;
}

DeformJob deformJobOf(const ViewJob& job) {
    DeformJob deform;
    const bool isRig = endsWith(job.target, ".json");
    if (!isRig && !job.character.empty())
        refuse("--character goes with a rig file; '" + job.target + "' is a character itself");
    if (isRig) deform.rig = job.target;
    deform.character = !isRig ? job.target
                       : job.character.empty()
                           ? readRigFile(job.target, {job.keepUnknown, nullptr}).characterPath()
                           : job.character;
    deform.keepUnknown = job.keepUnknown;
    deform.clip = job.clip;
    deform.frames = job.frames;
    deform.fps = job.fps;
    deform.units = job.units;
    deform.up = job.up;
    deform.blocks.simple = job.simple;
    deform.threads = job.threads;
    return deform;
}

void checkOptions(const ViewJob& job) {
    std::string extension = fs::path(job.output).extension().string();
    if (extension != ".html" && extension != ".htm") refuse("-o " + job.output + ": a .html expected");
    if (!(job.fps > 0.0) || !std::isfinite(job.fps)) refuse("--fps must be a positive number");
    if (!job.up.empty() && job.up != "y" && job.up != "z") refuse("--up " + job.up + ": y or z expected");
}

// The points of an evaluation that went well.
const std::vector<Vec3d>& points(const Session& session, const CallResult& result, const std::string& where) {
    const std::string failure = deviceFailure(result);
    if (!failure.empty()) throw HostError(ExitCode::kModuleFailed, where + failure);
    const std::vector<Vec3d>& list = session.record->points;
    if (!std::all_of(list.begin(), list.end(), [](const Vec3d& p) {
            return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
        }))
        throw HostError(ExitCode::kModuleFailed, where + "some deformed points are not finite");
    return list;
}

// What the module draws of the present pose, as lines.
void drawLines(OverlayFunction overlay, Session& session, bool curves, const std::string& where,
               LineFrames& to) {
    headless::DrawRecorder recorder;
    OverlayRequest request;
    request.attributes = &session.attributes;
    request.sharedInputs = &session.sharedInputs();
    request.points = &session.record->points;
    request.manager = &recorder.manager();
    request.restCurves = request.tweakVectors = false;
    request.curves = curves;
    request.frames = !curves;
    if (overlay(request) != 0)
        throw HostError(ExitCode::kModuleFailed, where + "the overlay said: " + request.error);
    std::vector<Vec3d> ends;
    std::vector<std::uint8_t> colours;
    std::array<std::uint8_t, 3> colour{};
    for (const headless::DrawCall& call : recorder.calls()) {
        if (call.kind == headless::DrawCallKind::setColor)
            for (std::size_t c = 0; c < 3; ++c)
                colour[c] = static_cast<std::uint8_t>(std::clamp(call.colour[c], 0.0f, 1.0f) * 255.0f + 0.5f);
        if (call.kind != headless::DrawCallKind::line) continue;
        for (const auto& end : {call.from, call.to}) {
            ends.push_back({end[0], end[1], end[2]});
            colours.insert(colours.end(), colour.begin(), colour.end());
        }
    }
    to.addFrame(ends, colours);
}

struct Way {
    std::string name;
    Places places;
};

// Everything that is shown, gathered frame by frame.
struct Played {
    std::vector<Way> ways;
    LineFrames curves, axes;
    std::vector<float> gpu; ///< distance from the processor's point, per frame and point
    Bounds bounds;

    void add(std::size_t way, const std::vector<Vec3d>& list) {
        append(ways[way].places, list);
        bounds.add(list);
    }
};

void writeLines(JsonWriter& json, const LineFrames& lines, const Quantiser& quantiser) {
    json.beginObject().key("count").value(std::uint64_t(lines.count()));
    json.key("places").value(base64(quantiser.steps(lines.places())));
    json.key("colours").value(base64(lines.colours())).endObject();
}

std::string dataJson(const ViewJob& job, const DeformInputs& inputs, const Played& clip,
                     const ViewReport& report) {
    const Character& character = inputs.character;
    Bounds bounds = clip.bounds;
    for (const Bounds& lines : {clip.curves.bounds(), clip.axes.bounds()})
        if (!lines.empty()) bounds.add({lines.low, lines.high});
    bounds.add(character.points);
    const Quantiser quantiser(bounds);
    Places rest;
    append(rest, character.points);
    std::vector<std::uint32_t> corners;
    for (const Triangle& triangle : character.pointTriangles())
        corners.insert(corners.end(), triangle.begin(), triangle.end());
    std::vector<std::uint8_t> ramp;
    for (int k = 0; k < 256; ++k) {
        const Rgb colour = rampColour(k / 255.0);
        ramp.insert(ramp.end(), colour.begin(), colour.end());
    }

    JsonWriter json(1);
    json.beginObject();
    json.key("format").value("talvisora-view");
    json.key("title").value(fs::path(job.target).filename().string());
    json.key("clip").value(report.clip);
    json.key("fps").value(job.fps);
    json.key("zUp").value(inputs.zUp);
    // Everything is evaluated in centimetres unless the file's own numbers are kept.
    const bool centimetres = inputs.rigFile && job.units == FileUnit::kFromFile
                                 ? unitsOf(*inputs.rigFile) != FileUnit::kKeep
                                 : job.units != FileUnit::kKeep;
    json.key("unit").value(centimetres ? "cm" : "");
    json.key("frames").value(inputs.frames);
    json.key("points").value(std::uint64_t(character.points.size()));
    json.key("low").beginArray();
    for (const double value : quantiser.low()) json.value(value);
    json.endArray().key("step").beginArray();
    for (const double value : quantiser.step()) json.value(value);
    json.endArray();
    json.key("triangles").value(base64(corners));
    json.key("rest").value(base64(quantiser.steps(rest)));
    json.key("ramp").value(base64(ramp));
    json.key("ways").beginArray();
    for (const Way& way : clip.ways)
        json.beginObject().key("name").value(way.name).key("places").value(
            base64(quantiser.steps(way.places))),
            json.endObject();
    json.endArray().key("blocks").beginArray();
    for (const RigBlock& block : inputs.rig.blocks) {
        json.beginObject().key("name").value(block.name);
        json.key("weights").value(base64(toBytes(block.weights)));
        json.key("params").value(base64(toBytes(block.params))).endObject();
    }
    json.endArray();
    writeLines(json.key("curves"), clip.curves, quantiser);
    writeLines(json.key("axes"), clip.axes, quantiser);
    if (!report.gpu.empty()) {
        json.key("gpu").beginObject().key("device").value(report.gpu);
        json.key("largest").value(report.gpuLargest);
        json.key("values").value(base64(toWords(clip.gpu, report.gpuLargest))).endObject();
    }
    return json.endObject().text();
}

void checkSize(const ViewJob& job, const DeformInputs& inputs, std::size_t ways) {
    const double perPoint = static_cast<double>(ways) * 6.0 + (job.gpu >= 0 ? 2.0 : 0.0);
    const double frames = static_cast<double>(inputs.frames.size());
    const double points = static_cast<double>(inputs.character.points.size());
    const double blocks = static_cast<double>(inputs.rig.blocks.size());
    // Per block and frame about 150 lines, two ends of six bytes each.
    const double bytes = points * (frames * perPoint + 2.0 * blocks) + frames * blocks * 150.0 * 12.0;
    const double megabytes = bytes * 4.0 / 3.0 / 1e6; // in base64
    if (megabytes > kMaxMegabytes)
        refuse("-o " + job.output + ": the page would have " + std::to_string(std::lround(megabytes)) +
               " MB, and 96 are the most; choose fewer frames with --frames");
}

} // namespace

std::string defaultViewPage() {
    return (fs::path(defaultModulePath()).parent_path() / "grhost_view.html").string();
}

ViewReport runViewJob(const ViewJob& job) {
    checkOptions(job);
    const std::string page = readPage(job.page);
    std::error_code missing;
    if (fs::equivalent(job.page.empty() ? defaultViewPage() : job.page, job.output, missing))
        refuse("-o " + job.output + ": the same file as the page to fill; give it a name of its own");
    chooseVariant(job.variant);
    ViewReport report;
    report.output = job.output;
    const DeformJob deform = deformJobOf(job);
    checkFilesApart(deform.character, {job.output}, "", "", deform.rig);
    if (job.gpu >= 0) report.gpu = openDevice(job.gpu);
    DeformInputs inputs(deform);
    inputs.buildRig();
    const Character& character = inputs.character;
    Played clip;
    clip.ways.push_back({"talvisora", {}});
    const bool skin = !character.influences.empty();
    if (skin) {
        clip.ways.push_back({"linear blend", {}});
        clip.ways.push_back({"dual quaternions", {}});
    }
    checkSize(job, inputs, clip.ways.size());
    const Module module(job.module);
    const OverlayFunction overlay = loadOverlay(job.overlay);
    checkWritable(job.output);
    Stage stage(inputs, module, "grhost_view");
    Session& session = stage.session();
    report.clip = inputs.clip->name;
    report.frames = inputs.frames.size();
    report.points = character.points.size();
    report.blocks = inputs.rig.blocks.size();
    report.notes = character.warnings;
    report.notes.insert(report.notes.end(), inputs.rig.notes.begin(), inputs.rig.notes.end());
    for (const Way& way : clip.ways) report.ways.push_back(way.name);

    Progress progress("frames", inputs.frames.size(), job.quiet);
    for (const int frame : inputs.frames) {
        const std::string where = deform.character + ": frame " + std::to_string(frame) + ": ";
        const Pose pose = stage.pose(frame);
        const std::vector<Vec3d> moved = points(session, session.deformCpu(), where);
        clip.add(0, moved);
        if (skin) {
            clip.add(1, linearBlend(character, pose));
            clip.add(2, dualQuaternionBlend(character, pose));
        }
        drawLines(overlay, session, true, where, clip.curves);
        drawLines(overlay, session, false, where, clip.axes);
        if (job.gpu >= 0) {
            session.record->points = character.points;
            const std::vector<Vec3d>& device =
                points(session, session.deformGpu(), where + "on " + report.gpu + ": ");
            for (std::size_t i = 0; i < moved.size(); ++i) {
                const double apart = length(device[i] - moved[i]);
                report.gpuLargest = std::max(report.gpuLargest, apart);
                clip.gpu.push_back(static_cast<float>(apart));
            }
        }
        progress.advance();
    }
    progress.finish();

    AtomicFile file(job.output);
    file.write(fillPage(page, dataJson(job, inputs, clip, report)));
    report.bytes = file.bytesWritten();
    file.commit();
    return report;
}

} // namespace talvisora::host
