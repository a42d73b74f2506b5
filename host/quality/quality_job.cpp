// SPDX-License-Identifier: Apache-2.0
// Order: options, module, then limb by limb: rig, session, poses three ways, measures, pictures.
#include "host/quality/quality_job.h"

#include "host/character/auto_blocks.h"
#include "host/character/linear_blend.h"
#include "host/deform/frame_outputs.h"
#include "host/figures.h"
#include "host/picture/contact_sheet.h"
#include "host/picture/text.h"
#include "host/quality/dual_quaternion.h"
#include "host/quality/trials.h"
#include "host/rig_file/rig_file.h"
#include "host/rig_values.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr const char* kMethods[] = {"linear blend", "dual quaternions", "talvisora"};
constexpr Rgb kSkin{206, 178, 150}, kStripe{120, 92, 74}, kCrossing{226, 30, 40}, kPaper{252, 252, 250};

std::vector<Trial> chosenTrials(const std::string& only) {
    std::vector<Trial> all = allTrials();
    if (only.empty()) return all;
    std::vector<Trial> chosen;
    std::size_t start = 0;
    while (start <= only.size()) {
        const std::size_t comma = std::min(only.find(',', start), only.size());
        const std::string name = only.substr(start, comma - start);
        start = comma + 1;
        const auto trial =
            std::find_if(all.begin(), all.end(), [&](const Trial& t) { return t.shape.name == name; });
        if (trial == all.end())
            throw HostError(ExitCode::kUsage,
                            "--only " + only +
                                ": elbow, twist, helper, tail or stretch expected, with commas between");
        chosen.push_back(*trial);
    }
    return chosen;
}

std::array<float, kRigTweakCount> amounts(const std::map<std::string, float>& named) {
    std::array<float, kRigTweakCount> values = rigTweakDefaults();
    std::string names;
    for (const auto& [name, value] : named) {
        bool known = false;
        for (std::size_t t = 0; t < kRigTweakCount; ++t) {
            if (name != kRigTweakNames[t]) continue;
            values[t] = value;
            known = true;
        }
        if (known) continue;
        for (const char* have : kRigTweakNames) names += (names.empty() ? "" : ", ") + std::string(have);
        throw HostError(ExitCode::kUsage, "--tweak " + name + ": no such amount; there are " + names);
    }
    return values;
}

std::map<std::string, float> readTweaks(const std::vector<std::string>& texts) {
    std::map<std::string, float> tweaks;
    for (const std::string& text : texts) {
        const std::size_t equals = std::min(text.find('='), text.size());
        const char* end = text.data() + text.size();
        const char* first = text.data() + std::min(equals + 1, text.size());
        float value = 0.0f;
        const auto [stop, error] = std::from_chars(first, end, value);
        if (error != std::errc() || stop != end || !std::isfinite(value))
            throw HostError(ExitCode::kUsage,
                            "--tweak " + text + ": NAME=VALUE expected, as in bulgeTweak=0.1");
        tweaks[text.substr(0, equals)] = value;
    }
    return tweaks;
}

// One block over the whole chain, with the amounts at every centre joint.
AutoRig rigOf(const Limb& limb, const std::map<std::string, float>& tweaks) {
    AutoBlockOptions options;
    const auto& joints = limb.character.joints;
    options.chains = limb.shape.name + "=" + joints.front().name + ".." + joints.back().name;
    AutoRig rig = buildAutoRig(limb.character, options);
    for (RigBlock& block : rig.blocks) {
        if (tweaks.empty()) continue;
        for (int centre = 0; centre + 2 < static_cast<int>(block.joints.size()); ++centre)
            block.tweaks.push_back({centre, amounts(tweaks)});
    }
    return rig;
}

std::string percent(double share) {
    return fixedNumber(share * 100.0, 0) + " %";
}

// Stripes along the limb, so that a twist shows; crossing faces in red.
std::vector<Rgb> colours(const Limb& limb, const std::vector<bool>& crossing) {
    std::vector<Rgb> colour(limb.character.points.size(), kSkin);
    const int quarter = std::max(limb.shape.sectors / 4, 1);
    for (std::size_t i = 0; i < colour.size(); ++i) {
        const int sector = limb.sectorOfPoint[i];
        if (sector >= 0 && sector % quarter < 2) colour[i] = kStripe;
    }
    const std::vector<Triangle> triangles = limb.character.pointTriangles();
    for (std::size_t t = 0; t < triangles.size() && t < crossing.size(); ++t)
        if (crossing[t])
            for (const std::uint32_t corner : triangles[t]) colour[corner] = kCrossing;
    return colour;
}

struct Deformed {
    std::vector<Vec3d> points;
    std::vector<bool> crossing;
    std::string label;
};

