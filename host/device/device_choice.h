// SPDX-License-Identifier: Apache-2.0
// Where evaluations run: what `--device` may say, and the OpenCL device that it means.
#pragma once

#include <string>

namespace talvisora::host {

enum class DeviceKind {
    kAsWritten, ///< nothing was said: `deform` takes the processor, `replay` what each call names
    kCpu,
    kGpu,    ///< every evaluation on an OpenCL device; the first one unless a number is given
    kAuto,   ///< the first evaluation on both, then on the faster one
    kNumber, ///< only a device number: which device it is, when one is asked for
};

struct DeviceChoice {
    DeviceKind kind = DeviceKind::kAsWritten;
    int number = 0; ///< of the OpenCL device, from 0, as `grhost doctor` counts them
};

/// "cpu", "gpu", "gpu:N", "auto" or "N"; empty: kAsWritten. Anything else is a HostError kUsage.
DeviceChoice parseDeviceChoice(const std::string& text);

/// Makes the OpenCL device of that number the one that evaluations use. Answers "GPU 0 NAME".
/// Throws HostError kInput, naming the devices that there are, when there is no such device or it cannot be
/// used.
std::string openDevice(int number);

} // namespace talvisora::host
