// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/text_table.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string summary(const ResetReport& report, const char* command) {
    std::vector<std::vector<std::string>> rows = {{"block", "points changed", "min", "mean", "max"}};
    for (const ResetLine& line : report.blocks)
        rows.push_back({line.block, std::to_string(line.changed), fixedNumber(line.least, 3),
                        fixedNumber(line.mean, 3), fixedNumber(line.most, 3)});
    std::string text = alignedTable(rows, 1);
    text += leftBehindLine(report.leftBehind, report.points, "; see grhost check");
    text += wroteLines(report.pictures);
    return text + "wrote " + report.output + ": " + command + " on " + counted(report.reset, "block") + ", " +
           std::to_string(report.selected) + " of " + counted(report.points, "point") + "\n";
}

std::string reportJson(const ResetReport& report, const char* command) {
    ReportJson json("talvisora-reset", 2);
    json.key("command").value(command);
    json.key("rig").value(report.rig);
    json.key("character").value(report.character);
    json.key("output").value(report.output);
    json.counts(
        {{"points", report.points}, {"selected", report.selected}, {"leftBehind", report.leftBehind}});
    json.key("blocks").beginArray();
    for (const ResetLine& line : report.blocks) {
        json.beginObject();
        json.key("name").value(line.block).key("changed").value(std::uint64_t(line.changed));
        json.key("min").value(line.least).key("mean").value(line.mean).key("max").value(line.most);
        json.endObject();
    }
    json.endArray();
    json.key("notes").value(report.notes);
    json.key("pictures").value(report.pictures);
    return json.done();
}

} // namespace

ExitCode runResetVerb(const ResetJob& job, bool json) {
    const ResetReport report = runResetJob(job);
    const char* command = resetCommandName(job.kind);
    printTalk({report.notes, summary(report, command), reportJson(report, command)}, json, false);
    return ExitCode::kDone;
}

} // namespace talvisora::host
