// SPDX-License-Identifier: Apache-2.0
#include "host/capture/json_writer.h"
#include "host/verbs/verbs.h"

#include <cstdio>

namespace talvisora::host {

namespace {

std::string summary(const BenchReport& report) {
    char text[512];
    std::snprintf(
        text, sizeof text,
        "'%s', %zu frame%s, %zu points, %zu blocks (%.2f per point); variant %s, %d thread%s, %d rounds\n",
        report.clip.c_str(), report.frames, report.frames == 1 ? "" : "s", report.points, report.blocks,
        report.blocksPerPoint, report.variant.c_str(), report.threads, report.threads == 1 ? "" : "s",
        report.rounds);
    std::string all = text;
    for (const BenchTimes& times : report.times) {
        std::snprintf(text, sizeof text, "%-15s %8.3f ms per frame (%.3f to %.3f), %.1f ns per point\n",
                      times.what.c_str(), times.median, times.fastest, times.slowest,
                      times.nanosecondsPerPoint);
        all += text;
    }
    return all;
}

std::string reportJson(const BenchReport& report) {
    JsonWriter json(2);
    json.beginObject();
    json.key("format").value("talvisora-bench");
    json.key("character").value(report.character);
    json.key("clip").value(report.clip);
    json.key("processor").value(report.processor);
    json.key("variant").value(report.variant);
    json.key("threads").value(report.threads);
    json.key("frames").value(std::uint64_t(report.frames));
    json.key("rounds").value(report.rounds);
    json.key("points").value(std::uint64_t(report.points));
    json.key("blocks").value(std::uint64_t(report.blocks));
    json.key("blocksPerPoint").value(report.blocksPerPoint);
    for (const BenchTimes& times : report.times) {
        json.key(times.what == "caches kept" ? "cachesKept" : "cachesRebuilt").beginObject();
        json.key("medianMilliseconds").value(times.median);
        json.key("fastestMilliseconds").value(times.fastest);
        json.key("slowestMilliseconds").value(times.slowest);
        json.key("nanosecondsPerPoint").value(times.nanosecondsPerPoint).endObject();
    }
    json.key("notes").value(report.notes);
    return json.endObject().text() + "\n";
}

} // namespace

ExitCode runBenchVerb(const BenchJob& job, bool json) {
    const BenchReport report = runBenchJob(job);
    printTalk({report.notes, summary(report), reportJson(report)}, json, job.deform.quiet);
    return ExitCode::kDone;
}

} // namespace talvisora::host
