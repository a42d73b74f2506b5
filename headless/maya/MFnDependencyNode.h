// SPDX-License-Identifier: Apache-2.0
// Function set of dependency nodes.
#pragma once

#include "../headless_api.h"
#include <maya/MFnBase.h>
#include <maya/MString.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Queries on an unattached function set, or on a node that was deleted since, give the empty string and
/// MStatus::kFailure.
class HEADLESS_API MFnDependencyNode : public MFnBase {
public:
    MFnDependencyNode();
    MFnDependencyNode(MObject& object, MStatus* ReturnStatus = nullptr);
    MFnDependencyNode(const MObject& object, MStatus* ReturnStatus = nullptr);
    ~MFnDependencyNode() override;

    MFn::Type type() const override;

    /// Name of the node at this moment, with its namespace prefix if it has one.
    MString name(MStatus* ReturnStatus = nullptr) const;
    /// Name of the node's type.
    MString typeName(MStatus* ReturnStatus = nullptr) const;

    /// Plug of the attribute of that name; a null plug and a failure when there is none. The child of an
    /// array compound comes without its parent's index, so its elements cannot be reached this way. Include
    /// <maya/MPlug.h> to use it. wantNetworkedPlug has no effect: nothing is connected here.
    MPlug findPlug(const MString& attrName, bool wantNetworkedPlug, MStatus* ReturnStatus = nullptr) const;
    MPlug findPlug(const MObject& attr, bool wantNetworkedPlug, MStatus* ReturnStatus = nullptr) const;
    /// The attribute's object; null and a failure when there is none.
    MObject attribute(const MString& attrName, MStatus* ReturnStatus = nullptr) const;
};

} // namespace Autodesk::Maya::OpenMaya20240000
