// SPDX-License-Identifier: Apache-2.0
// talvisora_bench_commands: the search for nearest samples next to the plain search and, where its header is
// installed, nanoflann's tree; then the two resets as a whole next to what they consist of. Everything of a
// row group in turn inside every repetition; medians.
#include <maya/MArrayDataBuilder.h>
#include <maya/MArrayDataHandle.h>
#include <maya/MDataHandle.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MPlug.h>
#include <maya/MPoint.h>
#include <maya/MPointArray.h>
#include <maya/MString.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>

#include "bench/commands/tube_scene.h"
#include "commands/block_frame.h"
#include "commands/mesh_reach.h"
#include "kernels/dispatch.h"
#include "kernels/nearest_samples.h"

#if __has_include(<nanoflann.hpp>)
#include <nanoflann.hpp>
#define TALVISORA_HAS_NANOFLANN 1
#endif

namespace talvisora::bench {
namespace {

struct Row {
    std::string name;
    std::function<void()> run;
    std::vector<double> seconds = {};
};

/// Processor time for one thread, wall time for all.
void measure(std::vector<Row>& rows, int repetitions, bool oneThread) {
    std::unique_ptr<tbb::global_control> limit;
    if (oneThread)
        limit = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism, 1);
    for (int r = 0; r <= repetitions; ++r) // the first is a warm-up
        for (Row& row : rows) {
            const double start = oneThread ? processSeconds() : wallSeconds();
            row.run();
            const double end = oneThread ? processSeconds() : wallSeconds();
            if (r > 0) row.seconds.push_back(end - start);
        }
}

void print(const std::vector<Row>& rows, std::size_t points, const char* scene, const char* threads) {
    const double first = median(rows.front().seconds);
    for (const Row& row : rows) {
        const double seconds = median(row.seconds);
        std::printf("%9zu  %-9s %7s  %-34s %10.2f ns/point %10.3f ms %8.2f x\n", points, scene, threads,
                    row.name.c_str(), 1e9 * seconds / static_cast<double>(points), 1e3 * seconds,
                    seconds / first);
    }
    std::fflush(stdout);
}

#if defined(TALVISORA_HAS_NANOFLANN)
struct SampleCloud {
    const std::vector<CurveSample>& samples;
    std::size_t kdtree_get_point_count() const { return samples.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t axis) const {
        return axis == 0 ? samples[i].x : axis == 1 ? samples[i].y : samples[i].z;
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};
using SampleTree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, SampleCloud>,
                                                       SampleCloud, 3, std::uint32_t>;

void treeSearch(const SampleTree& tree, const std::vector<Vec3d>& points,
                std::vector<std::int32_t>& indices) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::uint32_t index = 0;
        double distance = 0.0;
        tree.knnSearch(&points[i].x, 1, &index, &distance);
        indices[i] = static_cast<std::int32_t>(index);
    }
}
#endif

std::size_t differences(const std::vector<std::int32_t>& a, const std::vector<std::int32_t>& b) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) count += a[i] != b[i];
    return count;
}

