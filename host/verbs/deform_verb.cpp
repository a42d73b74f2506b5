// SPDX-License-Identifier: Apache-2.0
#include "host/capture/json_writer.h"
#include "host/verbs/verbs.h"

#include <cstdio>

namespace talvisora::host {

namespace {

template <class... Values>
std::string format(const char* pattern, Values... values) {
    const int size = std::snprintf(nullptr, 0, pattern, values...);
    std::string text(size > 0 ? static_cast<std::size_t>(size) + 1 : 1, '\0');
    std::snprintf(text.data(), text.size(), pattern, values...);
    text.pop_back(); // the end mark
    return text;
}

// 1234567 → "1.23 M"
std::string rate(double perSecond) {
    if (perSecond >= 1e6) return format("%.2f M", perSecond / 1e6);
    if (perSecond >= 1e3) return format("%.1f k", perSecond / 1e3);
    return format("%.0f", perSecond);
}

std::string summary(const DeformReport& report) {
    std::string text;
    if (report.quality) {
        const QualityReport& quality = *report.quality;
        text +=
            format("against linear blending, %llu frames: rms %.3f %%, max %.2f %% of the size; hard folds "
                   "%llu (linear blend %llu); crease %.2f deg (linear blend %.2f)\n",
                   static_cast<unsigned long long>(quality.frames), quality.rmsPercent, quality.maxPercent,
                   static_cast<unsigned long long>(quality.deformed.hardFolds),
                   static_cast<unsigned long long>(quality.reference.hardFolds),
                   quality.deformed.creaseDegrees, quality.reference.creaseDegrees);
    }
    for (std::size_t k = 0; k < report.written.size(); ++k) {
        if (k == 4 && report.written.size() > 6) {
            text += format("wrote … and %zu more\n", report.written.size() - 4);
            break;
        }
        text += "wrote " + report.written[k] + "\n";
    }
    if (report.device)
        for (const std::string& line : deviceLines(*report.device)) text += line + "\n";
    if (report.frames > 0)
        text += format(
            "%zu frame%s of '%s', %zu points, %zu block%s: %s points/s deforming (%.3f s), %s points/s "
            "in all (%.2f s)\n",
            report.frames, report.frames == 1 ? "" : "s", report.clip.c_str(), report.points, report.blocks,
            report.blocks == 1 ? "" : "s", rate(report.deformRate()).c_str(), report.deformSeconds,
            rate(report.totalRate()).c_str(), report.totalSeconds);
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
    JsonWriter json(2);
    json.beginObject();
    json.key("format").value("talvisora-deform");
    json.key("character").value(report.character);
    json.key("clip").value(report.clip);
    json.key("frames").value(std::uint64_t(report.frames));
    json.key("points").value(std::uint64_t(report.points));
    json.key("vertices").value(std::uint64_t(report.vertices));
    json.key("triangles").value(std::uint64_t(report.triangles));
    json.key("blocks").value(std::uint64_t(report.blocks));
    json.key("records").value(std::uint64_t(report.records));
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
    return json.endObject().text() + "\n";
}

} // namespace

ExitCode runDeformVerb(const DeformJob& job, bool json) {
    const DeformReport report = runDeformJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
