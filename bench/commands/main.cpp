// SPDX-License-Identifier: Apache-2.0
// talvisora_bench_commands: the resets beside their yardsticks, for meshes of three sizes. This file is the
// command line and the print-out.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/commands/reset_goals.h"
#include "bench/commands/tree_search.h"

int main(int argc, char** argv) {
    using namespace talvisora::bench;
    std::vector<std::size_t> sizes{10000, 100000, 1000000};
    int rounds = 9;
    for (int i = 1; i < argc; i += 2) {
        const long value = i + 1 < argc ? std::strtol(argv[i + 1], nullptr, 10) : 0;
        if (std::strcmp(argv[i], "--points") == 0 && value >= 100 && value <= 10000000) {
            sizes = {static_cast<std::size_t>(value)};
        } else if (std::strcmp(argv[i], "--rounds") == 0 && value >= 1 && value <= 1000) {
            rounds = static_cast<int>(value);
        } else {
            std::fprintf(stderr, "usage: talvisora_bench_commands [--points N] [--rounds 9]\n"
                                 "Exit status 1: a measure missed its figure, or answers differ.\n");
            return 2;
        }
    }
    if (!hasTree()) std::printf("built without nanoflann (Debian: libnanoflann-dev)\n");
    std::printf("medians of %d rounds; 1 thread in processor time, all threads in wall time\n", rounds);
    bool good = true;
    for (const std::size_t size : sizes) {
        const ResetResults results = timeResets(size, rounds);
        std::printf("\n%8s  %-8s %3s %9s %9s   what\n", "points", "mesh", "thr", "ns/point", "ms/call");
        for (const std::string& text : results.texts) std::printf("%s\n", text.c_str());
        std::printf("%8s %9s %-7s measure\n", "ratio", "figure", "");
        for (const ResetMeasure& m : results.measures) {
            char figure[32] = "";
            if (m.figure != 0.0)
                std::snprintf(figure, sizeof figure, "%s %.3g", m.atLeast ? ">=" : "<=", m.figure);
            std::printf("%8.2f %9s %-7s %s\n", m.ratio, figure, m.meets() ? "" : "MISSED", m.what.c_str());
            good = good && m.meets();
        }
        std::printf("answers of all searches: %s\n", results.answersAgree ? "the same" : "DIFFERENT");
        std::fflush(stdout);
        good = good && results.answersAgree;
    }
    return good ? 0 : 1;
}
