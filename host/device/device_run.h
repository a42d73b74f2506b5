// SPDX-License-Identifier: Apache-2.0
// Evaluations of one session on the device that was chosen, frame after frame: on the processor, on an OpenCL
// device that gives way to the processor when it fails, or on the faster of the two.
#pragma once

#include "host/compare/difference.h"
#include "host/device/device_choice.h"
#include "host/session.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

/// What a run did where.
struct DeviceReport {
    std::string device;               ///< "GPU 0 NAME" when one was used or tried; empty: none
    std::size_t cpuFrames = 0;        ///< frames whose result is the processor's
    std::size_t gpuFrames = 0;        ///< frames whose result is the device's
    std::size_t gpuMessages = 0;      ///< messages that failed evaluations on the device showed
    double kernelMilliseconds = -1.0; ///< mean of the device's frames after the first; negative: not known
    std::string fallback;             ///< why the device was given up; empty: it was not
    std::optional<Difference> first;  ///< of the first frame, processor to device, when both made it
    std::string line;                 ///< one line that explains all this: "GPU 0 NAME: kernel 0.12 ms"
};

class DeviceRun {
public:
    /// `session` must outlive the run. Throws HostError kInput when a device is asked for (kGpu, kNumber) and
    /// cannot be had; kAuto takes the processor then. kAsWritten is the processor.
    DeviceRun(Session& session, const DeviceChoice& choice);

    /// Evaluates the session's record. When the device fails, the processor does the same frame and all that
    /// follow; what comes back is always from the side whose points stand in the record.
    /// Throws HostError kInput when a device was asked for and the module offers no such evaluation.
    CallResult evaluate();

    DeviceReport report() const;

private:
    CallResult evaluateOnCpu();
    CallResult evaluateOnGpu();
    CallResult evaluateOnBoth();
    void leaveDevice(const std::string& why);

    enum class Side { kCpu, kGpu, kUndecided };
    Session& session_;
    Side side_ = Side::kCpu;
    bool asked_ = false; // for the device by name: it not being offered is an error
    DeviceReport report_;
    std::string choice_; // why this side was taken
    std::vector<Vec3d> rest_;
    double kernelSum_ = 0.0;
    std::size_t kernelCount_ = 0;
};

/// What went wrong in an evaluation on a device, in one line; empty when nothing did. A device's failures
/// come back as messages beside status 0.
std::string deviceFailure(const CallResult& result);

/// For people: the difference of the first frame, when both sides made it, and the line that explains.
std::vector<std::string> deviceLines(const DeviceReport& report);

} // namespace talvisora::host
