// SPDX-License-Identifier: Apache-2.0
// Version macros and plain types of the API.
#pragma once

#include <maya/MApiNamespace.h>

#define MAYA_API_VERSION 20240000
#define MAYA_APP_VERSION 2024

namespace Autodesk::Maya::OpenMaya20240000 {

/// The two vertex ids of an edge.
typedef int int2[2];

} // namespace Autodesk::Maya::OpenMaya20240000
