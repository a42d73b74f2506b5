// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string summary(const MirrorReport& report) {
    const MirrorResult& result = report.result;
    std::string text = noteLines(report.notes);
    for (const auto& pair : result.pairs) text += oneLine("paired: " + pair.first + ", " + pair.second);
    for (const std::string& name : result.centre) text += oneLine("centre: " + name);
    if (!result.unmatched.empty())
        text += "without a partner, left as they were; " + pointList(result.unmatched) + "\n";
    text += wroteLines(report.pictures);
    return text + oneLine("wrote " + report.output + ": " + counted(result.mirrored, "point") +
                          " mirrored, " + std::to_string(result.seam) + " on the seam, " +
                          std::to_string(result.unmatched.size()) + " unmatched");
}

std::string reportJson(const MirrorReport& report) {
    const MirrorResult& result = report.result;
    ReportJson json("talvisora-mirror");
    json.key("rig").value(report.rig);
    json.key("output").value(report.output);
    json.key("points").value(std::uint64_t(report.points));
    json.key("pairs").beginArray();
    for (const auto& pair : result.pairs) json.beginArray().value(pair.first).value(pair.second).endArray();
    json.endArray();
    json.key("centre").value(result.centre);
    json.counts({{"mirrored", result.mirrored}, {"seam", result.seam}});
    json.key("unmatched").value(result.unmatched);
    json.key("notes").value(report.notes);
    json.key("pictures").value(report.pictures);
    return json.done();
}

std::string summary(const TransferReport& report) {
    const TransferResult& result = report.result;
    std::string text = noteLines(report.notes);
    if (!result.unmatched.empty())
        text += "too far from the old surface, filled from their neighbours; " + pointList(result.unmatched) +
                "\n";
    if (result.islands > 0)
        text += counted(result.islands, "point") +
                " of them without neighbours that lead there: closest place, far away\n";
    text += wroteLines(report.pictures);
    return text + oneLine("wrote " + report.output + ": " + std::to_string(report.pointsBefore) + " to " +
                          counted(report.points, "point") + ", " + std::to_string(result.unmatched.size()) +
                          " unmatched, the others at most " + shortNumber(result.farthest) +
                          " from the old surface");
}

std::string reportJson(const TransferReport& report) {
    ReportJson json("talvisora-transfer");
    json.key("rig").value(report.rig);
    json.key("character").value(report.character);
    json.key("output").value(report.output);
    json.counts({{"pointsBefore", report.pointsBefore}, {"points", report.points}});
    json.key("unmatched").value(report.result.unmatched);
    json.key("islands").value(std::uint64_t(report.result.islands));
    json.key("farthest").value(report.result.farthest);
    json.key("notes").value(report.notes);
    json.key("pictures").value(report.pictures);
    return json.done();
}

} // namespace

ExitCode runMirrorVerb(const MirrorJob& job, bool json) {
    const MirrorReport report = runMirrorJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return ExitCode::kDone;
}

ExitCode runTransferVerb(const TransferJob& job, bool json) {
    const TransferReport report = runTransferJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return ExitCode::kDone;
}

} // namespace talvisora::host
