// SPDX-License-Identifier: Apache-2.0
// The OpenCL program that the module carries: curve.cl, records.cl and run.cl, joined at build time.
#pragma once

namespace talvisora {

/// The name under which the program is compiled.
constexpr const char* kProgramName = "talvisora__CL_program_23925";
/// Its one kernel: 22 arguments, one work-item per point, one dimension. The global size may exceed the
/// number of points by any amount; the spare items return without touching a buffer.
constexpr const char* kProgramEntry = "run";

/// The whole program as OpenCL C 1.2, zero-terminated ASCII, to be compiled without build options. Static,
/// never null; the same pointer at every call; any thread.
const char* programText();

} // namespace talvisora
