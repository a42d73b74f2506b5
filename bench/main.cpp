// SPDX-License-Identifier: Apache-2.0
// talvisora_bench: one whole evaluation, its point stage alone, linear-blend skinning of the same mesh and a
// loop that only moves the bytes, in turn inside every repetition. Before each timed call the points are
// restored and the caches are cooled by reading a large buffer, both untimed. Prints medians, ratios of this
// run, and a hash of the deformed points, so that speed never hides a changed result.
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "bench/baselines.h"
#include "bench/limb_scene.h"
#include "bench/stopwatch.h"
#include "kernels/deform_points.h"
#include "kernels/dispatch.h"
#include "node/my_node.h"
#include "rig/rig_arrays.h"

namespace talvisora::bench {
namespace {

struct Options {
    std::vector<std::size_t> points = {10000, 100000, 1000000};
    std::vector<int> blocks = {1, 20};
    int repetitions = 7;
    bool json = false;
};

/// One thing that is timed: what puts its input back, and the call.
struct Candidate {
    const char* name;
    std::function<void()> restore;
    std::function<void()> run;
    std::vector<double> seconds;
};

/// Reads a buffer larger than the last-level cache.
void coolCaches() {
    static const std::vector<char> buffer(96u << 20, 1);
    static volatile long sink = 0;
    long sum = 0;
    for (std::size_t i = 0; i < buffer.size(); i += 64) sum += buffer[i];
    sink = sink + sum;
}

std::uint64_t hashOf(const std::vector<Vec3d>& points) {
    std::uint64_t hash = 1469598103934665603ull;
    for (const Vec3d& p : points) {
        std::uint64_t bits[3];
        std::memcpy(bits, &p, sizeof bits);
        for (std::uint64_t b : bits) hash = (hash ^ b) * 1099511628211ull;
    }
    return hash;
}

/// The yardsticks take any range; here they get the same threads as the deformer.
template <class Body>
void overPoints(std::size_t count, bool oneThread, const Body& body) {
    if (oneThread) return body(std::size_t{0}, count);
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, 4096),
                      [&](const tbb::blocked_range<std::size_t>& r) { body(r.begin(), r.end()); });
}

class Scene {
public:
    explicit Scene(const LimbOptions& options) : limb_(options) {
        node_.sharedInputs["Hier limb"] = limb_.hierarchy;
        record_.points = limb_.restPoints;
        record_.weights.assign(limb_.restPoints.size(), 1.0f);
        if (node_.deformCpu(limb_.attributes, record_) != 0) {
            std::fprintf(stderr, "talvisora_bench: the evaluation failed\n");
            std::exit(1);
        }
        hash_ = hashOf(record_.points);
        const std::size_t n = limb_.restPoints.size();
        blendIn_.resize(3 * n);
        blendOut_.resize(3 * n + 1);
        for (std::size_t i = 0; i < n; ++i) {
            blendIn_[3 * i] = static_cast<float>(limb_.restPoints[i].x);
            blendIn_[3 * i + 1] = static_cast<float>(limb_.restPoints[i].y);
            blendIn_[3 * i + 2] = static_cast<float>(limb_.restPoints[i].z);
        }
    }

    std::size_t pointCount() const { return limb_.restPoints.size(); }
    std::size_t pairCount() const { return node_.activePairs.pairCount(); }
    std::uint64_t hash() const { return hash_; }

    std::vector<Candidate> candidates(bool oneThread) {
        const auto restore = [this] { record_.points = limb_.restPoints; };
        const auto nothing = [] {};
        const char* blendName = "";
        const BlendFunction blend = widestBlend(blendName);
        return {
            {"deformCpu", restore, [this] { (void)node_.deformCpu(limb_.attributes, record_); }, {}},
            {"point stage", restore, [this] { deformPoints(pointStage(), node_.activePairs); }, {}},
            {"linear blend",
             nothing,
             [this, blend, oneThread] {
                 const SkinJob job{blendIn_.data(),           blendOut_.data(),
                                   limb_.skinJoints.data(),   limb_.skinWeights.data(),
                                   limb_.skinMatrices.data(), pointCount()};
                 // The last point's spare float would reach into the next range: ranges keep it inside.
                 overPoints(pointCount(), oneThread, [&](std::size_t a, std::size_t b) { blend(job, a, b); });
             },
             {}},
            {"bytes only",
             nothing,
             [this, oneThread] {
                 const ByteJob job{&record_.points[0].x, record_.weights.data(),   node_.blockWeights.data(),
                                   node_.params.data(),  node_.ordersStart.data(), node_.ordersEnd.data()};
                 overPoints(pointCount(), oneThread,
                            [&](std::size_t a, std::size_t b) { moveBytes(job, a, b); });
             },
             {}},
        };
    }

private:
    PointStage pointStage() {
        const RigArrays& rig = *node_.rigArrays;
        PointStage stage;
        stage.points = record_.points.data();
        stage.pointCount = record_.points.size();
        stage.pointWeights = record_.weights.data();
        stage.pointWeightCount = record_.weights.size();
        stage.geoMatrix = &castTo<GrMatrix>(limb_.attributes["talvisora__geoMatrix"])->value;
        stage.geoMatrixInverse = &node_.geoMatrixInverse;
        stage.blockCount = node_.blockCount;
        stage.ordersStart = node_.ordersStart.data();
        stage.ordersEnd = node_.ordersEnd.data();
        stage.blockWeights = node_.blockWeights.data();
        stage.params = node_.params.data();
        stage.weightMaps = node_.weightMaps.data();
        stage.blocks = rig.blocks.data();
        stage.knots = rig.knots.data();
        stage.cvMatrices = rig.cvMatrices.data();
        stage.cvBaseMatrices = rig.cvBaseMatrices.data();
        stage.cvBaseMatricesInverse = rig.cvBaseMatricesInverse.data();
        stage.tweaks = node_.tweaks.data();
        stage.tweakVectors = rig.tweakVectors.data();
        return stage;
    }

