// SPDX-License-Identifier: Apache-2.0
// Watches that all API calls come from one thread, as Maya demands of everything the module does.
//
// Counted are queries on MObject, all of the function sets, selection lists, paths, plugs, data handles and
// builders, MGlobal and MOpenCLInfo. Not counted are plain values (MString, MStatus, points, vectors, arrays,
// copies of MObject), the OpenCL handles, and the platform's own interface.
#pragma once

#include "../headless_api.h"
#include <string>

namespace headless {

/// Forgets everything; the next API call decides which thread is the right one.
HEADLESS_API void resetThreadCheck();

/// Number of API calls since the last reset that came from another thread than the first one.
HEADLESS_API unsigned long long foreignCallCount();

/// Name of the first such call ("MGlobal::displayError"), the empty string when there was none.
HEADLESS_API std::string firstForeignCall();

} // namespace headless
