// SPDX-License-Identifier: Apache-2.0
// The coordinate spaces of geometry queries.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class MSpace {
public:
    enum Space {
        kInvalid = 0,
        kTransform = 1,
        kPreTransform = 2,
        kObject = 2,
        kPostTransform = 3,
        kWorld = 4,
        kLast = 5
    };
};

} // namespace Autodesk::Maya::OpenMaya20240000
