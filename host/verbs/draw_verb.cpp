// SPDX-License-Identifier: Apache-2.0
#include "host/draw/draw_job.h"
#include "host/figures.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string summary(const DrawReport& report) {
    std::string text = noteLines(report.notes);
    std::string line = report.output + ": " + report.pose + ", " + counted(report.blocks, "block") + ", " +
                       counted(report.lines, "line");
    if (report.labels + report.hiddenLabels + report.crowdedLabels > 0)
        line += ", " + counted(report.labels, "label") + " (" + std::to_string(report.hiddenLabels) +
                " hidden or outside, " + std::to_string(report.crowdedLabels) + " left out for room)";
    if (report.straightJoints > 0)
        line += "; " + counted(report.straightJoints, "straight joint has", "straight joints have") +
                " no tweak vectors";
    return text + oneLine(line);
}

std::string reportJson(const DrawReport& report) {
    ReportJson json("talvisora-draw");
    json.key("output").value(report.output);
    json.key("pose").value(report.pose);
    json.counts({{"width", report.width},
                 {"height", report.height},
                 {"calls", report.calls},
                 {"blocks", report.blocks},
                 {"straightJoints", report.straightJoints},
                 {"lines", report.lines},
                 {"labels", report.labels},
                 {"hiddenLabels", report.hiddenLabels},
                 {"crowdedLabels", report.crowdedLabels}});
    json.key("notes").value(report.notes);
    return json.done();
}

} // namespace

ExitCode runDrawVerb(const DrawJob& job, bool json) {
    const DrawReport report = runDrawJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return ExitCode::kDone;
}

} // namespace talvisora::host
