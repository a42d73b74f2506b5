// SPDX-License-Identifier: Apache-2.0
// The list of OpenCL functions behind clew/clew.h, once, for the loader: X is called with each name without
// its leading "cl". A function that is added here is added to the header too; the loader does not compile
// else.
#pragma once

#define HEADLESS_OPENCL_FUNCTIONS(X)                                                                         \
    X(GetPlatformIDs)                                                                                        \
    X(GetPlatformInfo)                                                                                       \
    X(GetDeviceIDs)                                                                                          \
    X(GetDeviceInfo)                                                                                         \
    X(CreateContext)                                                                                         \
    X(CreateContextFromType)                                                                                 \
    X(RetainContext)                                                                                         \
    X(ReleaseContext)                                                                                        \
    X(GetContextInfo)                                                                                        \
    X(CreateCommandQueue)                                                                                    \
    X(RetainCommandQueue)                                                                                    \
    X(ReleaseCommandQueue)                                                                                   \
    X(GetCommandQueueInfo)                                                                                   \
    X(CreateBuffer)                                                                                          \
    X(RetainMemObject)                                                                                       \
    X(ReleaseMemObject)                                                                                      \
    X(GetMemObjectInfo)                                                                                      \
    X(CreateProgramWithSource)                                                                               \
    X(RetainProgram)                                                                                         \
    X(ReleaseProgram)                                                                                        \
    X(BuildProgram)                                                                                          \
    X(GetProgramInfo)                                                                                        \
    X(GetProgramBuildInfo)                                                                                   \
    X(CreateKernel)                                                                                          \
    X(RetainKernel)                                                                                          \
    X(ReleaseKernel)                                                                                         \
    X(SetKernelArg)                                                                                          \
    X(GetKernelInfo)                                                                                         \
    X(GetKernelWorkGroupInfo)                                                                                \
    X(WaitForEvents)                                                                                         \
    X(GetEventInfo)                                                                                          \
    X(RetainEvent)                                                                                           \
    X(ReleaseEvent)                                                                                          \
    X(GetEventProfilingInfo)                                                                                 \
    X(Flush)                                                                                                 \
    X(Finish)                                                                                                \
    X(EnqueueReadBuffer)                                                                                     \
    X(EnqueueWriteBuffer)                                                                                    \
    X(EnqueueCopyBuffer)                                                                                     \
    X(EnqueueFillBuffer)                                                                                     \
    X(EnqueueMapBuffer)                                                                                      \
    X(EnqueueUnmapMemObject)                                                                                 \
    X(EnqueueNDRangeKernel)                                                                                  \
    X(EnqueueMarkerWithWaitList)
