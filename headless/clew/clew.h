// SPDX-License-Identifier: Apache-2.0
// OpenCL 1.2 through a loader: nothing links against OpenCL, so the module loads on machines without it.
//
// Every clXxx name below is a macro for a variable that holds a function pointer. All are null until
// clewInit() has found an OpenCL library; calling one before that calls a null pointer. Assigning to a name
// replaces the function, which is how tests put their own behind it.
// Types and constants come from the OpenCL headers of the system. Include this header before any other OpenCL
// header: their functions and these macros do not mix.
#pragma once

#if defined(__OPENCL_CL_H) || defined(OPENCL_CL_H_) || defined(__CL_PLATFORM_H)
#error "include clew/clew.h before any other OpenCL header"
#endif

#if !defined(CL_TARGET_OPENCL_VERSION)
#define CL_TARGET_OPENCL_VERSION 120
#endif

#include "../headless_api.h"
#include <CL/cl.h>

#define CLEW_SUCCESS 0
#define CLEW_ERROR_OPEN_FAILED (-1)
#define CLEW_ERROR_ATEXIT_FAILED (-2)

extern "C" {

/// Loads OpenCL and fills the variables. Looks, in this order, at a runtime that the process has loaded
/// already, at the library that the environment variable TALVISORA_OPENCL_LIBRARY names (when it is set,
/// nothing after it is tried), at the system's library. A further call after a success does nothing.
/// Returns CLEW_SUCCESS or CLEW_ERROR_OPEN_FAILED; after a failure all variables are null.
HEADLESS_API int clewInit(void);

/// Sets all variables to null; a further clewInit() looks anew. The library itself stays loaded, as OpenCL
/// runtimes do not bear being unloaded. No OpenCL object may be in use.
HEADLESS_API void clewExit(void);

/// Name of an OpenCL error ("CL_INVALID_VALUE"); static text, never null, for every number. Empty for the
/// unused codes -20 to -29, "Unknown OpenCL error" for positive numbers and for those past the table.
HEADLESS_API const char* clewErrorString(cl_int error);

extern HEADLESS_API decltype(&::clGetPlatformIDs) __clewGetPlatformIDs;
extern HEADLESS_API decltype(&::clGetPlatformInfo) __clewGetPlatformInfo;
extern HEADLESS_API decltype(&::clGetDeviceIDs) __clewGetDeviceIDs;
extern HEADLESS_API decltype(&::clGetDeviceInfo) __clewGetDeviceInfo;
extern HEADLESS_API decltype(&::clCreateContext) __clewCreateContext;
extern HEADLESS_API decltype(&::clCreateContextFromType) __clewCreateContextFromType;
extern HEADLESS_API decltype(&::clRetainContext) __clewRetainContext;
extern HEADLESS_API decltype(&::clReleaseContext) __clewReleaseContext;
extern HEADLESS_API decltype(&::clGetContextInfo) __clewGetContextInfo;
extern HEADLESS_API decltype(&::clCreateCommandQueue) __clewCreateCommandQueue;
extern HEADLESS_API decltype(&::clRetainCommandQueue) __clewRetainCommandQueue;
extern HEADLESS_API decltype(&::clReleaseCommandQueue) __clewReleaseCommandQueue;
extern HEADLESS_API decltype(&::clGetCommandQueueInfo) __clewGetCommandQueueInfo;
extern HEADLESS_API decltype(&::clCreateBuffer) __clewCreateBuffer;
extern HEADLESS_API decltype(&::clRetainMemObject) __clewRetainMemObject;
extern HEADLESS_API decltype(&::clReleaseMemObject) __clewReleaseMemObject;
extern HEADLESS_API decltype(&::clGetMemObjectInfo) __clewGetMemObjectInfo;
extern HEADLESS_API decltype(&::clCreateProgramWithSource) __clewCreateProgramWithSource;
extern HEADLESS_API decltype(&::clRetainProgram) __clewRetainProgram;
extern HEADLESS_API decltype(&::clReleaseProgram) __clewReleaseProgram;
extern HEADLESS_API decltype(&::clBuildProgram) __clewBuildProgram;
extern HEADLESS_API decltype(&::clGetProgramInfo) __clewGetProgramInfo;
extern HEADLESS_API decltype(&::clGetProgramBuildInfo) __clewGetProgramBuildInfo;
extern HEADLESS_API decltype(&::clCreateKernel) __clewCreateKernel;
extern HEADLESS_API decltype(&::clRetainKernel) __clewRetainKernel;
extern HEADLESS_API decltype(&::clReleaseKernel) __clewReleaseKernel;
extern HEADLESS_API decltype(&::clSetKernelArg) __clewSetKernelArg;
extern HEADLESS_API decltype(&::clGetKernelInfo) __clewGetKernelInfo;
extern HEADLESS_API decltype(&::clGetKernelWorkGroupInfo) __clewGetKernelWorkGroupInfo;
extern HEADLESS_API decltype(&::clWaitForEvents) __clewWaitForEvents;
extern HEADLESS_API decltype(&::clGetEventInfo) __clewGetEventInfo;
extern HEADLESS_API decltype(&::clRetainEvent) __clewRetainEvent;
extern HEADLESS_API decltype(&::clReleaseEvent) __clewReleaseEvent;
extern HEADLESS_API decltype(&::clGetEventProfilingInfo) __clewGetEventProfilingInfo;
extern HEADLESS_API decltype(&::clFlush) __clewFlush;
extern HEADLESS_API decltype(&::clFinish) __clewFinish;
extern HEADLESS_API decltype(&::clEnqueueReadBuffer) __clewEnqueueReadBuffer;
extern HEADLESS_API decltype(&::clEnqueueWriteBuffer) __clewEnqueueWriteBuffer;
extern HEADLESS_API decltype(&::clEnqueueCopyBuffer) __clewEnqueueCopyBuffer;
extern HEADLESS_API decltype(&::clEnqueueFillBuffer) __clewEnqueueFillBuffer;
extern HEADLESS_API decltype(&::clEnqueueMapBuffer) __clewEnqueueMapBuffer;
extern HEADLESS_API decltype(&::clEnqueueUnmapMemObject) __clewEnqueueUnmapMemObject;
extern HEADLESS_API decltype(&::clEnqueueNDRangeKernel) __clewEnqueueNDRangeKernel;
extern HEADLESS_API decltype(&::clEnqueueMarkerWithWaitList) __clewEnqueueMarkerWithWaitList;

} // extern "C"

