// SPDX-License-Identifier: Apache-2.0
// Pointer to a value in a data block.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace headless {
struct DataAccess;
struct DataBlock;
} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000 {

/// Copying copies the pointer, not the data. Without a value it does nothing and counts as misuse.
class HEADLESS_API MDataHandle {
public:
    MDataHandle();
    MDataHandle(const MDataHandle& other);
    ~MDataHandle();
    MDataHandle& operator=(const MDataHandle& other);

    void setFloat(float val);

private:
    friend struct ::headless::DataAccess;
    ::headless::DataBlock* block; // shared, counted
    unsigned int element;         // of an array
    bool isElement;
};

} // namespace Autodesk::Maya::OpenMaya20240000
