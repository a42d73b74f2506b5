// SPDX-License-Identifier: Apache-2.0
// talvisora_bench_gpu: the OpenCL program's times on the first OpenCL device, with the measures that it is
// held to on a GPU. This file is the command line and the table.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "bench/gpu/program_times.h"
#include "kernels/dispatch.h"
#include "kernels/program_text.h"

namespace talvisora::bench {
namespace {

struct Options {
    std::vector<std::size_t> points; ///< empty: what suits the device
    std::vector<int> blocks = {1, 20};
    int rounds = 9;
    bool json = false;
};

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

std::string plainProgram() {
    const std::string path = std::string(TALVISORA_SOURCE_DIR) + "/tests/reference/plain_program.cl";
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot open " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Whether the row reaches what a GPU must: with ten million points of one block at least half of the copy
/// bandwidth without tweaks and 0.4 of it with them, and six times the plain form's speed. Other rows and
/// devices are not held to anything.
bool isHeld(const device::OpenClDevice& device, const LimbOptions& limb) {
    return !device.isCpu() && limb.points == 10000000 && limb.blocks == 1;
}

bool reaches(const LimbOptions& limb, const ProgramTimes& t) {
    return t.copyShare >= (limb.tweaks ? 0.4 : 0.5) && (t.plainOverKernel == 0.0 || t.plainOverKernel >= 6.0);
}

void printRow(const LimbOptions& limb, const ProgramTimes& t, const char* verdict, bool json, bool first) {
    const double n = static_cast<double>(limb.points);
    if (json) {
        std::printf("%s\n  {\"points\": %zu, \"blocks\": %d, \"tweaks\": %s, \"bytesPerPoint\": %.2f, "
                    "\"kernelMilliseconds\": %.4f, \"copyGigabytesPerSecond\": %.2f, \"copyShare\": %.4f, "
                    "\"plainMilliseconds\": %.4f, \"plainOverKernel\": %.3f, \"cpuMilliseconds\": %.4f, "
                    "\"cpuOverKernel\": %.4f, \"largestDifference\": %.3g}",
                    first ? "" : ",", limb.points, limb.blocks, limb.tweaks ? "true" : "false",
                    t.bytesPerPoint, 1e3 * t.kernelSeconds, 1e-9 * t.copyBytesPerSecond, t.copyShare,
                    1e3 * t.plainSeconds, t.plainOverKernel, 1e3 * t.cpuSeconds, t.cpuOverKernel,
                    t.largestDifference);
    } else {
        char plain[32] = "-";
        if (t.plainOverKernel > 0.0) std::snprintf(plain, sizeof plain, "%.2f", t.plainOverKernel);
        std::printf("%9zu %6d %6s %8.1f %10.3f %8.1f %8.1f %8.1f%% %8s %8.2f %10.1e %s\n", limb.points,
                    limb.blocks, limb.tweaks ? "on" : "off", t.bytesPerPoint, 1e3 * t.kernelSeconds,
                    1e-6 * n / t.kernelSeconds, 1e-9 * t.copyBytesPerSecond, 100 * t.copyShare, plain,
                    t.cpuOverKernel, t.largestDifference, verdict);
    }
    std::fflush(stdout);
}

/// Exit status: 0, or 1 when a measure missed its figure.
int run(const device::OpenClDevice& device, const Options& options) {
    const device::Kernel kernel = device.compile(programText(), kProgramEntry);
    const device::Kernel plain = device.compile(plainProgram(), kProgramEntry);
    if (options.json)
        std::printf("{\"device\": \"%s\", \"isCpu\": %s, \"variant\": \"%s\", \"rounds\": %d, \"rows\": [",
                    device.name().c_str(), device.isCpu() ? "true" : "false", activeTable().name,
                    options.rounds);
    else
        std::printf("%s (%s), work-groups of %zu; the processor's variant is %s; medians of %d rounds\n"
                    "%9s %6s %6s %8s %10s %8s %8s %9s %8s %8s %10s\n",
                    device.name().c_str(), device.isCpu() ? "a processor, no GPU" : "a GPU",
                    device.workGroupSize(kernel), activeTable().name, options.rounds, "points", "blocks",
                    "tweaks", "byte/pt", "kernel ms", "Mpoint/s", "copy GB", "of copy", "x plain", "x cpu",
                    "difference");
    int status = 0;
    bool first = true;
    for (std::size_t points : options.points)
        for (int blocks : options.blocks)
            for (bool tweaks : {false, true}) {
                LimbOptions limb;
                limb.points = points;
                limb.blocks = blocks;
                limb.tweaks = tweaks;
                const ProgramTimes times = timeProgram(device, kernel, plain, limb, options.rounds);
                const bool held = isHeld(device, limb), missed = held && !reaches(limb, times);
                if (missed) status = 1;
                printRow(limb, times, missed ? "MISSED" : held ? "reached" : "", options.json, first);
                first = false;
            }
    if (options.json) std::printf("\n]}\n");
    return status;
}

int runProgram(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : "";
        std::vector<int> rounds;
        if (name == "--json") {
            options.json = true;
        } else if (name == "--points" && readList(value, options.points)) {
            ++i;
        } else if (name == "--blocks" && readList(value, options.blocks)) {
            ++i;
        } else if (name == "--rounds" && readList(value, rounds)) {
            options.rounds = rounds.front();
            ++i;
        } else {
            std::fprintf(stderr,
                         "usage: talvisora_bench_gpu [--points 100000,1000000,10000000] [--blocks 1,20] "
                         "[--rounds 9] [--json]\n"
                         "TALVISORA_TEST_DEVICE=1 takes the second OpenCL device, and so on.\n"
                         "Exit status 1: a GPU missed a figure that it must reach, or something failed.\n");
            return 2;
        }
    }
    std::string whyNot;
    const auto device = device::OpenClDevice::open(whyNot);
    if (options.points.empty() && device)
        options.points = device->isCpu() ? std::vector<std::size_t>{100000, 1000000}
                                         : std::vector<std::size_t>{100000, 1000000, 10000000};
    if (!device) {
        std::fprintf(stderr, "talvisora_bench_gpu: %s\n", whyNot.c_str());
        return 1;
    }
    return run(*device, options);
}

} // namespace
} // namespace talvisora::bench

int main(int argc, char** argv) {
    try {
        return talvisora::bench::runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "talvisora_bench_gpu: %s\n", error.what());
        return 1;
    }
}
