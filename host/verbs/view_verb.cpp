// SPDX-License-Identifier: Apache-2.0
#include "host/capture/json_writer.h"
#include "host/figures.h"
#include "host/verbs/point_list.h"
#include "host/verbs/verbs.h"
#include "host/view/view_job.h"

namespace talvisora::host {

namespace {

std::string summary(const ViewReport& report) {
    std::string ways;
    for (const std::string& way : report.ways) ways += (ways.empty() ? "" : ", ") + way;
    std::string text = "wrote " + report.output + " (" + std::to_string((report.bytes + 999) / 1000) +
                       " kB): " + counted(report.frames, "frame") + " of '" + report.clip + "', " +
                       counted(report.points, "point") + ", " + counted(report.blocks, "block") + "; " + ways;
    if (!report.gpu.empty()) text += "; beside " + report.gpu;
    return oneLine(text);
}

std::string reportJson(const ViewReport& report) {
    JsonWriter json;
    json.beginObject();
    json.key("format").value("talvisora-view-report");
    json.key("output").value(report.output);
    json.key("clip").value(report.clip);
    json.key("frames").value(std::uint64_t(report.frames));
    json.key("points").value(std::uint64_t(report.points));
    json.key("blocks").value(std::uint64_t(report.blocks));
    json.key("ways").value(report.ways);
    json.key("bytes").value(report.bytes);
    if (!report.gpu.empty()) json.key("gpu").value(report.gpu).key("gpuLargest").value(report.gpuLargest);
    json.key("notes").value(report.notes);
    return json.endObject().text() + "\n";
}

} // namespace

ExitCode runViewVerb(const ViewJob& job, bool json) {
    const ViewReport report = runViewJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
