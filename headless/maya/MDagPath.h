// SPDX-License-Identifier: Apache-2.0
// A path from the root of the scene to a node.
#pragma once

#include "../headless_api.h"
#include <maya/MFn.h>
#include <maya/MObject.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// The headless scene has no hierarchy: every placed node hangs from the root, so a path is one node long and
/// the matrix of every path is the identity.
class HEADLESS_API MDagPath {
public:
    MDagPath();
    MDagPath(const MDagPath& src);
    virtual ~MDagPath();
    MDagPath& operator=(const MDagPath& src);

    /// Null with a failure for an invalid path, or when the node is gone.
    MObject node(MStatus* ReturnStatus = nullptr) const;
    MFn::Type apiType(MStatus* ReturnStatus = nullptr) const;
    bool hasFn(MFn::Type type, MStatus* ReturnStatus = nullptr) const;
    bool isValid(MStatus* ReturnStatus = nullptr) const;
    /// "|body"
    MString fullPathName(MStatus* ReturnStatus = nullptr) const;
    MMatrix inclusiveMatrix(MStatus* ReturnStatus = nullptr) const;
    /// Fails, with `path` invalid, for a node that is not placed in the scene.
    static MStatus getAPathTo(const MObject& node, MDagPath& path);

private:
    MObject last;
};

} // namespace Autodesk::Maya::OpenMaya20240000
