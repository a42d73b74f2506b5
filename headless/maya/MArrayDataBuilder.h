// SPDX-License-Identifier: Apache-2.0
// Makes the elements of an array; they take effect with MArrayDataHandle::set.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace headless {
struct DataAccess;
struct DataBlock;
} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000 {

/// Comes from MArrayDataHandle::builder. Copies share the elements.
class HEADLESS_API MArrayDataBuilder {
public:
    MArrayDataBuilder(const MArrayDataBuilder& other);
    ~MArrayDataBuilder();
    MArrayDataBuilder& operator=(const MArrayDataBuilder& other);

    /// The element at the logical index; made with value 0 when it does not exist.
    MDataHandle addElement(unsigned int index, MStatus* ReturnStatus = nullptr);
    unsigned int elementCount(MStatus* ReturnStatus = nullptr) const;

private:
    friend struct ::headless::DataAccess;
    MArrayDataBuilder();
    ::headless::DataBlock* block; // shared, counted
};

} // namespace Autodesk::Maya::OpenMaya20240000
