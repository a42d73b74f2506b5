// SPDX-License-Identifier: Apache-2.0
// The frames go by as they would on a time line: every evaluation has another pose than the one before.
#include "host/bench/bench_job.h"

#include "host/deform/stage.h"
#include "host/doctor/system_facts.h"
#include "host/progress.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace talvisora::host {

namespace {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Seconds of one evaluation of a frame; a failure ends the run.
double timeFrame(Stage& stage, const std::string& character, int frame) {
    stage.pose(frame);
    const CallResult result = stage.session().deformCpu();
    if (!result.threw && result.status == 0) return result.seconds;
    std::string why = result.threw ? "the module threw '" + result.thrown + "'"
                                   : "the module answered status " + std::to_string(result.status);
    if (!result.messages.empty()) why += " and said: " + result.messages.front().text;
    throw HostError(ExitCode::kModuleFailed, character + ": frame " + std::to_string(frame) + ": " + why);
}

BenchTimes timeFrames(Stage& stage, const BenchJob& job, const std::vector<int>& frames, bool keepCaches,
                      std::size_t points, Progress& progress) {
    castTo<GrBoolean>(stage.session().attributes["CACHE_ATTRIBUTES"])->value = keepCaches;
    std::vector<double> seconds;
    for (int round = 0; round <= job.rounds; ++round)
        for (const int frame : frames) {
            const double time = timeFrame(stage, job.deform.character, frame);
            if (round > 0) seconds.push_back(time);
            progress.advance();
        }
    BenchTimes times;
    times.what = keepCaches ? "caches kept" : "caches rebuilt";
    times.median = 1e3 * median(seconds);
    times.fastest = 1e3 * *std::min_element(seconds.begin(), seconds.end());
    times.slowest = 1e3 * *std::max_element(seconds.begin(), seconds.end());
    times.nanosecondsPerPoint = points ? 1e6 * times.median / static_cast<double>(points) : 0.0;
    return times;
}

} // namespace

BenchReport runBenchJob(const BenchJob& job) {
    chooseVariant(job.deform.variant);
    DeformInputs inputs(job.deform);
    inputs.buildRig();
    const Module module(job.deform.module);
    Stage stage(inputs, module, "grhost_bench");

    BenchReport report;
    report.character = job.deform.character;
    report.clip = inputs.clip->name;
    const ProcessorFacts processor = processorFacts();
    report.processor = processor.name;
    report.variant = processor.variant;
    report.threads =
        job.deform.threads > 0 ? job.deform.threads : static_cast<int>(std::thread::hardware_concurrency());
    report.points = inputs.character.points.size();
    report.blocks = inputs.rig.blocks.size();
    report.blocksPerPoint = inputs.rig.blocksPerPoint();
    report.frames = inputs.frames.size();
    report.rounds = job.rounds;
    report.notes = inputs.character.warnings;
    report.notes.insert(report.notes.end(), inputs.rig.notes.begin(), inputs.rig.notes.end());

    Progress progress("frames", 2 * inputs.frames.size() * (static_cast<std::size_t>(job.rounds) + 1),
                      job.deform.quiet);
    for (const bool keep : {true, false})
        report.times.push_back(timeFrames(stage, job, inputs.frames, keep, report.points, progress));
    progress.finish();
    return report;
}

} // namespace talvisora::host
