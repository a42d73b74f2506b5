// SPDX-License-Identifier: Apache-2.0
// Base of all function sets: holds the attached object.
#pragma once

#include "../headless_api.h"
#include <maya/MFn.h>
#include <maya/MObject.h>
#include <maya/MStatus.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// A function set attaches to an object of its type. An unsuitable, null or outlived object leaves it
/// unattached and gives MStatus::kFailure. Function sets are used on the stack and not copied.
class HEADLESS_API MFnBase {
public:
    virtual ~MFnBase();
    MFnBase(const MFnBase&) = delete;
    MFnBase& operator=(const MFnBase&) = delete;

    /// Type of the function set itself.
    virtual MFn::Type type() const;
    /// Whether this function set is of type `other` or derived from it.
    bool hasObj(MFn::Type other) const;
    /// Whether this function set could attach to `object`.
    bool hasObj(const MObject& object) const;
    /// The attached object; MObject::kNullObj and a failure when there is none.
    MObject object(MStatus* ReturnStatus = nullptr) const;
    /// Attaches to another object; an unsuitable one detaches.
    virtual MStatus setObject(MObject& object);
    virtual MStatus setObject(const MObject& object);

protected:
    MFnBase();

private:
    MObject attached;
};

} // namespace Autodesk::Maya::OpenMaya20240000
