// SPDX-License-Identifier: Apache-2.0
// A point as four doubles.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Public members, no invariants. The conversions from vectors set w to 1. There is no constructor from one
/// number.
class HEADLESS_API MPoint {
public:
    /// The origin, w = 1.
    MPoint() : x(0), y(0), z(0), w(1) {}
    MPoint(const MPoint& other) = default;
    MPoint(const MFloatPoint& other);
    MPoint(const MVector& other);
    MPoint(const MFloatVector& other);
    MPoint(double xx, double yy, double zz = 0.0, double ww = 1.0) : x(xx), y(yy), z(zz), w(ww) {}
    MPoint(const double d[4]);
    MPoint(const float f[4]);
    MPoint& operator=(const MPoint& other) = default;

    /// 0 to 3 = x, y, z, w; a larger index counts as misuse and reads as NaN.
    double operator()(unsigned int i) const;
    double operator[](unsigned int i) const;

    /// Vector from the argument to this point.
    MVector operator-(const MPoint& other) const;
    MPoint operator+(const MVector& vector) const;
    MPoint operator-(const MVector& vector) const;

    double distanceTo(const MPoint& other) const;
    /// Exact comparison of all four numbers.
    bool operator==(const MPoint& other) const;
    bool operator!=(const MPoint& other) const;

    MStatus get(double dest[4]) const;
    MStatus get(float dest[4]) const;

    static const MPoint origin;

    double x;
    double y;
    double z;
    double w;
};

} // namespace Autodesk::Maya::OpenMaya20240000
