// SPDX-License-Identifier: Apache-2.0
// The application's shared OpenCL: one context, one device, one queue, and kernels made from text. Which
// device that is, and what was compiled, is the matter of opencl/devices.h.
#pragma once

#include "../headless_api.h"
#include <clew/clew.h>
#include <maya/MApiNamespace.h>
#include <maya/MOpenCLAutoPtr.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Static members only. Handles returned raw are borrowed, except those of createOpenCLCommandQueue. On a
/// machine without OpenCL all of them are null.
class HEADLESS_API MOpenCLInfo {
public:
    static cl_context getOpenCLContext();
    /// In order; blocking and other calls may be mixed on it.
    static cl_command_queue getMayaDefaultOpenCLCommandQueue();
    /// A further queue on the same device; it belongs to the caller.
    static cl_command_queue createOpenCLCommandQueue();
    static cl_device_id getOpenCLDeviceId();

    /// Compiles the text and makes the kernel. A null handle when that fails; the compiler's words are on the
    /// error stream then. A second call with the same text compiles again.
    static MAutoCLKernel getOpenCLKernelFromString(const MString& programSource, const MString& programName,
                                                   const MString& kernelName);
    /// The same, with the text of a file.
    static MAutoCLKernel getOpenCLKernel(const MString& sourceFilePath, const MString& kernelName);
    /// Gives a kernel of the two calls above back; the handle still holds its own reference afterwards. False
    /// for a kernel that was not given out or has been given back already.
    static bool releaseOpenCLKernel(const MAutoCLKernel& kernel);

    /// One line on the error stream for a failure, nothing for CL_SUCCESS.
    static void checkCLErrorStatus(cl_int err);
};

} // namespace Autodesk::Maya::OpenMaya20240000
