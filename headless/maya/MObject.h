// SPDX-License-Identifier: Apache-2.0
// Opaque handle to an object of the scene. Copying copies the reference; destroying a handle destroys
// nothing.
#pragma once

#include "../headless_api.h"
#include <maya/MFn.h>

namespace headless {
struct ObjectAccess;
}

namespace Autodesk::Maya::OpenMaya20240000 {

/// The handle holds a number that the scene never gives out twice, so a handle that outlived its object is
/// recognised: it is not null, but apiType() is MFn::kInvalid, hasFn() is false and no function set attaches.
///
/// Threads: the value itself is plain; queries go to the scene, count as API calls and belong on one thread.
class HEADLESS_API MObject {
public:
    MObject();
    MObject(const MObject& other);
    ~MObject();

    /// True for a handle that was never given an object.
    bool isNull() const;
    /// Exact type; MFn::kInvalid for a null or outlived handle.
    MFn::Type apiType() const;
    /// Readable type name ("kPluginDependNode"), static text, never null.
    const char* apiTypeStr() const;
    /// Whether a function set of type `fs` can attach.
    bool hasFn(MFn::Type fs) const;

    bool operator==(const MObject& other) const;
    bool operator!=(const MObject& other) const;
    MObject& operator=(const MObject& other);

    /// Default of reference parameters that the caller may leave out, hence not const. Never write to it.
    static MObject kNullObj;

private:
    friend struct ::headless::ObjectAccess;
    unsigned long long id;
};

} // namespace Autodesk::Maya::OpenMaya20240000
