// SPDX-License-Identifier: Apache-2.0
// A vector of three doubles.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Public members, no invariants. From a point x, y and z are taken. There is no constructor from one number.
class HEADLESS_API MVector {
public:
    /// The zero vector.
    MVector();
    MVector(const MVector& other);
    MVector(const MFloatVector& other);
    MVector(const MPoint& other);
    MVector(const MFloatPoint& other);
    MVector(double xx, double yy, double zz = 0.0);
    MVector(const double d[3]);
    MVector(const float f[3]);
    MVector& operator=(const MVector& other);

    double length() const;
    /// Scales to length 1; the zero vector stays as it is and gives a failure.
    MStatus normalize();
    /// Copy of length 1; the zero vector gives the zero vector.
    MVector normal() const;

    /// Dot product.
    double operator*(const MVector& right) const;
    /// Cross product; mind the low precedence of ^.
    MVector operator^(const MVector& right) const;
    MVector operator+(const MVector& right) const;
    MVector operator-(const MVector& right) const;
    MVector operator-() const;

    bool operator==(const MVector& other) const;
    bool operator!=(const MVector& other) const;

    MStatus get(double dest[3]) const;

    double x;
    double y;
    double z;
};

} // namespace Autodesk::Maya::OpenMaya20240000
