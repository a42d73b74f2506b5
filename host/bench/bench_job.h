// SPDX-License-Identifier: Apache-2.0
// One run of `grhost bench`: how long the module takes for the frames of the user's own character.
#pragma once

#include "host/deform/deform_job.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct BenchJob {
    DeformJob deform; ///< character, clip, frames, rig, module, variant, threads; nothing is written
    int rounds = 5;   ///< times that all frames are evaluated, after one that does not count
};

/// Times of one way to evaluate, over all frames and rounds. Milliseconds of wall time inside the module.
struct BenchTimes {
    std::string what; ///< "caches kept", "caches rebuilt"
    double median = 0.0, fastest = 0.0, slowest = 0.0;
    double nanosecondsPerPoint = 0.0; ///< of the median
};

struct BenchReport {
    std::string character, clip, processor, variant;
    int threads = 0;
    std::size_t points = 0, blocks = 0, frames = 0;
    int rounds = 0;
    double blocksPerPoint = 0.0;
    std::vector<BenchTimes> times;
    std::vector<std::string> notes; ///< warnings of the file and of the rig
};

/// Evaluates on the processor, frame after frame, in the order of the clip. Throws HostError like
/// runDeformJob.
BenchReport runBenchJob(const BenchJob& job);

} // namespace talvisora::host
