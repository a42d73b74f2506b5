// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

// 1234567 → "1.23 M"
std::string rate(double perSecond) {
    if (perSecond >= 1e6) return fixedNumber(perSecond / 1e6, 2) + " M";
    if (perSecond >= 1e3) return fixedNumber(perSecond / 1e3, 1) + " k";
    return fixedNumber(perSecond, 0);
}

std::string summary(const DeformReport& report) {
    std::string text;
    if (report.quality) {
        const QualityReport& quality = *report.quality;
        text += "against linear blending, " + counted(quality.frames, "frame") + ": rms " +
                fixedNumber(quality.rmsPercent, 3) + " %, max " + fixedNumber(quality.maxPercent, 2) +
                " % of the size; hard folds " + std::to_string(quality.deformed.hardFolds) +
                " (linear blend " + std::to_string(quality.reference.hardFolds) + "); crease " +
                fixedNumber(quality.deformed.creaseDegrees, 2) + " deg (linear blend " +
                fixedNumber(quality.reference.creaseDegrees, 2) + ")\n";
    }
    for (std::size_t k = 0; k < report.written.size(); ++k) {
        if (k == 4 && report.written.size() > 6) {
            text += "wrote … and " + std::to_string(report.written.size() - 4) + " more\n";
            break;
        }
        text += "wrote " + report.written[k] + "\n";
    }
    if (report.device)
        for (const std::string& line : deviceLines(*report.device)) text += line + "\n";
    if (report.frames > 0)
        text += counted(report.frames, "frame") + " of '" + report.clip + "', " +
                counted(report.points, "point") + ", " + counted(report.blocks, "block") + ": " +
                rate(report.deformRate()) + " points/s deforming (" + fixedNumber(report.deformSeconds, 3) +
                " s), " + rate(report.totalRate()) + " points/s in all (" +
                fixedNumber(report.totalSeconds, 2) + " s)\n";
    return text;
}

void writeSurface(JsonWriter& json, const SurfaceReport& surface) {
    json.beginObject();
    json.key("creaseDegrees").value(surface.creaseDegrees).key("hardFolds").value(surface.hardFolds);
    json.key("edgeLow").value(surface.edgeLow).key("edgeHigh").value(surface.edgeHigh);
    json.key("volumeLow").value(surface.volumeLow).key("volumeHigh").value(surface.volumeHigh);
    json.endObject();
}

std::string reportJson(const DeformReport& report) {
    ReportJson json("talvisora-deform", 2);
    json.key("character").value(report.character);
    json.key("clip").value(report.clip);
    json.counts({{"frames", report.frames},
                 {"points", report.points},
                 {"vertices", report.vertices},
                 {"triangles", report.triangles},
                 {"blocks", report.blocks},
                 {"records", report.records}});
    json.key("blocksPerPoint").value(report.blocksPerPoint);
    json.key("leftBehind").value(report.leftBehind);
    json.key("deformSeconds").value(report.deformSeconds);
    json.key("totalSeconds").value(report.totalSeconds);
    json.key("deformPointsPerSecond").value(report.deformRate());
    json.key("totalPointsPerSecond").value(report.totalRate());
    if (report.quality) {
        json.key("baseline").beginObject();
        json.key("frames").value(report.quality->frames);
        json.key("diagonal").value(report.quality->diagonal);
        json.key("rmsPercent").value(report.quality->rmsPercent);
        json.key("maxPercent").value(report.quality->maxPercent);
        writeSurface(json.key("deformed"), report.quality->deformed);
        writeSurface(json.key("linearBlend"), report.quality->reference);
        json.endObject();
    }
    if (report.device) {
        const DeviceReport& device = *report.device;
        json.key("device").beginObject();
        json.key("name").value(device.device);
        json.key("cpuFrames").value(std::uint64_t(device.cpuFrames));
        json.key("gpuFrames").value(std::uint64_t(device.gpuFrames));
        json.key("gpuMessages").value(std::uint64_t(device.gpuMessages));
        if (device.kernelMilliseconds >= 0.0) json.key("kernelMilliseconds").value(device.kernelMilliseconds);
        if (!device.fallback.empty()) json.key("fallback").value(device.fallback);
        if (device.first) {
            json.key("firstFrameDifference").beginObject();
            json.key("largest").value(device.first->largest);
            json.key("share").value(device.first->share(device.first->largest));
            json.key("point").value(device.first->worstPoint).endObject();
        }
        json.key("line").value(device.line);
        json.endObject();
    }
    json.key("notes").value(report.notes);
    json.key("written").value(report.written);
    return json.done();
}

} // namespace

ExitCode runDeformVerb(const DeformJob& job, bool json) {
    const DeformReport report = runDeformJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
