// SPDX-License-Identifier: Apache-2.0
// Names an attribute of a node, down to an element of an array.
#pragma once

#include "../headless_api.h"
#include <maya/MObject.h>

namespace headless {
struct PlugAccess;
}

namespace Autodesk::Maya::OpenMaya20240000 {

/// A value that owns nothing. The platform's attributes are compound arrays with arrays of floats as children
/// (`block[b].params[i]`), see scene/attributes.h. A plug that is null, or whose node is gone, fails in every
/// query. What may or may not be constant in Maya's reference is not, so that it is called on a named plug.
class HEADLESS_API MPlug {
public:
    MPlug();
    MPlug(const MPlug& in);
    /// The attribute at its top, as MFnDependencyNode::findPlug gives it.
    MPlug(const MObject& node, const MObject& attribute);
    virtual ~MPlug();
    MPlug& operator=(const MPlug& other);

    MObject attribute(MStatus* ReturnStatus = nullptr) const;
    MObject node(MStatus* ReturnStatus = nullptr) const;
    /// "body.block[0].params[3]"; an index that is not known reads -1.
    MString name(MStatus* ReturnStatus = nullptr) const;

    bool isNull(MStatus* ReturnStatus = nullptr) const;
    bool isArray(MStatus* ReturnStatus = nullptr) const;
    bool isCompound(MStatus* ReturnStatus = nullptr) const;
    bool isElement(MStatus* ReturnStatus = nullptr) const;
    unsigned int numElements(MStatus* ReturnStatus = nullptr) const;
    unsigned int logicalIndex(MStatus* ReturnStatus = nullptr) const;

    /// Creates the element when it does not exist (a number with value 0), and it stays.
    MPlug elementByLogicalIndex(unsigned int index, MStatus* ReturnStatus = nullptr);
    /// Child of an element of a compound array; of the array itself there is none.
    MPlug child(const MObject& attr, MStatus* ReturnStatus = nullptr);
    MPlug child(unsigned int index, MStatus* ReturnStatus = nullptr);

    /// Value of a float element; 0 and a failure otherwise.
    float asFloat(MStatus* ReturnStatus = nullptr) const;

    /// Handle to a working copy of the value: of a float element, or of an array of floats. End it with
    /// destructHandle.
    MDataHandle asMDataHandle(MStatus* ReturnStatus = nullptr) const;
    /// Writes the handle's data into the scene; not undoable. Fails for an ended handle and for data of
    /// another shape.
    MStatus setMDataHandle(MDataHandle& handle);
    /// Ends the handle, its copies and the array handles and builders made from it. A later use of any of
    /// them does nothing and counts as misuse, and so does ending a handle of another plug.
    void destructHandle(MDataHandle& handle);

private:
    friend struct ::headless::PlugAccess;
    MObject plugNode;
    MObject plugAttribute;
    unsigned int compoundIndex;
    unsigned int elementIndex;
    bool hasCompoundIndex;
    bool hasElementIndex;
};

} // namespace Autodesk::Maya::OpenMaya20240000
