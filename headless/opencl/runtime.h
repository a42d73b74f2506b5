// SPDX-License-Identifier: Apache-2.0
// The state behind MOpenCLInfo and opencl/devices.h. Private to the platform.
#pragma once

#include "devices.h"
#include <mutex>

namespace headless {

/// One context, device and queue; all null when no device is in use.
struct OpenCLRuntime {
    std::mutex mutex;     // of everything below
    bool decided = false; // a device was chosen, or there is none
    int number = -1;
    cl_device_id device = nullptr;
    cl_context context = nullptr;
    cl_command_queue queue = nullptr;
    std::vector<cl_kernel> kernelsOut; // with a reference each
    OpenCLBuild lastBuild;
    std::size_t buildCount = 0;
    std::vector<cl_int> statuses;
};

OpenCLRuntime& openCLRuntime();

/// Caller holds the mutex. Chooses device 0 when nobody has chosen.
void decideOnOpenCLDevice(OpenCLRuntime& runtime);

} // namespace headless
