// SPDX-License-Identifier: Apache-2.0
#include "host/doctor/system_facts.h"

#include "host/module_loader.h"
#include "kernels/cpu_features.h"
#include "kernels/dispatch.h"

#include <CLI/Version.hpp>
#include <assimp/version.h>
#include <tbb/version.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#if defined(__unix__)
#include <sched.h>
#include <sys/utsname.h>
#endif

namespace talvisora::host {

namespace {

constexpr const char* kVariantNames[] = {"sse2", "sse4.1", "avx", "avx2", "avx512"};

// Value of the first line "KEY<separator>VALUE" of a text file; empty when there is none.
std::string lineOf(const char* path, const std::string& key, char separator) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t at = line.find(separator);
        if (at == std::string::npos) continue;
        std::string name = line.substr(0, at), value = line.substr(at + 1);
        name.erase(name.find_last_not_of(" \t") + 1);
        if (name != key) continue;
        value.erase(0, value.find_first_not_of(" \t\""));
        value.erase(value.find_last_not_of(" \t\"") + 1);
        return value;
    }
    return {};
}

std::uint64_t kibibytes(const std::string& text) {
    return std::strtoull(text.c_str(), nullptr, 10) * 1024;
}

std::string compilerName() {
#if defined(__clang__)
    return std::string("clang ") + __clang_version__;
#elif defined(__GNUC__)
    return std::string("g++ ") + __VERSION__;
#elif defined(_MSC_VER)
    return "MSVC " + std::to_string(_MSC_FULL_VER);
#else
    return {};
#endif
}

NamedTexts installedPackages() {
    NamedTexts packages;
#if defined(__linux__)
    std::FILE* list = popen("dpkg-query -W -f='${db:Status-Status} ${Package} ${Version}\\n' "
                            "g++ cmake libtbb12 libassimp5 ocl-icd-libopencl1 pocl-opencl-icd oclgrind "
                            "nvidia-opencl-icd mesa-opencl-icd intel-opencl-icd assimp-testmodels "
                            "2>/dev/null </dev/null",
                            "r");
    if (!list) return packages;
    char state[32], name[128], version[128];
    while (std::fscanf(list, "%31s %127s %127[^\n]", state, name, version) == 3)
        if (std::string(state) == "installed") packages.emplace_back(name, version);
    pclose(list);
#endif
    return packages;
}

std::string assimpVersion() {
    return std::to_string(aiGetVersionMajor()) + "." + std::to_string(aiGetVersionMinor()) + "." +
           std::to_string(aiGetVersionPatch());
}

} // namespace

SystemFacts systemFacts() {
    SystemFacts facts;
    facts.system = lineOf("/etc/os-release", "PRETTY_NAME", '=');
#if defined(__unix__)
    utsname about{};
    if (uname(&about) == 0)
        facts.kernel = std::string(about.sysname) + " " + about.release + " " + about.machine;
#elif defined(_WIN32)
    facts.system = "Windows";
#endif
    facts.compiler = compilerName();
    facts.libraries = {
        {"assimp", assimpVersion()}, {"oneTBB", TBB_runtime_version()}, {"CLI11", CLI11_VERSION}};
    facts.packages = installedPackages();
    facts.memoryBytes = kibibytes(lineOf("/proc/meminfo", "MemTotal", ':'));
    facts.availableBytes = kibibytes(lineOf("/proc/meminfo", "MemAvailable", ':'));
    return facts;
}

ProcessorFacts processorFacts() {
    ProcessorFacts facts;
    facts.name = lineOf("/proc/cpuinfo", "model name", ':');
    facts.cores = std::thread::hardware_concurrency();
#if defined(__linux__)
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0) facts.cores = static_cast<unsigned>(CPU_COUNT(&set));
#endif
    const CpuFeatures usable = cpuFeatures();
    facts.features = {{"sse2", usable.sse2},
                      {"sse4.1", usable.sse41},
                      {"avx", usable.avx},
                      {"avx2", usable.avx2},
                      {"avx512", usable.avx512}};
    const char* asked = std::getenv("TALVISORA_CPU");
    if (asked) facts.asked = asked;
    facts.understood = facts.asked.empty() || isVariantName(facts.asked);
    Variant variant;
    if (talvisora::chooseVariant(usable, asked, variant))
        facts.variant = kVariantNames[static_cast<int>(variant)];
    return facts;
}

NamedTexts environmentFacts() {
    NamedTexts set;
    for (const char* name :
         {"TALVISORA_CPU", "TALVISORA_OPENCL_LIBRARY", "OCL_ICD_VENDORS", "OCL_ICD_FILENAMES",
          "OPENCL_VENDOR_PATH", "POCL_DEVICES", "POCL_CACHE_DIR", "CUDA_VISIBLE_DEVICES", "LD_PRELOAD"})
        if (const char* value = std::getenv(name)) set.emplace_back(name, value);
    return set;
}

} // namespace talvisora::host
