// SPDX-License-Identifier: Apache-2.0
// Every combination is a scene of its own; inside it the deformer and its yardsticks take turns.
#include "bench/sweep.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <cstdio>
#include <thread>

#include "bench/rounds.h"
#include "bench/scene.h"
#include "bench/stopwatch.h"

namespace talvisora::bench {
namespace {

/// The yardsticks take any range; here they get the same threads as the deformer.
template <class Body>
void overPoints(std::size_t count, bool oneThread, const Body& body) {
    if (oneThread) return body(std::size_t{0}, count);
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, 4096),
                      [&](const tbb::blocked_range<std::size_t>& r) { body(r.begin(), r.end()); });
}

void fill(Rounds& rounds, Scene& scene, bool oneThread) {
    const Clock clock = oneThread ? Clock::kProcess : Clock::kWall;
    const std::size_t points = scene.pointCount();
    const Blend<float> single = floatBlends().back();
    const Blend<double> twice = doubleBlends().back();
    const auto restore = [&scene] { scene.restore(); };
    rounds.add(
        "whole evaluation", points, [&scene] { scene.nextPose(); }, [&scene] { scene.deformCpu(); }, clock,
        [&scene] { return scene.hash(); });
    rounds.add(
        "point stage", points, restore, [&scene] { scene.pointStage(activeTable()); }, clock,
        [&scene] { return scene.hash(); });
    rounds.add(
        "linear blend, single", points, [&scene] { scene.restoreSkin(); },
        [&scene, single, points, oneThread] {
            overPoints(points, oneThread, [&](std::size_t a, std::size_t b) { scene.blend(single, a, b); });
        },
        clock, [&scene] { return scene.skinHash(); });
    rounds.add(
        "linear blend, double", points, restore,
        [&scene, twice, points, oneThread] {
            overPoints(points, oneThread, [&](std::size_t a, std::size_t b) { scene.blend(twice, a, b); });
        },
        clock, [&scene] { return scene.hash(); });
    rounds.add(
        "bytes only", points, restore,
        [&scene, points, oneThread] {
            overPoints(points, oneThread, [&](std::size_t a, std::size_t b) { scene.bytes(a, b); });
        },
        clock, [&scene] { return scene.hash(); });
}

void measure(const SweepOptions& options, Scene& scene, const LimbOptions& limb, bool oneThread,
             const char*& comma) {
    Rounds rounds;
    fill(rounds, scene, oneThread);
    // An arena of its own: the process's one keeps the size that it had when it was first used.
    tbb::task_arena arena(oneThread ? 1 : tbb::task_arena::automatic);
    arena.execute([&] { rounds.run(options.rounds); });
    const std::size_t blend = 3, bytes = 4;
    for (std::size_t c = 0; c < rounds.candidates().size(); ++c) {
        const Candidate& candidate = rounds.candidates()[c];
        const double ns = rounds.nanoseconds(c);
        const char* threads = oneThread ? "1" : "all";
        if (options.json)
            std::printf(
                "%s\n  {\"points\": %zu, \"blocks\": %d, \"tweaks\": %s, \"threads\": \"%s\", \"what\": "
                "\"%s\", "
                "\"nsPerPoint\": %.4f, \"overBlend\": %.4f, \"overBytes\": %.4f, \"pairsPerPoint\": %.3f, "
                "\"hash\": \"%016llx\"}",
                comma, scene.pointCount(), limb.blocks, limb.tweaks ? "true" : "false", threads,
                candidate.name.c_str(), ns, rounds.ratio(c, blend), rounds.ratio(c, bytes),
                static_cast<double>(scene.pairCount()) / static_cast<double>(scene.pointCount()),
                static_cast<unsigned long long>(candidate.hash));
        else
            std::printf("%9zu %6d %6s %7s  %-20s %9.2f %9.1f %8.2f %8.2f  %016llx\n", scene.pointCount(),
                        limb.blocks, limb.tweaks ? "on" : "off", threads, candidate.name.c_str(), ns,
                        1e3 / ns, rounds.ratio(c, blend), rounds.ratio(c, bytes),
                        static_cast<unsigned long long>(candidate.hash));
        comma = ",";
    }
    std::fflush(stdout);
}

} // namespace

void runSweep(const SweepOptions& options) {
    if (options.json) {
        std::printf("{\"variant\": \"%s\", \"blend\": \"%s\", \"threads\": %u, \"rows\": [",
                    activeTable().name, doubleBlends().back().name, std::thread::hardware_concurrency());
    } else {
        std::printf("variant %s, linear blend with 4 influences (%s), %u hardware threads, medians of %d\n",
                    activeTable().name, doubleBlends().back().name, std::thread::hardware_concurrency(),
                    options.rounds);
        std::printf("%9s %6s %6s %7s  %-20s %9s %9s %8s %8s  %s\n", "points", "blocks", "tweaks", "threads",
                    "what", "ns/point", "Mpoint/s", "x blend", "x bytes", "hash of the result");
    }
    const char* comma = "";
    for (std::size_t points : options.points)
        for (int blocks : options.blocks)
            for (bool tweaks : {false, true}) {
                const LimbOptions limb{points, blocks, tweaks};
                Scene scene(limb);
                measure(options, scene, limb, true, comma);
                measure(options, scene, limb, false, comma);
            }
    if (options.json) std::printf("\n]}\n");
}

} // namespace talvisora::bench
