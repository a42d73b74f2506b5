// SPDX-License-Identifier: Apache-2.0
// What the members of the look-alike classes need of the scene: handles by number, and records by handle.
// Private to the platform.
#pragma once

#include <maya/MObject.h>
#include <string>

namespace headless {

/// Reads and writes the number inside a handle; 0 is the null handle.
struct ObjectAccess {
    static unsigned long long id(const MObject& object) { return object.id; }
    static MObject make(unsigned long long id) {
        MObject object;
        object.id = id;
        return object;
    }
};

/// Copy of what the scene knows about an object.
struct ObjectRecord {
    MFn::Type type = MFn::kInvalid;
    std::string typeName;
    std::string name;
};

/// Fills `record` and returns true when the object exists now.
bool lookUp(const MObject& object, ObjectRecord& record);

/// Type of the object, MFn::kInvalid when it does not exist now.
MFn::Type typeOf(const MObject& object);

/// Whether an object or function set of type `type` is also of type `base`.
bool isKindOf(MFn::Type type, MFn::Type base);

/// Called at the start of every member that belongs on one thread; `call` is a static text.
void noteApiCall(const char* call);

} // namespace headless
