// SPDX-License-Identifier: Apache-2.0
// Static entry points of the application. A message is kept in the log of scene/message_log.h as it stands.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class HEADLESS_API MGlobal {
public:
    static void displayError(const MString& theError);
    static void displayInfo(const MString& theMessage);
    static void displayWarning(const MString& theWarning);
};

} // namespace Autodesk::Maya::OpenMaya20240000
