// SPDX-License-Identifier: Apache-2.0
// What a character hides from itself: how open each point is to light from all round, and how much of the key
// light reaches it. That is what makes folds, armpits and far legs darker and the picture readable.
#pragma once

#include "maths/vec3.h"

#include <array>
#include <cstdint>
#include <vector>

namespace talvisora::host {

/// Shares in [0, 1] for the two sides of a point: [0] the side of its normal, [1] the other one.
struct Openness {
    std::array<float, 2> around{1.0f, 1.0f}; ///< of all directions on that side
    std::array<float, 2> key{1.0f, 1.0f};    ///< of a wide light in the key direction
};

/// One entry per point. Points that are not finite are fully open and hide nothing.
/// normals       one per point, unit length or zero
/// triangles     three point indices each, all in range
/// keyDirection  unit, from the character towards the light
std::vector<Openness> openness(const std::vector<Vec3d>& points, const std::vector<Vec3d>& normals,
                               const std::vector<std::uint32_t>& triangles, const Vec3d& keyDirection);

} // namespace talvisora::host
