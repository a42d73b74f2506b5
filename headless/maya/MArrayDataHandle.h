// SPDX-License-Identifier: Apache-2.0
// Pointer to an array in a data block.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace headless {
struct DataAccess;
struct DataBlock;
} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000 {

class HEADLESS_API MArrayDataHandle {
public:
    /// Fails for a handle that is not that of an array.
    explicit MArrayDataHandle(const MDataHandle& in, MStatus* ReturnStatus = nullptr);
    MArrayDataHandle(const MArrayDataHandle& other);
    ~MArrayDataHandle();
    MArrayDataHandle& operator=(const MArrayDataHandle& other);

    unsigned int elementCount(MStatus* ReturnStatus = nullptr);
    /// Starts with the array's present elements.
    MArrayDataBuilder builder(MStatus* ReturnStatus = nullptr);
    /// Replaces the array's elements by the builder's.
    MStatus set(MArrayDataBuilder& builder);

private:
    friend struct ::headless::DataAccess;
    ::headless::DataBlock* block; // shared, counted; null when not of an array
};

} // namespace Autodesk::Maya::OpenMaya20240000
