// SPDX-License-Identifier: Apache-2.0
// Makes the calls of a capture, in order, on one freshly made node, and answers one JSON document with what
// came back: status, messages, points, output, or what was thrown. Adds nothing to what the capture holds.
#pragma once

#include "host/capture/capture.h"
#include "host/device/device_run.h"
#include "host/module_loader.h"

#include <optional>
#include <string>

namespace talvisora::host {

struct ReplayOptions {
    int threads = 0; ///< 0: all
    /// kAsWritten and kNumber: each evaluation where its call says, those on the GPU on the device of that
    /// number. kCpu, kGpu: all evaluations there. kAuto: all where the first one is faster.
    DeviceChoice device;
};

struct ReplayAnswer {
    std::string text; ///< the JSON document
    /// kDone: every call returned 0; kModuleFailed: one returned something else or threw; kInput: one is not
    /// to be had in this module (the others were made all the same).
    ExitCode exitCode = ExitCode::kDone;
    std::optional<DeviceReport> device; ///< with kAuto: what was evaluated where, and why
};

/// What the module does wrong ends in the answer; only a module that makes no node is a HostError, and an
/// OpenCL device that was asked for and cannot be had.
/// The capture's pointers are bound to the replay's objects while it runs.
ReplayAnswer replay(const Module& module, const Capture& capture, const ReplayOptions& options = {});

} // namespace talvisora::host
