// SPDX-License-Identifier: Apache-2.0
// Function set of components with one index per element: vertices, edges and faces of a mesh.
#pragma once

#include "../headless_api.h"
#include <maya/MFnComponent.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// The elements are kept sorted and once each. They are not checked against a mesh.
class HEADLESS_API MFnSingleIndexedComponent : public MFnComponent {
public:
    MFnSingleIndexedComponent();
    MFnSingleIndexedComponent(MObject& object, MStatus* ReturnStatus = nullptr);
    MFnSingleIndexedComponent(const MObject& object, MStatus* ReturnStatus = nullptr);
    ~MFnSingleIndexedComponent() override;

    MFn::Type type() const override;

    /// Makes an empty component of that type and attaches to it; the null object and a failure for a type
    /// that is not single-indexed. It lives until the scene is cleared.
    MObject create(MFn::Type compType, MStatus* ReturnStatus = nullptr);
    /// Fills the array with all indices; empties it and fails when not attached.
    MStatus getElements(MIntArray& elements) const;
    MStatus addElement(int element);
    MStatus addElements(MIntArray& elements);
};

} // namespace Autodesk::Maya::OpenMaya20240000
