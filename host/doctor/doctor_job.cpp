// SPDX-License-Identifier: Apache-2.0
// Order: system, processor, module, then OpenCL and the self checks, each rehearsed in a child process as
// long as this one has neither threads nor drivers.
#include "host/doctor/doctor_job.h"

#include "headless/opencl/devices.h"
#include "host/character/reading/rehearsal.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>

#include <sys/stat.h>

namespace talvisora::host {

namespace {

using reading::Rehearsal;

constexpr int kMostSeconds = 60; // of processor time for a rehearsal
constexpr std::size_t kMostDevices = 8;

std::string timeOf(const std::string& path) {
    struct stat about {};
    if (stat(path.c_str(), &about) != 0) return {};
    const std::time_t seconds = about.st_mtime;
    char text[32];
    const std::tm* utc = std::gmtime(&seconds);
    return utc && std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", utc) ? text : "";
}

std::optional<Module> lookAtModule(const std::string& path, ModuleFacts& facts) {
    facts.path = path.empty() ? defaultModulePath() : path;
    std::error_code error;
    const auto size = std::filesystem::file_size(facts.path, error);
    if (!error) facts.bytes = size;
    facts.changed = timeOf(facts.path);
    try {
        std::optional<Module> module(std::in_place, facts.path);
        facts.loaded = true;
        facts.exports = {"create"};
        for (const char* name : {"help", "checkFloatingPoints", "resetParams", "resetWeights"})
            if (module->command(name)) facts.exports.push_back(name);
        return module;
    } catch (const HostError& failure) {
        facts.failure = failure.what();
        return std::nullopt;
    }
}

std::vector<DeviceFacts> listDevices(std::string& missing) {
    std::vector<DeviceFacts> list;
    for (const headless::OpenCLDevice& device : headless::openCLDevices(&missing))
        list.push_back({device.number, device.name, device.vendor, device.kind, device.version, device.driver,
                        device.platform, device.platformVersion, device.usable, device.computeUnits,
                        device.largestWorkGroup, device.globalBytes, device.largestBuffer});
    if (!list.empty()) missing.clear();
    return list;
}

void checkDevices(const Module& module, int threads, std::vector<SelfCheck>& checks) {
    std::string missing;
    const std::vector<DeviceFacts> devices = listDevices(missing);
    for (std::size_t k = 0; k < std::min(devices.size(), kMostDevices); ++k)
        if (devices[k].usable) checks.push_back(checkDevice(module, devices[k].number, threads));
}

std::string ended(Rehearsal rehearsal) {
    return rehearsal == Rehearsal::kCrashed ? "crashes" : "does not come to an end";
}

// Words for an empty list of devices.
std::string cureFor(const std::string& missing) {
    if (missing.find("library") != std::string::npos)
        return "install an OpenCL loader and a driver: scripts/setup, or Debian's ocl-icd-libopencl1 with "
               "pocl-opencl-icd (CPU) or the driver of the graphics card";
    if (missing.find("platform") != std::string::npos)
        return "install a driver: Debian's pocl-opencl-icd (CPU) or the one of the graphics card; when "
               "OCL_ICD_VENDORS is set, it must name a folder with .icd files";
    return "install the driver of the graphics card, or Debian's pocl-opencl-icd; see that this user may use "
           "the device";
}

void diagnose(DoctorReport& report) {
    const auto ail = [&report](const std::string& what, const std::string& cure) {
        report.ailments.push_back({what, cure});
    };
    if (report.processor.variant.empty())
        ail("the processor has no SSE 2", "the deformer needs it; use another machine");
    if (!report.processor.understood)
        ail("TALVISORA_CPU is '" + report.processor.asked + "', which is no variant and is ignored",
            "use avx512, avx2, avx, sse4.1 or sse2, or unset it");
    if (!report.module.loaded)
        ail(report.module.failure, "build it with scripts/build, or name one with --module FILE");
    else if (report.module.exports.size() < 5)
        ail("the module lacks commands that this grhost knows", "build module and grhost from the same tree");
    if (!report.openclMissing.empty())
        ail("no evaluation on a GPU: " + report.openclMissing, cureFor(report.openclMissing));
    for (const DeviceFacts& device : report.devices)
        if (!device.usable)
            ail("OpenCL device " + std::to_string(device.number) + " (" + device.name + ") cannot be used",
                "it is busy or has no compiler; look at its driver");
    for (const SelfCheck& check : report.checks) {
        if (check.passed()) continue;
        if (!check.failure.empty())
            ail("self check on " + check.name + ": " + check.failure,
                check.name == "CPU" ? "see docs/errors.md for the message"
                                    : "use --device cpu; look at the driver");
        else
            ail("self check on " + check.name + ": the result is wrong",
                "report it with this output; try --variant sse2 or another device");
    }
}

} // namespace

bool DoctorReport::healthy() const {
    return std::none_of(checks.begin(), checks.end(),
                        [](const SelfCheck& check) { return check.ran && !check.passed(); });
}

DoctorReport runDoctorJob(const DoctorJob& job) {
    using Clock = std::chrono::steady_clock;
    chooseVariant(job.variant);
    DoctorReport report;
    report.system = systemFacts();
    report.processor = processorFacts();
    report.environment = environmentFacts();
    const std::optional<Module> module = lookAtModule(job.module, report.module);

    const Rehearsal listing = reading::rehearse(
        [] {
            std::string missing;
            listDevices(missing);
        },
        kMostSeconds);
    const bool trying = module && job.selfCheck;
    const auto rehearseChecks = [&](const auto& act) {
        return trying ? reading::rehearse(act, kMostSeconds) : Rehearsal::kPassed;
    };
    const Rehearsal onProcessor = rehearseChecks([&] { checkProcessor(*module, job.threads); });
    Rehearsal onDevices = listing;
    if (listing == Rehearsal::kPassed)
        onDevices = rehearseChecks([&] {
            std::vector<SelfCheck> checks;
            checkDevices(*module, job.threads, checks);
        });

    if (listing == Rehearsal::kPassed)
        report.devices = listDevices(report.openclMissing);
    else
        report.openclMissing = "an OpenCL driver " + ended(listing) + " when its devices are listed";
    const auto start = Clock::now();
    if (trying && onProcessor == Rehearsal::kPassed)
        report.checks.push_back(checkProcessor(*module, job.threads));
    if (trying && onDevices == Rehearsal::kPassed) checkDevices(*module, job.threads, report.checks);
    report.seconds = std::chrono::duration<double>(Clock::now() - start).count();

    diagnose(report);
    if (onProcessor != Rehearsal::kPassed)
        report.ailments.push_back({"self check on CPU: the module " + ended(onProcessor),
                                   "try --variant sse2, build it again, and report it with this output"});
    if (listing == Rehearsal::kPassed && onDevices != Rehearsal::kPassed)
        report.ailments.push_back({"self check on GPU: the OpenCL driver " + ended(onDevices),
                                   "use --device cpu; look for a newer driver"});
    return report;
}

} // namespace talvisora::host
