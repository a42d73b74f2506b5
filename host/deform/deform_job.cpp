// SPDX-License-Identifier: Apache-2.0
// Order: cheap checks of the options, the character, its clip and frames, the rig, the module, all outputs
// opened, then frame by frame, then the picture. What can fail early fails before the long work.
#include "host/deform/deform_job.h"

#include "host/character/linear_blend.h"
#include "host/deform/frame_outputs.h"
#include "host/deform/frame_sheet.h"
#include "host/deform/stage.h"
#include "host/picture/moving_picture.h"
#include "host/progress.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>

namespace talvisora::host {

namespace {

using Clock = std::chrono::steady_clock;

bool isFinite(const Vec3d& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

void checkOptions(const DeformJob& job) {
    const auto refuse = [](const std::string& text) { throw HostError(ExitCode::kUsage, text); };
    if (job.outputs.empty() && job.picture.empty() && job.capture.empty() && !job.baseline)
        refuse("nothing to do: give -o FILE, --picture FILE, --capture FILE or --baseline");
    checkOutputNames(job.outputs);
    checkFilesApart(job.character, job.outputs, job.picture, job.capture, job.rig);
    const bool moving = isMovingPicture(job.picture);
    checkStillOrMovingName(job.picture);
    if (!(job.fps > 0.0) || !std::isfinite(job.fps)) refuse("--fps must be a positive number");
    if (moving && job.fps > kMaxMovingRate)
        refuse("--picture " + job.picture + ": a moving picture shows at most 90 frames per second; give a " +
               "smaller --fps");
    viewNamed(job.view);
    pictureSizeNamed(job.pictureSize);
    if (!job.up.empty() && job.up != "y" && job.up != "z") refuse("--up " + job.up + ": y or z expected");
    if (!job.pictureFrames.empty() && job.picture.empty()) refuse("--picture-frames needs --picture FILE");
    if (job.captureFrame != 0 && job.capture.empty()) refuse("--capture-frame needs --capture FILE");
}

std::vector<int> spread(const std::vector<int>& frames, std::size_t count) {
    std::vector<int> chosen;
    for (std::size_t k = 0; k < count && k < frames.size(); ++k)
        chosen.push_back(frames[k * frames.size() / std::min(count, frames.size())]);
    return chosen;
}

std::string describe(const CallResult& result) {
    if (result.threw) return "the module threw '" + result.thrown + "'";
    std::string text = "the module answered status " + std::to_string(result.status);
    if (!result.messages.empty()) text += " and said: " + result.messages.front().text;
    if (result.messages.size() > 1) text += " (and " + std::to_string(result.messages.size() - 1) + " more)";
    return text;
}

// The frame's points from the module. The frame must have been posed; the list stays until the next pose.
const std::vector<Vec3d>& deformFrame(Stage& stage, DeviceRun& device, const std::string& character,
                                      int frame, DeformReport& report) {
    const CallResult result = device.evaluate();
    report.deformSeconds += result.seconds;
    ++report.frames;
    const std::string where = character + ": frame " + std::to_string(frame) + ": ";
    if (result.threw || result.status != 0)
        throw HostError(ExitCode::kModuleFailed, where + describe(result));
    const std::vector<Vec3d>& points = stage.session().record->points;
    const auto broken = std::find_if_not(points.begin(), points.end(), isFinite);
    if (broken != points.end())
        throw HostError(
            ExitCode::kModuleFailed,
            where + std::to_string(points.end() - broken - std::count_if(broken, points.end(), isFinite)) +
                " deformed points are not finite, the first is point " +
                std::to_string(broken - points.begin()) + "; look at the joints' matrices with --capture");
    return points;
}

void describeRig(const Character& character, const AutoRig& rig, DeformReport& report) {
    report.points = character.points.size();
    report.vertices = character.vertexCount();
    report.triangles = character.pointTriangles().size();
    report.blocks = rig.blocks.size();
    report.records = rig.records.size();
    report.blocksPerPoint = rig.blocksPerPoint();
    report.notes = character.warnings;
    report.notes.insert(report.notes.end(), rig.notes.begin(), rig.notes.end());
    const std::vector<double> left = rig.shareLeftBehind();
    for (std::size_t i = 0; i < left.size(); ++i)
        if (character.influences.empty() || character.influenceStart[i] != character.influenceStart[i + 1])
            report.leftBehind = std::max(report.leftBehind, left[i]);
}

} // namespace

double DeformReport::deformRate() const {
    return deformSeconds > 0.0 ? static_cast<double>(points * frames) / deformSeconds : 0.0;
}

double DeformReport::totalRate() const {
    return totalSeconds > 0.0 ? static_cast<double>(points * frames) / totalSeconds : 0.0;
}

DeformReport runDeformJob(const DeformJob& job) {
    const auto start = Clock::now();
    checkOptions(job);
    chooseVariant(job.variant);
    if (job.device.kind == DeviceKind::kGpu || job.device.kind == DeviceKind::kNumber)
        openDevice(job.device.number);

    DeformInputs inputs(job);
    const Character& character = inputs.character;
    if (job.baseline && character.influences.empty())
        throw HostError(ExitCode::kUsage, "--baseline: '" + job.character +
                                              "' has no skin weights to blend; leave the option out");
    const bool moving = isMovingPicture(job.picture);
    const bool wholeRun = !job.outputs.empty() || job.baseline || !job.frames.empty();
    const std::vector<int>& clipFrames = inputs.frames;
    std::vector<int> pictureFrames;
    if (!job.picture.empty())
        pictureFrames = !job.pictureFrames.empty() ? inputs.framesOf(job.pictureFrames)
                        : moving                   ? clipFrames
                                                   : spread(clipFrames, 4);
    if (moving && pictureFrames.size() > kMaxMovingFrames)
        throw HostError(ExitCode::kUsage,
                        "--picture " + job.picture + ": " + std::to_string(pictureFrames.size()) +
                            " frames, and a moving picture has at most " + std::to_string(kMaxMovingFrames) +
                            "; choose some with --picture-frames");
    if (moving) {
        const PictureSize size = pictureSizeNamed(job.pictureSize);
        const double cells = static_cast<double>(pictureFrames.size()) * (job.baseline ? 2.0 : 1.0);
        const double pixels = cells * size.width * size.height;
        if (pixels > kMaxMovingPixels)
            throw HostError(ExitCode::kUsage,
                            "--picture " + job.picture + ": the frames would have " +
                                std::to_string(std::lround(pixels / 1e6)) +
                                " million pixels, and 2000 are the most; give a smaller --size, or choose "
                                "frames with --picture-frames");
    }
    const int captureFrame = job.captureFrame == 0
                                 ? clipFrames.front()
                                 : inputs.framesOf(std::to_string(job.captureFrame)).front();

    DeformReport report;
    report.character = job.character;
    report.clip = inputs.clip->name;
    inputs.buildRig();
    describeRig(character, inputs.rig, report);
    const Module module(job.module);
    Stage stage(inputs, module, "grhost_deform");
    DeviceRun device(stage.session(), job.device);

    // What to evaluate: the frames for the files, then those that only the picture shows.
    const std::vector<int> fileFrames = wholeRun ? clipFrames : std::vector<int>();
    std::vector<int> frames = fileFrames;
    for (const int frame : pictureFrames)
        if (std::find(frames.begin(), frames.end(), frame) == frames.end()) frames.push_back(frame);

    const double fileScale = 1.0 / character.evaluationPerFileUnit;
    const auto toFile = [fileScale](std::vector<Vec3d>& to, const std::vector<Vec3d>& from) {
        to.resize(from.size());
        std::transform(from.begin(), from.end(), to.begin(), [=](const Vec3d& p) { return p * fileScale; });
    };
    FrameOutputContext context;
    context.character = &character;
    context.meshes = outputMeshes(character);
    toFile(context.restPoints, character.points);
    context.frames = clipFrames;
    context.fps = job.fps;
    context.clipName = inputs.clip->name;
    context.zUp = inputs.zUp;
    std::vector<std::unique_ptr<FrameOutput>> outputs;
    for (const std::string& path : job.outputs) outputs.push_back(openOutput(path, context));
    if (!job.picture.empty()) checkWritable(job.picture);
    if (!job.capture.empty()) {
        stage.pose(captureFrame);
        writeCapture(job.capture, stage.session().capture());
    }

    DeformQuality quality(character.points, character.pointTriangles());
    std::map<int, SheetFrame> shown;
    Bounds box; // of what a moving picture shows: its camera stands still and must see every frame
    std::vector<Vec3d> filePoints;
    Progress progress("frames", frames.size(), job.quiet);
    for (std::size_t k = 0; k < frames.size(); ++k) {
        const int frame = frames[k];
        const Pose pose = stage.pose(frame);
        const std::vector<Vec3d>& deformed = deformFrame(stage, device, job.character, frame, report);
        const bool forFiles = k < fileFrames.size();
        const std::vector<Vec3d> reference =
            job.baseline ? linearBlend(character, pose) : std::vector<Vec3d>();
        if (job.baseline && forFiles) quality.addFrame(deformed, reference);
        if (std::find(pictureFrames.begin(), pictureFrames.end(), frame) != pictureFrames.end()) {
            if (moving) {
                box.add(deformed);
                box.add(reference);
            } else {
                shown[frame] = {frame, deformed, reference};
            }
        }
        if (forFiles && !outputs.empty()) {
            toFile(filePoints, deformed);
            for (const auto& output : outputs) output->addFrame(frame, filePoints);
        }
        progress.advance();
    }
    progress.finish();

    for (const auto& output : outputs) {
        output->close();
        const std::vector<std::string> written = output->written();
        report.written.insert(report.written.end(), written.begin(), written.end());
    }
    if (!job.picture.empty()) {
        SheetOptions options;
        const Vec3d up = inputs.zUp ? Vec3d{0.0, 0.0, 1.0} : Vec3d{0.0, 1.0, 0.0};
        options.view = viewNamed(job.view, up);
        options.cellSize = pictureSizeNamed(job.pictureSize);
        if (moving) {
            // Evaluated a second time instead of kept: drawing takes far longer, and memory stays that of one
            // frame.
            const Camera camera = sheetCamera(box, options);
            MovingPicture picture(job.picture, job.fps);
            DeformReport again;
            Progress drawing("picture", pictureFrames.size(), job.quiet);
            for (const int frame : pictureFrames) {
                const Pose pose = stage.pose(frame);
                SheetFrame cell{frame, deformFrame(stage, device, job.character, frame, again), {}};
                if (job.baseline) cell.reference = linearBlend(character, pose);
                picture.add(drawFrameSheet(context.meshes, {cell}, camera, options));
                drawing.advance();
            }
            drawing.finish();
            picture.close();
        } else {
            std::vector<SheetFrame> sheet;
            for (const int frame : pictureFrames) sheet.push_back(shown[frame]);
            writeFrameSheet(job.picture, context.meshes, sheet, options);
        }
        report.written.push_back(job.picture);
    }
    if (!job.capture.empty()) report.written.push_back(job.capture);
    if (job.baseline) report.quality = quality.report();
    if (job.device.kind != DeviceKind::kAsWritten) report.device = device.report();
    report.totalSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    return report;
}

} // namespace talvisora::host
