// SPDX-License-Identifier: Apache-2.0
// Static entry points of the application. A message is kept in the log of scene/message_log.h as it stands, a
// command in that of scene/mel.h.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class HEADLESS_API MGlobal {
public:
    static void displayError(const MString& theError);
    static void displayInfo(const MString& theMessage);
    static void displayWarning(const MString& theWarning);

    /// Runs MEL as far as scene/mel.h knows it; a failure for anything else. displayEnabled is recorded only.
    static MStatus executeCommand(const MString& command, bool displayEnabled = false,
                                  bool undoEnabled = false);

    /// Fills `dest` with a copy of the selection; changing it does not change the scene's.
    static MStatus getActiveSelectionList(MSelectionList& dest, bool orderedSelectionIfAvailable = false);
};

} // namespace Autodesk::Maya::OpenMaya20240000
