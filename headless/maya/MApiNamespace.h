// SPDX-License-Identifier: Apache-2.0
// The versioned namespace of the API classes, and their forward declarations.
//
// All classes live in Autodesk::Maya::OpenMaya20240000; the using-directive at the end makes the plain names
// work. A forward declaration of one's own (`class MObject;` at global scope) names another class and makes
// the plain name ambiguous: include the class's header, or this one.
#pragma once

#define OPENMAYA_MAJOR_NAMESPACE OpenMaya20240000
#define OPENMAYA_MAJOR_NAMESPACE_OPEN                                                                        \
    namespace Autodesk {                                                                                     \
    namespace Maya {                                                                                         \
    namespace OPENMAYA_MAJOR_NAMESPACE {
#define OPENMAYA_MAJOR_NAMESPACE_CLOSE                                                                       \
    }                                                                                                        \
    }                                                                                                        \
    }

namespace Autodesk::Maya::OpenMaya20240000 {

class MArrayDataBuilder;
class MArrayDataHandle;
class MAutoCLEvent;
class MAutoCLKernel;
class MAutoCLMem;
class MColor;
class MDagPath;
class MDataHandle;
class MFloatArray;
class MFloatPoint;
class MFloatPointArray;
class MFloatVector;
class MFn;
class MFnBase;
class MFnComponent;
class MFnDagNode;
class MFnDependencyNode;
class MFnMesh;
class MFnSingleIndexedComponent;
class MGlobal;
class MIntArray;
class MMatrix;
class MMeshIsectAccelParams;
class MObject;
class MOpenCLInfo;
class MPlug;
class MPoint;
class MPointArray;
class MSelectionList;
class MSpace;
class MStatus;
class MString;
class MVector;

namespace MHWRender {
class MUIDrawManager;
}

} // namespace Autodesk::Maya::OpenMaya20240000

using namespace Autodesk::Maya::OpenMaya20240000;
