// SPDX-License-Identifier: Apache-2.0
// One run of `grhost doctor`: what is here, what is missing and what helps, and whether a small evaluation
// comes out right.
#pragma once

#include "host/doctor/self_check.h"
#include "host/doctor/system_facts.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct DoctorJob {
    std::string module; ///< path; empty: the one beside the executable
    std::string variant;
    int threads = 0;
    bool selfCheck = true;
};

struct ModuleFacts {
    std::string path;
    bool loaded = false;
    std::string failure; ///< why it is not
    std::uint64_t bytes = 0;
    std::string changed;              ///< when the file was last written, UTC
    std::vector<std::string> exports; ///< of the five that are known, those that are there
};

struct DeviceFacts {
    int number = 0;
    std::string name, vendor, kind, version, driver, platform, platformVersion;
    bool usable = false;
    unsigned computeUnits = 0;
    std::uint64_t largestWorkGroup = 0, memoryBytes = 0, largestBuffer = 0;
};

/// Something that is not as it could be, and what helps.
struct Ailment {
    std::string what, cure;
};

struct DoctorReport {
    SystemFacts system;
    ProcessorFacts processor;
    NamedTexts environment;
    ModuleFacts module;
    std::string openclMissing; ///< why there is no device; empty: there are some
    std::vector<DeviceFacts> devices;
    std::vector<SelfCheck> checks;
    double seconds = 0.0; ///< of all self checks
    std::vector<Ailment> ailments;

    /// No self check came out wrong. What is missing is no failure.
    bool healthy() const;
};

/// OpenCL drivers are tried in a process of their own first: one that crashes ends up among the ailments.
/// Call it before anything in the process has used OpenCL or threads. Throws HostError kUsage only (variant).
DoctorReport runDoctorJob(const DoctorJob& job);

} // namespace talvisora::host
