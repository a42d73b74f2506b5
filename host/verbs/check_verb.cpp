// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string summary(const CheckReport& report) {
    std::string text = noteLines(report.notes);
    for (const Finding& finding : report.findings) {
        std::string line = finding.block.empty() ? "" : "block '" + finding.block + "' ";
        if (finding.kind != FindingKind::kChain && !line.empty()) line.back() = ':', line += " ";
        text +=
            oneLine(line + finding.text + (finding.points.empty() ? "" : "; " + pointList(finding.points)));
    }
    if (!report.evaluated) text += "not evaluated: the module refuses such chains\n";
    text += wroteLines(report.pictures);
    const std::size_t count = report.findings.size();
    return text + oneLine(report.target + ": " + counted(report.points, "point") + ", " +
                          counted(report.blocks, "block") + ": " +
                          (count ? counted(count, "finding") : "no findings"));
}

std::string reportJson(const CheckReport& report) {
    ReportJson json("talvisora-check");
    json.key("target").value(report.target);
    json.key("character").value(report.character);
    json.counts({{"points", report.points}, {"blocks", report.blocks}});
    json.key("evaluated").value(report.evaluated);
    json.key("findings").beginArray();
    for (const Finding& finding : report.findings) {
        json.beginObject();
        json.key("kind").value(findingName(finding.kind));
        if (!finding.block.empty()) json.key("block").value(finding.block);
        json.key("text").value(finding.text);
        json.key("count").value(std::uint64_t(finding.points.size()));
        json.key("points").value(finding.points);
        json.endObject();
    }
    json.endArray();
    json.key("notes").value(report.notes);
    json.key("pictures").value(report.pictures);
    return json.done();
}

} // namespace

ExitCode runCheckVerb(const CheckJob& job, bool json) {
    const CheckReport report = runCheckJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return report.findings.empty() ? ExitCode::kDone : ExitCode::kFindings;
}

} // namespace talvisora::host
