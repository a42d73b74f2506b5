// SPDX-License-Identifier: Apache-2.0
#include "host/capture/json_writer.h"
#include "host/draw/draw_job.h"
#include "host/figures.h"
#include "host/verbs/point_list.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string summary(const DrawReport& report) {
    std::string text;
    for (const std::string& note : report.notes) text += oneLine("note: " + note);
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
    JsonWriter json;
    json.beginObject();
    json.key("format").value("talvisora-draw");
    json.key("output").value(report.output);
    json.key("pose").value(report.pose);
    json.key("width").value(std::uint64_t(report.width));
    json.key("height").value(std::uint64_t(report.height));
    json.key("calls").value(std::uint64_t(report.calls));
    json.key("blocks").value(std::uint64_t(report.blocks));
    json.key("straightJoints").value(std::uint64_t(report.straightJoints));
    json.key("lines").value(std::uint64_t(report.lines));
    json.key("labels").value(std::uint64_t(report.labels));
    json.key("hiddenLabels").value(std::uint64_t(report.hiddenLabels));
    json.key("crowdedLabels").value(std::uint64_t(report.crowdedLabels));
    json.key("notes").value(report.notes);
    return json.endObject().text() + "\n";
}

} // namespace

ExitCode runDrawVerb(const DrawJob& job, bool json) {
    const DrawReport report = runDrawJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return ExitCode::kDone;
}

} // namespace talvisora::host
