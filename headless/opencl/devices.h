// SPDX-License-Identifier: Apache-2.0
// The OpenCL devices of this machine, and which of them stands behind MOpenCLInfo. For hosts and tests, never
// for the module.
//
//     std::string reason;
//     for (const headless::OpenCLDevice& device : headless::openCLDevices(&reason)) print(device.name);
//     if (!headless::useOpenCLDevice(0, &reason)) print(reason);
//     … deformGpu …
//     headless::closeOpenCL();
//
// Whoever asks MOpenCLInfo first without a choice gets device 0. Functions whose variables in clew/clew.h are
// set already are used as they are; otherwise clewInit() is called. Nothing here throws but std::bad_alloc.
//
// Threads: any, one at a time, and not while an evaluation uses the device.
#pragma once

#include "../headless_api.h"
#include <clew/clew.h>
#include <cstddef>
#include <string>
#include <vector>

namespace headless {

struct OpenCLDevice {
    int number = 0;              ///< its place in the list, from 0: what useOpenCLDevice takes
    std::string platform;        ///< "Portable Computing Language"
    std::string platformVersion; ///< "OpenCL 3.0 PoCL 3.1 …"
    std::string name;
    std::string vendor;
    std::string version; ///< "OpenCL 3.0 …"
    std::string driver;
    std::string kind;    ///< "GPU", "CPU", "accelerator" or "device"
    bool usable = false; ///< the device is free and has a compiler
    unsigned int computeUnits = 0;
    std::size_t largestWorkGroup = 0;
    unsigned long long globalBytes = 0;
    unsigned long long largestBuffer = 0; ///< bytes of one buffer
};

/// All devices of all platforms: GPUs first, then accelerators, others, CPUs; among equals in the order in
/// which OpenCL names them. When the list is empty `reason` (if not null) says why, in one line without a
/// final stop: "no OpenCL library", "no OpenCL platform", "no OpenCL device".
HEADLESS_API std::vector<OpenCLDevice> openCLDevices(std::string* reason = nullptr);

/// Makes that device the one of MOpenCLInfo, with a context and a queue of its own; the queue measures times.
/// Objects of an earlier choice live on but do not go with the new context: let nodes drop theirs before.
/// False, with `reason`, and no device in use, when there is no such device or it cannot be used.
HEADLESS_API bool useOpenCLDevice(int number, std::string* reason = nullptr);

/// Number of the device in use; -1 when none is.
HEADLESS_API int openCLDeviceInUse();

/// Waits for the queue and lets go of it, the context and all kernels not given back. The next call to
/// MOpenCLInfo chooses anew. The OpenCL library stays loaded.
HEADLESS_API void closeOpenCL();

/// Milliseconds that the device spent on the command of a completed event; negative when that is not known.
HEADLESS_API double openCLMilliseconds(cl_event event);

/// What MOpenCLInfo was last asked to compile.
struct OpenCLBuild {
    std::string programName; ///< empty for a text from a file
    std::string kernelName;
    bool succeeded = false;
    std::string log; ///< the compiler's words, or why it was not asked
};

/// The last build; `count` (if not null) gets the number of builds since the program started.
HEADLESS_API OpenCLBuild lastOpenCLBuild(std::size_t* count = nullptr);

/// Kernels that MOpenCLInfo gave out and that were not given back.
HEADLESS_API std::size_t openCLKernelsOut();

/// The codes that checkCLErrorStatus was given since the last take, CL_SUCCESS included, at most the first
/// 4096.
HEADLESS_API std::vector<cl_int> takeOpenCLStatuses();

} // namespace headless
