// SPDX-License-Identifier: Apache-2.0
// A colour as four floats.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Public members, no invariants, nothing is clamped.
class HEADLESS_API MColor {
public:
    /// Opaque black.
    MColor();
    MColor(const MColor& other);
    MColor(float rr, float gg, float bb = 0.0f, float aa = 1.0f);
    /// Red, green and blue; opaque.
    MColor(const float d[3]);
    /// Black with that alpha: one number is no grey.
    MColor(float alpha);
    MColor& operator=(const MColor& other);

    /// 0 to 3 = red, green, blue, alpha; a larger index counts as misuse and reads as NaN.
    float operator()(unsigned int i) const;
    float operator[](unsigned int i) const;

    /// Exact comparison of all four numbers.
    bool operator==(const MColor& other) const;
    bool operator!=(const MColor& other) const;

    float r;
    float g;
    float b;
    float a;
};

} // namespace Autodesk::Maya::OpenMaya20240000
