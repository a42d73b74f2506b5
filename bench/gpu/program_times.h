// SPDX-License-Identifier: Apache-2.0
// The OpenCL program on one device: its time by the device's own clock, the share of the device's copy
// bandwidth that it reaches, the plain form that keeps whole polygons in the scratch, and the processor's
// point stage, all of the same mesh and taking turns in every round.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/limb_scene.h"
#include "device/opencl_device.h"

namespace talvisora::bench {

/// One mesh. Seconds are medians of the rounds, ratios medians of the rounds' ratios.
struct ProgramTimes {
    double bytesPerPoint; ///< that must move: points in and out, weights, ranges, and what each active pair
                          ///< reads
    double kernelSeconds; ///< the module's program
    double plainSeconds;  ///< the plain form; 0: its scratch does not fit the device
    double cpuSeconds;    ///< the point stage on all threads, wall clock
    double copyBytesPerSecond; ///< read and written bytes of a buffer copy
    double copyShare;          ///< bytes that must move per kernel second, over the copies' bandwidth
    double plainOverKernel;    ///< 0 without the plain form
    double cpuOverKernel;
    double largestDifference; ///< device against processor, as a share of the largest coordinate
};

/// Times one limb. Throws std::runtime_error when the device refuses something.
ProgramTimes timeProgram(const device::OpenClDevice& device, const device::Kernel& kernel,
                         const device::Kernel& plain, const LimbOptions& limb, int rounds);

} // namespace talvisora::bench