#define clGetPlatformIDs __clewGetPlatformIDs
#define clGetPlatformInfo __clewGetPlatformInfo
#define clGetDeviceIDs __clewGetDeviceIDs
#define clGetDeviceInfo __clewGetDeviceInfo
#define clCreateContext __clewCreateContext
#define clCreateContextFromType __clewCreateContextFromType
#define clRetainContext __clewRetainContext
#define clReleaseContext __clewReleaseContext
#define clGetContextInfo __clewGetContextInfo
#define clCreateCommandQueue __clewCreateCommandQueue
#define clRetainCommandQueue __clewRetainCommandQueue
#define clReleaseCommandQueue __clewReleaseCommandQueue
#define clGetCommandQueueInfo __clewGetCommandQueueInfo
#define clCreateBuffer __clewCreateBuffer
#define clRetainMemObject __clewRetainMemObject
#define clReleaseMemObject __clewReleaseMemObject
#define clGetMemObjectInfo __clewGetMemObjectInfo
#define clCreateProgramWithSource __clewCreateProgramWithSource
#define clRetainProgram __clewRetainProgram
#define clReleaseProgram __clewReleaseProgram
#define clBuildProgram __clewBuildProgram
#define clGetProgramInfo __clewGetProgramInfo
#define clGetProgramBuildInfo __clewGetProgramBuildInfo
#define clCreateKernel __clewCreateKernel
#define clRetainKernel __clewRetainKernel
#define clReleaseKernel __clewReleaseKernel
#define clSetKernelArg __clewSetKernelArg
#define clGetKernelInfo __clewGetKernelInfo
#define clGetKernelWorkGroupInfo __clewGetKernelWorkGroupInfo
#define clWaitForEvents __clewWaitForEvents
#define clGetEventInfo __clewGetEventInfo
#define clRetainEvent __clewRetainEvent
#define clReleaseEvent __clewReleaseEvent
#define clGetEventProfilingInfo __clewGetEventProfilingInfo
#define clFlush __clewFlush
#define clFinish __clewFinish
#define clEnqueueReadBuffer __clewEnqueueReadBuffer
#define clEnqueueWriteBuffer __clewEnqueueWriteBuffer
#define clEnqueueCopyBuffer __clewEnqueueCopyBuffer
#define clEnqueueFillBuffer __clewEnqueueFillBuffer
#define clEnqueueMapBuffer __clewEnqueueMapBuffer
#define clEnqueueUnmapMemObject __clewEnqueueUnmapMemObject
#define clEnqueueNDRangeKernel __clewEnqueueNDRangeKernel
#define clEnqueueMarkerWithWaitList __clewEnqueueMarkerWithWaitList
