// SPDX-License-Identifier: Apache-2.0
// Four groups of candidates, each timed in rounds of its own, and the ratios between them.
#include "bench/goals.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "bench/scene.h"
#include "bench/stopwatch.h"

namespace talvisora::bench {
namespace {

/// A ratio with its figures; `atLeast`: the larger the better.
struct Measure {
    std::string what;
    double ratio;
    double reach, aim;
    bool atLeast = false;

    bool meets(double figure) const { return atLeast ? ratio >= figure : ratio <= figure; }
};

struct Results {
    std::vector<Candidate> timings;
    std::vector<Measure> measures;

    void keep(Rounds& rounds) {
        for (Candidate& c : rounds.candidates()) timings.push_back(std::move(c));
    }
};

/// The variants that the measures speak of and this machine can run, AVX2 first.
struct Width {
    Variant variant;
    const char* name;
    const char* label;
};
std::vector<Width> widths() {
    std::vector<Width> list;
    for (const Width& w :
         {Width{Variant::kAvx2, "avx2", "AVX2"}, Width{Variant::kAvx512, "avx512", "AVX-512"}})
        if (isAvailable(cpuFeatures(), w.variant)) list.push_back(w);
    return list;
}

const Blend<double>& blendOf(const std::vector<Blend<double>>& blends, const char* name) {
    for (const Blend<double>& blend : blends)
        if (std::string(blend.name) == name) return blend;
    return blends.front();
}

/// Of the blends timed so far, the faster one: a machine that has the wide registers has the narrow ones too.
std::size_t fasterBlend(const Rounds& rounds, std::size_t first, std::size_t second) {
    return rounds.nanoseconds(first) < rounds.nanoseconds(second) ? first : second;
}

/// Rounds over scenes; adds what is common to several groups.
class SceneRounds : public Rounds {
public:
    std::size_t pointStage(Scene& scene, const std::string& name, const Width& width,
                           Clock clock = Clock::kProcess) {
        return add(
            name + ", " + width.name, scene.pointCount(), [&scene] { scene.restore(); },
            [&scene, width] { scene.pointStage(variantTable(width.variant)); }, clock,
            [&scene] { return scene.hash(); });
    }
    std::size_t blend(Scene& scene, const std::string& name, const Blend<double>& blend) {
        return add(
            name + ", " + blend.name, scene.pointCount(), [&scene] { scene.restore(); },
            [&scene, blend] { scene.blend(blend, 0, scene.pointCount()); }, Clock::kProcess,
            [&scene] { return scene.hash(); });
    }
};

/// Half a millisecond of work for every thread of the arena.
void keepBusy() {
    tbb::parallel_for(0, 64, [](int) {
        const double end = wallSeconds() + 16e-6;
        while (wallSeconds() < end) {
        }
    });
}

void oneBlock(const GoalOptions& options, Results& results) {
    Scene plain({options.points, 1, false}), tweaks({options.points, 1, true});
    Scene plainShuffled({options.points, 1, false, true}), tweaksShuffled({options.points, 1, true, true});
    SceneRounds rounds;
    const std::size_t bytes = rounds.add(
        "byte-moving loop, 68 B per point", plain.pointCount(), [&] { plain.restore(); },
        [&] { plain.bytes(0, plain.pointCount()); }, Clock::kProcess, [&] { return plain.hash(); });
    for (const Blend<float>& blend : floatBlends())
        rounds.add(
            std::string("linear blend in single precision, ") + blend.name, plain.pointCount(),
            [&] { plain.restoreSkin(); }, [&plain, blend] { plain.blend(blend, 0, plain.pointCount()); },
            Clock::kProcess, [&] { return plain.skinHash(); });
    const std::vector<Blend<double>> blends = doubleBlends();
    struct Row {
        Width width;
        std::size_t blend, plain, tweaks, plainShuffled, tweaksShuffled;
    };
    std::vector<Row> rows;
    for (const Width& w : widths())
        rows.push_back({w, rounds.blend(plain, "linear blend in double precision", blendOf(blends, w.name)),
                        rounds.pointStage(plain, "1 block", w),
                        rounds.pointStage(tweaks, "1 block, all tweaks", w),
                        rounds.pointStage(plainShuffled, "1 block, shuffled", w),
                        rounds.pointStage(tweaksShuffled, "1 block, all tweaks, shuffled", w)});
    const auto literal = [&](Scene& scene, const char* name) {
        return rounds.add(
            name, scene.pointCount(), [&scene] { scene.restore(); }, [&scene] { scene.literalStage(); },
            Clock::kProcess, [&scene] { return scene.hash(); });
    };
    const std::size_t literalPlain = literal(plain, "literal form, 1 block");
    const std::size_t literalTweaks = literal(tweaks, "literal form, 1 block, all tweaks");
    rounds.run(options.rounds);
    for (Row& r : rows) r.blend = fasterBlend(rounds, r.blend, rows.front().blend);

    for (const Row& r : rows) {
        const bool wide = r.width.variant == Variant::kAvx512;
        const std::string of = std::string(", ") + r.width.label;
        auto& m = results.measures;
        m.push_back({"yardstick: tight linear blend over bytes" + of, rounds.ratio(r.blend, bytes),
                     wide ? 2.5 : 3.0, wide ? 2.5 : 3.0});
        m.push_back({"1 block over linear blend" + of, rounds.ratio(r.plain, r.blend), wide ? 1.6 : 1.7,
                     wide ? 1.0 : 1.2});
        m.push_back({"1 block, all tweaks over linear blend" + of, rounds.ratio(r.tweaks, r.blend),
                     wide ? 3.7 : 5.0, wide ? 2.4 : 3.5});
        m.push_back(
            {"1 block over bytes" + of, rounds.ratio(r.plain, bytes), wide ? 3.5 : 4.7, wide ? 2.0 : 3.0});
        if (wide) continue; // the others have one figure, for the width that most machines have
        m.push_back(
            {"1 block, shuffled over ordered" + of, rounds.ratio(r.plainShuffled, r.plain), 1.25, 1.1});
        m.push_back({"1 block, all tweaks, shuffled over ordered" + of,
                     rounds.ratio(r.tweaksShuffled, r.tweaks), 1.25, 1.1});
        m.push_back({"literal form over 1 block" + of, rounds.ratio(literalPlain, r.plain), 50, 75, true});
        m.push_back({"literal form over 1 block, all tweaks" + of, rounds.ratio(literalTweaks, r.tweaks), 22,
                     32, true});
    }
    results.keep(rounds);
}

void twentyBlocks(const GoalOptions& options, Results& results) {
    Scene plain({options.points, 20, false}), tweaks({options.points, 20, true});
    Scene plainShuffled({options.points, 20, false, true}), tweaksShuffled({options.points, 20, true, true});
    SceneRounds rounds;
    const std::vector<Blend<double>> blends = doubleBlends();
    struct Row {
        Width width;
        std::size_t blend, plain, tweaks, plainShuffled, tweaksShuffled;
    };
    std::vector<Row> rows;
    for (const Width& w : widths())
        rows.push_back({w, rounds.blend(plain, "linear blend of 200 joints", blendOf(blends, w.name)),
                        rounds.pointStage(plain, "20 blocks", w),
                        rounds.pointStage(tweaks, "20 blocks, all tweaks", w),
                        rounds.pointStage(plainShuffled, "20 blocks, shuffled", w),
                        rounds.pointStage(tweaksShuffled, "20 blocks, all tweaks, shuffled", w)});
    Scene edited({options.points, 20, false}); // other weights are other results
    const auto whole = [&](const char* name, bool keep, std::size_t painted) {
        return rounds.add(
            std::string(name) + ", avx2", edited.pointCount(),
            [&edited, keep, painted] {
                useVariant(Variant::kAvx2);
                edited.keepCaches(keep);
                edited.nextWeights(painted);
                edited.nextPose();
            },
            [&] { edited.deformCpu(); }, Clock::kProcess, [&] { return edited.hash(); });
    };
    // Ways to be uncached, in an order that matters: where nothing has changed, comparing is enough; where
    // points have, their pairs are found and forgotten; where they stand still again, all pairs are listed
    // anew. The figure is for the first, which is how nearly every frame is; the others are printed to be
    // looked at.
    const std::size_t cached = whole("20 blocks, whole evaluation, cached", true, 0);
    const std::size_t uncached = whole("20 blocks, whole evaluation, uncached", false, 0);
    whole("20 blocks, whole evaluation, uncached, weights of 100 points changed", false, 100);
    whole("20 blocks, whole evaluation, uncached, all weights changed", false, edited.pointCount());
    whole("20 blocks, whole evaluation, uncached, after a change", false, 0);
    rounds.run(options.rounds);
    for (Row& r : rows) r.blend = fasterBlend(rounds, r.blend, rows.front().blend);

    for (const Row& r : rows) {
        const bool wide = r.width.variant == Variant::kAvx512;
        const std::string of = std::string(", ") + r.width.label;
        auto& m = results.measures;
        if (wide) {
            m.push_back({"20 blocks over linear blend" + of, rounds.ratio(r.plain, r.blend), 2.5, 1.6});
            m.push_back(
                {"20 blocks, all tweaks over linear blend" + of, rounds.ratio(r.tweaks, r.blend), 5.5, 3.5});
        }
        m.push_back({"20 blocks, all tweaks, shuffled over ordered" + of,
                     rounds.ratio(r.tweaksShuffled, r.tweaks), wide ? 3.3 : 2.5, 1.5});
    }
    results.measures.push_back({"uncached over cached, AVX2", rounds.ratio(uncached, cached), 6, 4});
    results.keep(rounds);
}

/// Two threads against one. Whole evaluations are there for the small meshes, whose parts are shared only
/// where it pays.
///
/// A thread that sleeps has to be woken, which takes as long as a good part of a small mesh. How long is the
/// machine's affair; so one row is measured with both threads at work just before as well, as in a host that
/// evaluates other nodes of the same frame.
void threads(const GoalOptions& options, Results& results) {
    const Width width = widths().front();
    const std::size_t large = options.points, small = std::max<std::size_t>(options.points / 20, 1);
    enum Kind { kPoints, kPointsAwake, kWhole };
    struct Line {
        LimbOptions limb;
        const char* name;
        Kind kind;
        double reach, aim;
    };
    const Line lines[] = {{{large, 1, false}, "1 block", kPoints, 1.7, 1.9},
                          {{large, 20, true}, "20 blocks, all tweaks", kPoints, 1.7, 1.9},
                          {{small, 1, false}, "1 block", kPoints, 1.3, 1.7},
                          {{small, 1, false}, "1 block, threads awake", kPointsAwake, 1.3, 1.7},
                          {{small, 1, true}, "1 block, all tweaks", kPoints, 1.3, 1.7},
                          {{small, 20, false}, "20 blocks", kPoints, 1.3, 1.7},
                          {{small, 20, true}, "20 blocks, all tweaks", kPoints, 1.3, 1.7},
                          {{20000, 12, false}, "12 blocks, whole evaluation", kWhole, 1.0, 1.3},
                          {{5000, 4, false}, "4 blocks, whole evaluation", kWhole, 0.9, 1.0}};
    for (const Line& line : lines) {
        Scene scene(line.limb);
        SceneRounds rounds;
        tbb::task_arena one(1), two(2);
        const auto add = [&](const char* name, tbb::task_arena& arena) {
            const auto prepare = [&] {
                useVariant(width.variant);
                line.kind == kWhole ? scene.nextPose() : scene.restore();
            };
            const auto evaluate = [&] {
                line.kind == kWhole ? scene.deformCpu() : scene.pointStage(variantTable(width.variant));
            };
            const std::size_t added = rounds.add(
                std::string(line.name) + ", " + name + ", " + width.name, line.limb.points, prepare,
                [&arena, evaluate] { arena.execute(evaluate); }, Clock::kWall,
                [&scene] { return scene.hash(); });
            if (line.kind == kPointsAwake)
                rounds.candidates()[added].justBefore = [&arena] { arena.execute([] { keepBusy(); }); };
            return added;
        };
        const std::size_t single = add("1 thread", one), both = add("2 threads", two);
        rounds.run(3 * options.rounds);
        results.measures.push_back({"two threads, times as fast as one, " + std::to_string(line.limb.points) +
                                        " points, " + line.name,
                                    rounds.ratio(single, both), line.reach, line.aim, true});
        results.keep(rounds);
    }
}

void smallMeshes(const GoalOptions& options, Results& results) {
    Scene fifty({50000, 20, false}), twenty({20000, 12, false});
    SceneRounds rounds;
    const Width first = widths().front();
    const std::size_t rig = rounds.add(
        "rig set-up, 20 blocks, " + std::string(first.name), fifty.pointCount(),
        [&] {
            useVariant(first.variant);
            fifty.nextPose();
        },
        [&] { fifty.rigStage(); }, Clock::kProcess, [&] { return fifty.rigHash(); });
    const std::size_t fiftyPoints = rounds.pointStage(fifty, "20 blocks", first);
    struct Row {
        Width width;
        std::size_t whole, points;
    };
    std::vector<Row> rows;
    for (const Width& w : widths())
        rows.push_back({w,
                        rounds.add(
                            std::string("12 blocks, whole evaluation, ") + w.name, twenty.pointCount(),
                            [&twenty, w] {
                                useVariant(w.variant);
                                twenty.nextPose();
                            },
                            [&] { twenty.deformCpu(); }, Clock::kProcess, [&] { return twenty.hash(); }),
                        rounds.pointStage(twenty, "12 blocks", w)});
    rounds.run(3 * options.rounds);
    results.measures.push_back(
        {"rig set-up of 20 blocks over 50000 points, AVX2", rounds.ratio(rig, fiftyPoints), 0.6, 0.3});
    for (const Row& r : rows) {
        const bool wide = r.width.variant == Variant::kAvx512;
        results.measures.push_back(
            {std::string("12 blocks, 20000 points, whole evaluation over points, ") + r.width.label,
             rounds.ratio(r.whole, r.points), wide ? 1.9 : 1.6, wide ? 1.5 : 1.25});
    }
    results.keep(rounds);
}

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string compilerName() {
#if defined(__clang__)
    return "clang " __clang_version__;
#elif defined(__GNUC__)
    return "g++ " __VERSION__;
#else
    return "another";
#endif
}

const char* verdict(const Measure& m) {
    return m.meets(m.aim) ? "aim" : m.meets(m.reach) ? "reach" : "MISSED";
}

std::string hashText(const Candidate& candidate) {
    char text[17] = "";
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(candidate.hash));
    return text;
}

void printText(const GoalOptions& options, const Results& results) {
    std::printf("%s, %s, medians of %d rounds\n\n%9s %9s %10s  %-16s  %s\n", processorName().c_str(),
                compilerName().c_str(), options.rounds, "points", "ns/point", "us/call", "hash", "what");
    for (const Candidate& c : results.timings) {
        const double call = 1e6 * median(c.seconds);
        std::printf("%9zu %9.2f %10.1f  %-16s  %s\n", c.points, 1e3 * call / static_cast<double>(c.points),
                    call, hashText(c).c_str(), c.name.c_str());
    }
    std::printf("\n%8s %9s %9s  %-7s %s\n", "ratio", "reach", "aim", "", "measure");
    for (const Measure& m : results.measures) {
        const char* sign = m.atLeast ? ">=" : "<=";
        std::printf("%8.2f  %s %5.4g  %s %5.4g  %-7s %s\n", m.ratio, sign, m.reach, sign, m.aim, verdict(m),
                    m.what.c_str());
    }
}

void printJson(const GoalOptions& options, const Results& results) {
    std::printf("{\"processor\": \"%s\", \"compiler\": \"%s\", \"rounds\": %d, \"timings\": [",
                processorName().c_str(), compilerName().c_str(), options.rounds);
    const char* comma = "";
    for (const Candidate& c : results.timings) {
        const double call = 1e6 * median(c.seconds);
        std::printf("%s\n  {\"what\": \"%s\", \"points\": %zu, \"nsPerPoint\": %.4f, \"usPerCall\": %.2f, "
                    "\"hash\": \"%s\"}",
                    comma, c.name.c_str(), c.points, 1e3 * call / static_cast<double>(c.points), call,
                    hashText(c).c_str());
        comma = ",";
    }
    std::printf("\n], \"measures\": [");
    comma = "";
    for (const Measure& m : results.measures) {
        std::printf(
            "%s\n  {\"what\": \"%s\", \"ratio\": %.4f, \"reach\": %g, \"aim\": %g, \"verdict\": \"%s\"}",
            comma, m.what.c_str(), m.ratio, m.reach, m.aim, verdict(m));
        comma = ",";
    }
    std::printf("\n]}\n");
}

} // namespace

bool canRunGoals() {
    return !widths().empty();
}

bool runGoals(const GoalOptions& options) {
    Results results;
    tbb::task_arena one(1); // a limit for the whole process would outlive itself
    for (const std::string& group : options.groups) {
        if (group == "one") one.execute([&] { oneBlock(options, results); });
        if (group == "twenty") one.execute([&] { twentyBlocks(options, results); });
        if (group == "threads") threads(options, results);
        if (group == "small") one.execute([&] { smallMeshes(options, results); });
    }
    options.json ? printJson(options, results) : printText(options, results);
    return std::all_of(results.measures.begin(), results.measures.end(),
                       [](const Measure& m) { return m.meets(m.reach); });
}

} // namespace talvisora::bench
