// SPDX-License-Identifier: Apache-2.0
// The enumeration of object types. Only the names are stable: the numbers past 4 differ between releases of
// Maya and are this platform's own. Never store or compare them as numbers.
#pragma once

#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class MFn {
public:
    enum Type {
        kInvalid = 0,
        kBase = 1,
        kNamedObject = 2,
        kDependencyNode = 4,
        kDagNode,
        kTransform,
        kMesh,
        kMeshData,
        kMeshGeom,
        kComponent,
        kSingleIndexedComponent,
        kMeshVertComponent,
        kMeshEdgeComponent,
        kMeshPolygonComponent,
        kPluginDependNode
    };
};

} // namespace Autodesk::Maya::OpenMaya20240000
