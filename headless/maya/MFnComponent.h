// SPDX-License-Identifier: Apache-2.0
// Function set of components: parts of a shape.
#pragma once

#include "../headless_api.h"
#include <maya/MFnBase.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class HEADLESS_API MFnComponent : public MFnBase {
public:
    MFnComponent();
    MFnComponent(MObject& object, MStatus* ReturnStatus = nullptr);
    MFnComponent(const MObject& object, MStatus* ReturnStatus = nullptr);
    ~MFnComponent() override;

    MFn::Type type() const override;

    int elementCount(MStatus* ReturnStatus = nullptr) const;
    bool isEmpty(MStatus* ReturnStatus = nullptr) const;
    MFn::Type componentType(MStatus* ReturnStatus = nullptr) const;
};

} // namespace Autodesk::Maya::OpenMaya20240000
