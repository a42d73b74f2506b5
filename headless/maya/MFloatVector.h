// SPDX-License-Identifier: Apache-2.0
// A vector of three floats.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Public members, no invariants. From a point x, y and z are taken. There is no constructor from one number.
class HEADLESS_API MFloatVector {
public:
    /// The zero vector.
    MFloatVector();
    MFloatVector(const MFloatVector& other);
    MFloatVector(const MVector& other);
    MFloatVector(const MFloatPoint& other);
    MFloatVector(const MPoint& other);
    MFloatVector(float xx, float yy, float zz = 0.0);
    MFloatVector(const double d[3]);
    MFloatVector(const float f[3]);
    MFloatVector& operator=(const MFloatVector& other);

    float length() const;
    /// Scales to length 1; the zero vector stays as it is and gives a failure.
    MStatus normalize();
    /// Copy of length 1; the zero vector gives the zero vector.
    MFloatVector normal() const;

    /// Dot product.
    float operator*(const MFloatVector& right) const;
    /// Cross product; mind the low precedence of ^.
    MFloatVector operator^(const MFloatVector& right) const;
    MFloatVector operator+(const MFloatVector& right) const;
    MFloatVector operator-(const MFloatVector& right) const;
    MFloatVector operator-() const;

    bool operator==(const MFloatVector& other) const;
    bool operator!=(const MFloatVector& other) const;

    MStatus get(float dest[3]) const;

    float x;
    float y;
    float z;
};

} // namespace Autodesk::Maya::OpenMaya20240000
