// SPDX-License-Identifier: Apache-2.0
// talvisora_bench: the measures that the deformer is held to, or a sweep over sizes. This file is the command
// line and nothing else.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "bench/check_baselines.h"
#include "bench/goals.h"
#include "bench/sweep.h"

namespace talvisora::bench {
namespace {

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

bool readGroups(const char* text, std::vector<std::string>& groups) {
    const std::vector<std::string> known = groups;
    groups.clear();
    std::istringstream list(text);
    for (std::string group; std::getline(list, group, ',');) {
        if (std::find(known.begin(), known.end(), group) == known.end()) return false;
        groups.push_back(group);
    }
    return !groups.empty();
}

int runProgram(int argc, char** argv) {
    GoalOptions goals;
    SweepOptions sweep;
    bool sweeps = false, onlyChecks = false;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : "";
        std::vector<int> rounds;
        if (name == "--json") {
            goals.json = sweep.json = true;
        } else if (name == "--sweep") {
            sweeps = true;
        } else if (name == "--check") {
            onlyChecks = true;
        } else if (name == "--points" && readList(value, sweep.points)) {
            goals.points = sweep.points.back();
            ++i;
        } else if (name == "--blocks" && readList(value, sweep.blocks)) {
            ++i;
        } else if (name == "--rounds" && readList(value, rounds)) {
            goals.rounds = sweep.rounds = rounds.front();
            ++i;
        } else if (name == "--groups" && readGroups(value, goals.groups)) {
            ++i;
        } else {
            std::fprintf(
                stderr,
                "usage: talvisora_bench [--groups one,twenty,threads,small] [--points 1000000] "
                "[--rounds 9] [--json]\n"
                "       talvisora_bench --sweep [--points 10000,100000] [--blocks 1,20] [--rounds 7] "
                "[--json]\n"
                "       talvisora_bench --check    only sees to it that the yardsticks work\n"
                "TALVISORA_CPU=avx2 (or another variant) lowers the variant of the sweep.\n"
                "Exit status 1: a measure missed the figure that it must reach, or a yardstick is wrong.\n");
            return 2;
        }
    }
    const std::string wrong = wrongBaseline();
    if (!wrong.empty()) {
        std::fprintf(stderr, "talvisora_bench: %s\n", wrong.c_str());
        return 1;
    }
    if (onlyChecks) return 0;
    if (sweeps) {
        runSweep(sweep);
        return 0;
    }
    if (!canRunGoals()) {
        std::fprintf(stderr, "talvisora_bench: the measures are held to figures for AVX2, which this machine "
                             "does not offer; --sweep runs on any\n");
        return 2;
    }
    return runGoals(goals) ? 0 : 1;
}

} // namespace
} // namespace talvisora::bench

int main(int argc, char** argv) {
    return talvisora::bench::runProgram(argc, argv);
}
