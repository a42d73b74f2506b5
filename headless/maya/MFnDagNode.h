// SPDX-License-Identifier: Apache-2.0
// Function set of nodes that are placed in the scene (transforms and shapes).
#pragma once

#include "../headless_api.h"
#include <maya/MFnDependencyNode.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Built from an MObject it knows no path, so everything in world space fails; built from an MDagPath it
/// does.
class HEADLESS_API MFnDagNode : public MFnDependencyNode {
public:
    MFnDagNode();
    MFnDagNode(MObject& object, MStatus* ReturnStatus = nullptr);
    MFnDagNode(const MObject& object, MStatus* ReturnStatus = nullptr);
    MFnDagNode(const MDagPath& object, MStatus* ret = nullptr);
    ~MFnDagNode() override;

    MFn::Type type() const override;
    MStatus setObject(MObject& object) override;
    MStatus setObject(const MObject& object) override;

protected:
    /// Attaches to the node at the end of the path, and remembers that there is one.
    MStatus attachPath(const MDagPath& path);
    /// Whether geometry can be asked for in that space: object space always, world space with a path.
    bool allowsSpace(int space) const;

private:
    bool hasPath;
};

} // namespace Autodesk::Maya::OpenMaya20240000
