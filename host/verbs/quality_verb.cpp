// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/text_table.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string summary(const LimbReport& report) {
    std::vector<std::vector<std::string>> rows = {
        {"limb", "pose", "method", "volume", "smallest section", "largest edge", "crossing faces"}};
    for (const QualityRow& row : report.rows) {
        const LimbMeasures& m = row.measures;
        rows.push_back({row.limb, row.pose, row.method, fixedNumber(m.volume, 3),
                        fixedNumber(m.crossSection, 3), fixedNumber(m.edgeStretch, 2),
                        std::to_string(m.crossingFaces)});
    }
    std::string text;
    for (const std::string& line : report.settings) text += oneLine(line);
    text += alignedTable(rows, 3);
    text += "volume, section and edge are over rest; up to " + counted(report.faces, "face") + " in a limb\n";
    return text + wroteLines(report.written);
}

std::string reportJson(const LimbReport& report) {
    ReportJson json("talvisora-quality");
    json.key("settings").value(report.settings);
    json.key("faces").value(std::uint64_t(report.faces));
    json.key("rows").beginArray();
    for (const QualityRow& row : report.rows) {
        json.beginObject();
        json.key("limb").value(row.limb);
        json.key("pose").value(row.pose);
        json.key("amount").value(row.amount);
        json.key("method").value(row.method);
        json.key("volume").value(row.measures.volume);
        json.key("crossSection").value(row.measures.crossSection);
        json.key("edgeStretch").value(row.measures.edgeStretch);
        json.key("crossingFaces").value(std::uint64_t(row.measures.crossingFaces));
        json.endObject();
    }
    json.endArray();
    json.key("written").value(report.written);
    return json.done();
}

} // namespace

ExitCode runQualityVerb(const QualityJob& job, bool json) {
    const LimbReport report = runQualityJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return ExitCode::kDone;
}

} // namespace talvisora::host
