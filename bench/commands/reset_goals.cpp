// SPDX-License-Identifier: Apache-2.0
// Three groups, each timed in rounds of its own: the search for nearest samples, resetParams, resetWeights.
#include "bench/commands/reset_goals.h"

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
#include <cstdio>
#include <cstdlib>
#include <list>
#include <random>

#include "bench/commands/tree_search.h"
#include "bench/commands/tube_scene.h"
#include "commands/block_frame.h"
#include "commands/mesh_reach.h"
#include "kernels/dispatch.h"
#include "kernels/nearest_samples.h"

namespace talvisora::bench {
namespace {

const auto kNothing = [] {};

void require(bool good) {
    if (good) return;
    std::fprintf(stderr, "talvisora_bench_commands: a call failed\n");
    std::exit(1);
}

std::unique_ptr<tbb::global_control> oneThreadOnly() {
    return std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism, 1);
}

void keep(Rounds& rounds, const char* mesh, const char* threads, ResetResults& results) {
    for (std::size_t k = 0; k < rounds.candidates().size(); ++k) {
        const Candidate& c = rounds.candidates()[k];
        char line[200];
        std::snprintf(line, sizeof line, "%8zu  %-8s %3s %9.2f %9.3f   %s", c.points, mesh, threads,
                      rounds.nanoseconds(k), 1e-3 * rounds.microseconds(k), c.name.c_str());
        results.texts.push_back(line);
    }
}

std::vector<std::pair<Variant, std::string>> widths() {
    std::vector<std::pair<Variant, std::string>> list;
    for (const auto& [variant, name] :
         {std::pair(Variant::kAvx2, "AVX2"), std::pair(Variant::kAvx512, "AVX-512")})
        if (isAvailable(cpuFeatures(), variant)) list.emplace_back(variant, name);
    return list;
}

/// A bent curve, so that the search has no axis to lean on, and the tube's points bent with it.
void search(const TubeScene& scene, int count, bool shuffled, ResetResults& results) {
    std::vector<Vec3d> joints = scene.joints(), points = scene.points;
    const auto bend = [](Vec3d& p) {
        p.y += 0.8 * std::sin(p.x * 0.6);
        p.z += 0.5 * std::cos(p.x * 0.4);
    };
    for (Vec3d& p : joints) bend(p);
    for (Vec3d& p : points) bend(p);
    if (shuffled) std::shuffle(points.begin(), points.end(), std::mt19937(5));
    const std::vector<CurveSample> samples = sampleCurve(guideCurve(joints, false));
    std::vector<std::int32_t> plain(points.size()), ofTree(points.size());

    const auto oneThread = oneThreadOnly();
    Rounds rounds;
    const std::size_t scalar = rounds.add("nearest of 300, one by one", points.size(), kNothing, [&] {
        for (std::size_t i = 0; i < points.size(); ++i) plain[i] = nearestSample(samples, points[i]).index;
    });
    std::size_t tree = scalar;
    if (hasTree())
        tree = rounds.add("nearest of 300, nanoflann", points.size(), kNothing,
                          [&] { treeSearch(samples, points.data(), points.size(), ofTree.data()); });
    struct Lanes {
        std::string name;
        std::size_t candidate;
        std::vector<std::int32_t> found;
    };
    std::list<Lanes> lanes; // stay where they are
    for (const auto& variant : widths()) {
        const VariantTable& table = variantTable(variant.first);
        Lanes& l = lanes.emplace_back(Lanes{variant.second, 0, std::vector<std::int32_t>(points.size())});
        l.candidate = rounds.add("nearest of 300, lanes " + l.name, points.size(), kNothing, [&] {
            const SampleBoxes boxes(samples);
            nearestSamples(boxes, points.data(), points.size(), {}, kNearestBound, l.found.data(), nullptr,
                           table);
        });
    }
    rounds.run(count);
    if (hasTree()) results.answersAgree = results.answersAgree && ofTree == plain;
    const char* mesh = shuffled ? "shuffled" : "ordered";
    keep(rounds, mesh, "1", results);
    for (const Lanes& l : lanes) {
        results.answersAgree = results.answersAgree && l.found == plain;
        const std::string suffix = " / lanes " + l.name + ", " + mesh;
        if (hasTree())
            results.measures.push_back(
                {"nanoflann" + suffix, rounds.ratio(tree, l.candidate), shuffled ? 2.0 : 4.0, true});
        results.measures.push_back({"one by one" + suffix, rounds.ratio(scalar, l.candidate)});
    }
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

void params(TubeScene& scene, int count, bool oneThread, ResetResults& results) {
    castTo<GrBoolean>(scene.limb->attributes["CACHE_ATTRIBUTES"])->value = false;
    const auto limit = oneThread ? oneThreadOnly() : nullptr;
    const Clock clock = oneThread ? Clock::kProcess : Clock::kWall;
    const std::size_t points = scene.points.size();
    Rounds rounds;
    const std::size_t whole = rounds.add(
        "resetParams, fast", points, kNothing, [&] { require(resetParams(scene.arguments) == 0); }, clock);
    const std::size_t platform = rounds.add(
        "the platform's calls of it alone", points, kNothing, [&] { platformAlone(scene); }, clock);
    const std::size_t evaluations = rounds.add(
        "5 evaluations, CACHE_ATTRIBUTES false", points, [&] { scene.record.points = scene.points; },
        [&] {
            for (int k = 0; k < 5; ++k)
                require(scene.node.deformCpu(scene.limb->attributes, scene.record) == 0);
        },
        clock);
    rounds.run(count);
    const char* threads = oneThread ? "1" : "all";
    keep(rounds, "tube", threads, results);
    const std::string suffix = std::string(", threads: ") + threads;
    results.measures.push_back(
        {"resetParams / 5 evaluations" + suffix, rounds.ratio(whole, evaluations), 1.0});
    results.measures.push_back(
        {"the platform's calls / resetParams" + suffix, rounds.ratio(platform, whole)});
}

void weights(TubeScene& scene, int count, bool oneThread, ResetResults& results) {
    const Curve guide = guideCurve(scene.joints(), false);
    const std::vector<CurveSample> samples = sampleCurve(guide);
    const std::size_t points = scene.points.size();
    std::vector<std::int32_t> nearest(points);
    MeshReach mesh(scene.mesh);
    const auto reach = static_cast<double>(reachOf(mesh.thickness(guide), 1.5));
    const auto limit = oneThread ? oneThreadOnly() : nullptr;
    const Clock clock = oneThread ? Clock::kProcess : Clock::kWall;
    Rounds rounds;
    const std::size_t whole = rounds.add(
        "resetWeights, fast", points, kNothing, [&] { require(resetWeights(scene.arguments) == 0); }, clock);
    const std::size_t parts = rounds.add(
        "its rays and nearest search alone", points, kNothing,
        [&] {
            const SampleBoxes boxes(samples);
            nearestSamplesOfAll(boxes, scene.points.data(), points, {}, nearest.data());
            std::size_t seen = 0;
            for (std::size_t i = 0; i < points; ++i) {
                const CurveSample& s = samples[static_cast<std::size_t>(nearest[i])];
                const Vec3d sample{s.x, s.y, s.z};
                if (reach > safeLength(scene.points[i] - sample))
                    seen += mesh.isFree(scene.points[i], sample);
            }

            require(seen > 0);
        },
        clock);
    rounds.run(count);

    // Built once per mesh and kept, so apart.
    Rounds building;
    building.add(
        "building the acceleration", points,
        [&] {
            MFnMesh queries(scene.mesh);
            queries.freeCachedIntersectionAccelerator();
        },
        [&] {
            MFnMesh queries(scene.mesh);
            MPoint closest;
            queries.getClosestPoint(MPoint(0, 0, 0), closest, MSpace::kObject);
        },
        clock);
    building.run(std::min(count, 3));
    const char* threads = oneThread ? "1" : "all";
    keep(rounds, "tube", threads, results);
    keep(building, "tube", threads, results);
    const bool held = points > 50000 && points < 200000;
    results.measures.push_back({std::string("resetWeights / its rays and search, threads: ") + threads,
                                rounds.ratio(whole, parts), held ? 1.3 : 0.0});
}

} // namespace

ResetResults timeResets(std::size_t points, int rounds) {
    ResetResults results;
    TubeScene scene(points);
    for (bool shuffled : {false, true}) search(scene, rounds, shuffled, results);
    for (bool oneThread : {true, false}) {
        params(scene, rounds, oneThread, results);
        weights(scene, rounds, oneThread, results);
    }
    return results;
}

} // namespace talvisora::bench
