// SPDX-License-Identifier: Apache-2.0
// A 4 x 4 matrix of doubles, row by row; points are row vectors, so the translation is row 3.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class HEADLESS_API MMatrix {
public:
    /// The identity.
    MMatrix();
    MMatrix(const MMatrix& src);
    MMatrix(const double m[4][4]);
    MMatrix(const float m[4][4]);
    MMatrix& operator=(const MMatrix& other);

    /// An index past 3 counts as misuse and reads as NaN.
    double operator()(unsigned int row, unsigned int col) const;

    MMatrix operator*(const MMatrix& right) const;
    bool operator==(const MMatrix& other) const;
    bool operator!=(const MMatrix& other) const;
    MMatrix& setToIdentity();

    MStatus get(double dest[4][4]) const;
    MStatus get(float dest[4][4]) const;

    static const MMatrix identity;

    double matrix[4][4];
};

} // namespace Autodesk::Maya::OpenMaya20240000
