// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

#include <algorithm>

namespace talvisora::host {

namespace {

// To the left of a column that is so wide.
std::string padded(const std::string& text, std::size_t width) {
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string summary(const BenchReport& report) {
    std::string text = "'" + report.clip + "', " + counted(report.frames, "frame") + ", " +
                       counted(report.points, "point") + ", " + counted(report.blocks, "block") + " (" +
                       fixedNumber(report.blocksPerPoint, 2) + " per point); variant " + report.variant +
                       ", " + counted(std::uint64_t(report.threads), "thread") + ", " +
                       counted(std::uint64_t(report.rounds), "round") + "\n";
    for (const BenchTimes& times : report.times)
        text += times.what +
                padded(fixedNumber(times.median, 3), 24 - std::min<std::size_t>(times.what.size(), 15)) +
                " ms per frame (" + fixedNumber(times.fastest, 3) + " to " + fixedNumber(times.slowest, 3) +
                "), " + fixedNumber(times.nanosecondsPerPoint, 1) + " ns per point\n";
    return text;
}

std::string reportJson(const BenchReport& report) {
    ReportJson json("talvisora-bench", 2);
    json.key("character").value(report.character);
    json.key("clip").value(report.clip);
    json.key("processor").value(report.processor);
    json.key("variant").value(report.variant);
    json.key("threads").value(report.threads);
    json.key("frames").value(std::uint64_t(report.frames));
    json.key("rounds").value(report.rounds);
    json.counts({{"points", report.points}, {"blocks", report.blocks}});
    json.key("blocksPerPoint").value(report.blocksPerPoint);
    for (const BenchTimes& times : report.times) {
        json.key(times.what == "caches kept" ? "cachesKept" : "cachesRebuilt").beginObject();
        json.key("medianMilliseconds").value(times.median);
        json.key("fastestMilliseconds").value(times.fastest);
        json.key("slowestMilliseconds").value(times.slowest);
        json.key("nanosecondsPerPoint").value(times.nanosecondsPerPoint).endObject();
    }
    json.key("notes").value(report.notes);
    return json.done();
}

} // namespace

ExitCode runBenchVerb(const BenchJob& job, bool json) {
    const BenchReport report = runBenchJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.deform.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
