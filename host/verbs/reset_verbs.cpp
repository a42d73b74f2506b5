// SPDX-License-Identifier: Apache-2.0
#include "host/capture/json_writer.h"
#include "host/text_table.h"
#include "host/verbs/point_list.h"
#include "host/verbs/verbs.h"

#include <cstdio>

namespace talvisora::host {

namespace {

std::string shortNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

std::string summary(const ResetReport& report, const char* command) {
    std::vector<std::vector<std::string>> rows = {{"block", "points changed", "min", "mean", "max"}};
    for (const ResetLine& line : report.blocks)
        rows.push_back({line.block, std::to_string(line.changed), shortNumber(line.least),
                        shortNumber(line.mean), shortNumber(line.most)});
    std::string text = alignedTable(rows, 1);
    if (report.leftBehind > 0)
        text += std::to_string(report.leftBehind) + " of " + std::to_string(report.points) +
                " points are left behind in part: no block takes all of them; see grhost check\n";
    text += wroteLines(report.pictures);
    return text + "wrote " + report.output + ": " + command + " on " + std::to_string(report.reset) +
           (report.reset == 1 ? " block, " : " blocks, ") + std::to_string(report.selected) + " of " +
           std::to_string(report.points) + " points\n";
}

std::string reportJson(const ResetReport& report, const char* command) {
    JsonWriter json(2);
    json.beginObject();
    json.key("format").value("talvisora-reset");
    json.key("command").value(command);
    json.key("rig").value(report.rig);
    json.key("character").value(report.character);
    json.key("output").value(report.output);
    json.key("points").value(std::uint64_t(report.points));
    json.key("selected").value(std::uint64_t(report.selected));
    json.key("leftBehind").value(std::uint64_t(report.leftBehind));
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
    return json.endObject().text() + "\n";
}

} // namespace

ExitCode runResetVerb(const ResetJob& job, bool json) {
    const ResetReport report = runResetJob(job);
    const char* command = resetCommandName(job.kind);
    printTalk({report.notes, summary(report, command), reportJson(report, command)}, json, false);
    return ExitCode::kDone;
}

} // namespace talvisora::host
