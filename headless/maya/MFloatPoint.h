// SPDX-License-Identifier: Apache-2.0
// A point as four floats.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Public members, no invariants. Conversions from doubles round to nearest; those from vectors set w to 1.
class HEADLESS_API MFloatPoint {
public:
    /// The origin, w = 1.
    MFloatPoint() : x(0), y(0), z(0), w(1) {}
    MFloatPoint(const MFloatPoint& other) = default;
    MFloatPoint(const MPoint& other);
    MFloatPoint(const MFloatVector& other);
    MFloatPoint(const MVector& other);
    MFloatPoint(float xx, float yy, float zz = 0.0, float ww = 1.0) : x(xx), y(yy), z(zz), w(ww) {}
    MFloatPoint(const double d[4]);
    MFloatPoint(const float f[4]);
    MFloatPoint& operator=(const MFloatPoint& other) = default;

    /// 0 to 3 = x, y, z, w; a larger index counts as misuse and reads as NaN.
    float operator()(unsigned int i) const;
    float operator[](unsigned int i) const;

    /// Vector from the argument to this point.
    MFloatVector operator-(const MFloatPoint& other) const;
    MFloatPoint operator+(const MFloatVector& vector) const;
    MFloatPoint operator-(const MFloatVector& vector) const;

    float distanceTo(const MFloatPoint& other) const;
    /// Exact comparison of all four numbers.
    bool operator==(const MFloatPoint& other) const;
    bool operator!=(const MFloatPoint& other) const;

    MStatus get(double dest[4]) const;
    MStatus get(float dest[4]) const;

    static const MFloatPoint origin;

    float x;
    float y;
    float z;
    float w;
};

} // namespace Autodesk::Maya::OpenMaya20240000