    LimbScene limb_;
    MyNode node_;
    DeformRecord record_;
    std::vector<float> blendIn_, blendOut_;
    std::uint64_t hash_ = 0;
};

void measure(const Options& options, Scene& scene, const LimbOptions& limb, bool oneThread, bool& firstRow) {
    std::unique_ptr<tbb::global_control> limit;
    if (oneThread)
        limit = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism, 1);
    std::vector<Candidate> candidates = scene.candidates(oneThread);
    for (int r = 0; r <= options.repetitions; ++r) // the first is a warm-up
        for (Candidate& candidate : candidates) {
            candidate.restore();
            coolCaches();
            const double start = oneThread ? processSeconds() : wallSeconds();
            candidate.run();
            const double end = oneThread ? processSeconds() : wallSeconds();
            if (r > 0) candidate.seconds.push_back(end - start);
        }
    const double n = static_cast<double>(scene.pointCount());
    const double blend = median(candidates[2].seconds), bytes = median(candidates[3].seconds);
    for (const Candidate& candidate : candidates) {
        const double seconds = median(candidate.seconds);
        if (options.json) {
            std::printf(
                "%s\n  {\"points\": %zu, \"blocks\": %d, \"tweaks\": %s, \"threads\": \"%s\", \"what\": "
                "\"%s\", \"nsPerPoint\": %.4f, \"overBlend\": %.4f, \"overBytes\": %.4f, "
                "\"pairsPerPoint\": %.3f, \"hash\": \"%016llx\"}",
                firstRow ? "" : ",", scene.pointCount(), limb.blocks, limb.tweaks ? "true" : "false",
                oneThread ? "1" : "all", candidate.name, 1e9 * seconds / n, seconds / blend, seconds / bytes,
                static_cast<double>(scene.pairCount()) / n, static_cast<unsigned long long>(scene.hash()));
            firstRow = false;
        } else {
            std::printf("%9zu %6d %6s %7s  %-12s %9.2f %9.1f %8.2f %8.2f  %016llx\n", scene.pointCount(),
                        limb.blocks, limb.tweaks ? "on" : "off", oneThread ? "1" : "all", candidate.name,
                        1e9 * seconds / n, 1e-6 * n / seconds, seconds / blend, seconds / bytes,
                        static_cast<unsigned long long>(scene.hash()));
        }
    }
    std::fflush(stdout);
}

void run(const Options& options) {
    const char* blendName = "";
    widestBlend(blendName);
    if (options.json) {
        std::printf("{\"variant\": \"%s\", \"blend\": \"%s\", \"threads\": %u, \"rows\": [",
                    activeTable().name, blendName, std::thread::hardware_concurrency());
    } else {
        std::printf(
            "variant %s, linear blend in single precision with 4 influences (%s), %u hardware threads, "
            "medians of %d\n",
            activeTable().name, blendName, std::thread::hardware_concurrency(), options.repetitions);
        std::printf("%9s %6s %6s %7s  %-12s %9s %9s %8s %8s  %s\n", "points", "blocks", "tweaks", "threads",
                    "what", "ns/point", "Mpoint/s", "x blend", "x bytes", "hash of the result");
    }
    bool firstRow = true;
    for (std::size_t points : options.points)
        for (int blocks : options.blocks)
            for (bool tweaks : {false, true}) {
                const LimbOptions limb{points, blocks, tweaks};
                Scene scene(limb);
                measure(options, scene, limb, true, firstRow);
                measure(options, scene, limb, false, firstRow);
            }
    if (options.json) std::printf("\n]}\n");
}

/// A comma-separated list of whole numbers of at least 1; false for anything else.
template <class T>
bool readList(const char* text, std::vector<T>& values) {
    values.clear();
    for (const char* at = text; *at;) {
        char* end = nullptr;
        const long long value = std::strtoll(at, &end, 10);
        if (end == at || value < 1 || value > 100000000) return false;
        values.push_back(static_cast<T>(value));
        at = *end == ',' ? end + 1 : end;
        if (*end && *end != ',') return false;
    }
    return !values.empty();
}

bool readOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : "";
        std::vector<int> repetitions;
        if (name == "--json") {
            options.json = true;
        } else if (name == "--points" && readList(value, options.points)) {
            ++i;
        } else if (name == "--blocks" && readList(value, options.blocks)) {
            ++i;
        } else if (name == "--repetitions" && readList(value, repetitions)) {
            options.repetitions = repetitions.front();
            ++i;
        } else {
            return false;
        }
    }
    return true;
}

} // namespace
} // namespace talvisora::bench

int main(int argc, char** argv) {
    talvisora::bench::Options options;
    if (!talvisora::bench::readOptions(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: talvisora_bench [--points 10000,100000] [--blocks 1,20] [--repetitions 7] "
                     "[--json]\nTALVISORA_CPU=avx2 (or another variant) lowers the variant.\n");
        return 2;
    }
    talvisora::bench::run(options);
    return 0;
}
