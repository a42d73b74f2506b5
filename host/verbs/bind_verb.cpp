// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/rig_file/npy.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string reportJson(const BindReport& report) {
    ReportJson json("talvisora-bind", 2);
    json.key("character").value(report.character);
    json.key("output").value(report.output);
    json.counts({{"points", report.points}, {"leftBehind", report.leftBehind}});
    json.key("blocksPerPoint").value(report.blocksPerPoint);
    json.key("blocks").beginArray();
    for (const BlockLine& block : report.blocks) {
        json.beginObject();
        json.key("name").value(block.name);
        json.key("firstJoint").value(block.firstJoint).key("lastJoint").value(block.lastJoint);
        json.key("records").value(std::uint64_t(block.records)).key("end").value(block.end);
        json.key("simple").value(block.simple).key("points").value(std::uint64_t(block.points));
        json.key("meanWeight").value(block.meanWeight);
        json.endObject();
    }
    json.endArray();
    json.key("notes").value(report.notes);
    json.key("pictures").value(report.pictures);
    return json.done();
}

std::string summary(const BindReport& report) {
    std::string text = blockTable(report.blocks) + leftBehindLine(report.leftBehind, report.points);
    text += wroteLines(report.pictures);
    return text + "wrote " + report.output + ": " + counted(report.blocks.size(), "block") + " over " +
           counted(report.points, "point") + "\n";
}

// "@FILE": the chains stand in a file.
std::string chainsOf(const std::string& text) {
    if (text.empty() || text[0] != '@') return text;
    try {
        return readRegularFile(text.substr(1));
    } catch (const HostError& error) {
        throw HostError(error.code, "--blocks: cannot use '" + text.substr(1) + "': " + error.what());
    }
}

} // namespace

ExitCode runBindVerb(BindJob job, bool json) {
    job.blocks.chains = chainsOf(job.blocks.chains);
    const BindReport report = runBindJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