/// A bent curve, so that the search has no axis to lean on, and the tube's points bent with it.
void searchRows(const TubeScene& scene, int repetitions, bool shuffled) {
    std::vector<Vec3d> joints = scene.joints(), points = scene.points;
    const auto bend = [](Vec3d& p) {
        p.y += 0.8 * std::sin(p.x * 0.6);
        p.z += 0.5 * std::cos(p.x * 0.4);
    };
    for (Vec3d& p : joints) bend(p);
    for (Vec3d& p : points) bend(p);
    if (shuffled) std::shuffle(points.begin(), points.end(), std::mt19937(5));
    const auto samples = sampleCurve(guideCurve(joints, false));
    std::vector<std::int32_t> found(points.size()), plain(points.size()), tree(points.size());
    std::vector<Row> rows;
    rows.push_back({std::string("nearest of 300, lanes ") + activeTable().name, [&] {
                        const SampleBoxes boxes(samples);
                        nearestSamples(boxes, points.data(), points.size(), {}, kNearestBound, found.data());
                    }});
    rows.push_back({"nearest of 300, scalar", [&] {
                        for (std::size_t i = 0; i < points.size(); ++i)
                            plain[i] = nearestSample(samples, points[i]).index;
                    }});
#if defined(TALVISORA_HAS_NANOFLANN)
    const SampleCloud cloud{samples};
    rows.push_back({"nearest of 300, nanoflann, leaf 10", [&] {
                        const SampleTree index(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
                        treeSearch(index, points, tree);
                    }});
#endif
    measure(rows, repetitions, true);
    print(rows, points.size(), shuffled ? "shuffled" : "ordered", "1");
    if (const std::size_t wrong = differences(found, plain)) {
        std::fprintf(stderr, "talvisora_bench_commands: %zu answers differ from the plain search\n", wrong);
        std::exit(1);
    }
#if defined(TALVISORA_HAS_NANOFLANN)
    std::printf("%9zu  answers of the tree that differ: %zu\n", points.size(), differences(tree, plain));
#endif
}

void require(int status) {
    if (status == 0) return;
    std::fprintf(stderr, "talvisora_bench_commands: a call failed\n");
    std::exit(1);
}

/// The calls that resetParams makes to the platform, with nothing between them.
void platformAlone(TubeScene& scene) {
    MFnMesh mesh(scene.mesh);
    MPointArray points;
    mesh.getPoints(points, MSpace::kObject);
    MFnDependencyNode node(scene.node.object);
    MPlug blocks = node.findPlug(MString("block"), false);
    MPlug block = blocks.elementByLogicalIndex(0);
    MPlug plug = block.child(node.attribute(MString("params")));
    MDataHandle handle = plug.asMDataHandle();
    MArrayDataHandle array(handle);
    MArrayDataBuilder builder = array.builder();
    for (unsigned int i = 0; i < points.length(); ++i) {
        MDataHandle element = builder.addElement(i);
        element.setFloat(0.5f);
    }
    array.set(builder);
    plug.setMDataHandle(handle);
    plug.destructHandle(handle);
}

void paramsRows(TubeScene& scene, int repetitions, bool oneThread) {
    castTo<GrBoolean>(scene.limb->attributes["CACHE_ATTRIBUTES"])->value = false;
    std::vector<Row> rows;
    rows.push_back({"resetParams, fast", [&] { require(resetParams(scene.arguments)); }});
    rows.push_back({"of it the platform's calls", [&] { platformAlone(scene); }});
    rows.push_back({"5 evaluations, caching off", [&] {
                        scene.record.points = scene.points;
                        for (int k = 0; k < 5; ++k)
                            require(scene.node.deformCpu(scene.limb->attributes, scene.record));
                    }});
    measure(rows, repetitions, oneThread);
    print(rows, scene.points.size(), "tube", oneThread ? "1" : "all");
}

void weightsRows(TubeScene& scene, int repetitions, bool oneThread) {
    const Curve guide = guideCurve(scene.joints(), false);
    const auto samples = sampleCurve(guide);
    std::vector<std::int32_t> nearest(scene.points.size());
    MeshReach mesh(scene.mesh);
    const auto reach = static_cast<double>(reachOf(mesh.thickness(guide), 1.5));
    std::vector<Row> rows;
    rows.push_back({"resetWeights, fast", [&] { require(resetWeights(scene.arguments)); }});
    rows.push_back({"of it rays and nearest search", [&] {
                        const SampleBoxes boxes(samples);
                        nearestSamplesOfAll(boxes, scene.points.data(), scene.points.size(), {},
                                            nearest.data());
                        std::size_t seen = 0;
                        for (std::size_t i = 0; i < nearest.size(); ++i) {
                            const CurveSample& s = samples[static_cast<std::size_t>(nearest[i])];
                            const Vec3d sample{s.x, s.y, s.z};
                            if (reach > safeLength(scene.points[i] - sample))
                                seen += mesh.isFree(scene.points[i], sample);
                        }
                        require(seen > 0 ? 0 : 1);
                    }});
    rows.push_back({"apart: building the acceleration", [&] {
                        MFnMesh queries(scene.mesh);
                        queries.freeCachedIntersectionAccelerator();
                        MPoint closest;
                        queries.getClosestPoint(MPoint(0, 0, 0), closest, MSpace::kObject);
                    }});
    measure(rows, repetitions, oneThread);
    print(rows, scene.points.size(), "tube", oneThread ? "1" : "all");
}

} // namespace
} // namespace talvisora::bench

int main(int argc, char** argv) {
    using namespace talvisora::bench;
    std::vector<std::size_t> sizes{10000, 100000, 1000000};
    int repetitions = 5;
    for (int i = 1; i < argc; i += 2) {
        const long value = i + 1 < argc ? std::strtol(argv[i + 1], nullptr, 10) : 0;
        if (std::strcmp(argv[i], "--points") == 0 && value >= 100 && value <= 10000000) {
            sizes = {static_cast<std::size_t>(value)};
        } else if (std::strcmp(argv[i], "--repetitions") == 0 && value >= 1 && value <= 1000) {
            repetitions = static_cast<int>(value);
        } else {
            std::fprintf(stderr, "usage: talvisora_bench_commands [--points N] [--repetitions 5]\n"
                                 "TALVISORA_CPU=avx2 (or another variant) lowers the variant.\n");
            return 2;
        }
    }
    std::printf("variant %s, medians of %d; 1 thread in processor time, all threads in wall time\n",
                talvisora::activeTable().name, repetitions);
    for (std::size_t size : sizes) {
        TubeScene scene(size);
        searchRows(scene, repetitions, false);
        searchRows(scene, repetitions, true);
        for (bool oneThread : {true, false}) {
            paramsRows(scene, repetitions, oneThread);
            weightsRows(scene, repetitions, oneThread);
        }
    }
    return 0;
}