// All poses of one limb, all three ways: [method][pose].
std::vector<std::vector<Deformed>> deformAll(const QualityJob& job, const Trial& trial, const Limb& limb,
                                             const Module& module, LimbReport& report) {
    AutoRig rig = rigOf(limb, job.plain ? std::map<std::string, float>() : trial.tweaks);
    Session session(module, "grhost_quality", job.threads);
    fillSession(session, limb.character, rig, true);
    std::vector<std::vector<Deformed>> all(3);
    for (const TrialPose& trialPose : trial.poses) {
        const Pose pose = poseLimb(limb, trialPose.turns, trialPose.stretch);
        applyPose(rig, pose);
        setFrame(session, limb.character, rig);
        const CallResult result = session.deformCpu();
        if (result.threw || result.status != 0)
            throw HostError(ExitCode::kModuleFailed,
                            trial.shape.name + ", " + trialPose.label + ": the module " +
                                (result.messages.empty() ? "failed and said nothing"
                                                         : "said: " + result.messages.front().text));
        const std::vector<Vec3d> points[3] = {linearBlend(limb.character, pose),
                                              dualQuaternionBlend(limb.character, pose),
                                              session.record->points};
        for (std::size_t method = 0; method < 3; ++method) {
            Deformed deformed;
            deformed.points = points[method];
            QualityRow row{trial.shape.name, trialPose.label, kMethods[method], trialPose.amount,
                           measureLimb(limb, deformed.points, &deformed.crossing)};
            const LimbMeasures& m = row.measures;
            if (m.brokenPoints > 0)
                throw HostError(ExitCode::kModuleFailed,
                                trial.shape.name + ", " + trialPose.label + ", " + row.method + ": " +
                                    counted(m.brokenPoints, "point is", "points are") + " not finite");
            deformed.label = trialPose.label + ": " + percent(m.volume) + ", " + percent(m.crossSection);
            if (m.crossingFaces > 0) deformed.label += ", " + std::to_string(m.crossingFaces) + " x";
            all[method].push_back(std::move(deformed));
            report.rows.push_back(std::move(row));
        }
    }
    return all;
}

// One row per method, one camera per pose: methods are to be compared, poses are not. With `joined` the cells
// go behind those of the limbs before.
void addStrip(const QualityJob& job, const Trial& trial, const Limb& limb,
              const std::vector<std::vector<Deformed>>& all, std::vector<SheetRow>& sheet) {
    RenderOptions render;
    render.width = job.width;
    render.height = std::max(static_cast<int>(std::lround(job.width * (job.joined ? 0.72 : trial.tall))), 8);
    render.shadow = false;
    render.background = kPaper;
    const std::vector<OutputMesh> meshes = outputMeshes(limb.character);
    const std::size_t poses = trial.poses.size();
    const std::size_t first =
        job.last > 0 && job.last < static_cast<int>(poses) ? poses - static_cast<std::size_t>(job.last) : 0;
    for (std::size_t method = 0; method < all.size(); ++method) {
        if (!job.joined || sheet.size() <= method) {
            sheet.emplace_back();
            sheet.back().title = (job.joined ? "" : trial.shape.name + ", ") + std::string(kMethods[method]);
        }
    }
    SheetRow* rows = &sheet[sheet.size() - all.size()];
    for (std::size_t p = first; p < poses; ++p) {
        std::vector<Vec3d> seen;
        for (const auto& row : all) seen.insert(seen.end(), row[p].points.begin(), row[p].points.end());
        const Camera camera = makeCamera(seen, trial.view, static_cast<double>(render.width) / render.height);
        for (std::size_t method = 0; method < all.size(); ++method) {
            const Deformed& deformed = all[method][p];
            rows[method].cells.push_back(
                {renderMeshes(meshes, deformed.points, camera, render, colours(limb, deformed.crossing)),
                 (job.joined ? trial.shape.name + " " : "") + deformed.label});
        }
    }
}

Image footOf(const SheetStyle& style) {
    const std::string text =
        "volume over rest, smallest section over rest, x: faces that pass through others (red)";
    Image foot(textWidth(text, style.textHeight) + 4, static_cast<int>(style.textHeight * 1.9), style.paper);
    drawText(foot, 0.0, 2.0, text, style.textHeight, style.ink);
    return foot;
}

std::string settingOf(const Trial& trial, const QualityJob& job) {
    const auto& tweaks = trial.tweaks;
    std::string text = trial.shape.name + ": one block over all " +
                       std::to_string(trial.shape.joints.size()) +
                       " joints, weight 1 everywhere, parameter of the nearest place on the bones";
    if (job.plain || tweaks.empty()) return text + ", no tweaks";
    text += ", tweaks";
    for (const auto& [name, value] : tweaks) {
        char number[32];
        const auto end = std::to_chars(number, number + sizeof number, value);
        text += " " + name + " " + std::string(number, end.ptr);
    }
    return text;
}

} // namespace

LimbReport runQualityJob(const QualityJob& job) {
    std::vector<Trial> trials = chosenTrials(job.only);
    if (!job.tweaks.empty()) {
        const std::map<std::string, float> tweaks = readTweaks(job.tweaks);
        amounts(tweaks);
        for (Trial& trial : trials) trial.tweaks = tweaks;
    }
    if (job.width < 16 || job.width > 2048)
        throw HostError(ExitCode::kUsage, "--width " + std::to_string(job.width) + ": 16 to 2048 expected");
    if (job.last < 0 || ((job.last > 0 || job.joined) && job.picture.empty()))
        throw HostError(ExitCode::kUsage, "--last and --joined go with --picture FILE.png");
    checkPictureName(job.picture);
    chooseVariant(job.variant);
    const Module module(job.module);
    if (!job.picture.empty()) checkWritable(job.picture);

    LimbReport report;
    std::vector<SheetRow> sheet;
    for (const Trial& trial : trials) {
        const Limb limb = makeLimb(trial.shape);
        report.faces = std::max(report.faces, limb.character.pointTriangles().size());
        report.settings.push_back(settingOf(trial, job));
        const auto all = deformAll(job, trial, limb, module, report);
        if (!job.picture.empty()) addStrip(job, trial, limb, all, sheet);
    }
    if (!job.picture.empty()) {
        SheetStyle style;
        style.paper = kPaper;
        style.textHeight = 10.0;
        writePng(job.picture, layOutSheet(sheet, style, footOf(style)));
        report.written.push_back(job.picture);
    }
    return report;
}

} // namespace talvisora::host
