// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
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
    ReportJson json("talvisora-view-report");
    json.key("output").value(report.output);
    json.key("clip").value(report.clip);
    json.counts({{"frames", report.frames}, {"points", report.points}, {"blocks", report.blocks}});
    json.key("ways").value(report.ways);
    json.key("bytes").value(report.bytes);
    if (!report.gpu.empty()) json.key("gpu").value(report.gpu).key("gpuLargest").value(report.gpuLargest);
    json.key("notes").value(report.notes);
    return json.done();
}

} // namespace

ExitCode runViewVerb(const ViewJob& job, bool json) {
    const ViewReport report = runViewJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
