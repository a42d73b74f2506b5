// SPDX-License-Identifier: Apache-2.0
// The soft shade that a character leaves on the ground: its outline from above, stronger where it is close to
// the ground, blurred.
#pragma once

#include "host/picture/render.h"

#include <cstdint>
#include <vector>

namespace talvisora::host {

class GroundShadow {
public:
    /// triangles  three point indices each, all in range
    GroundShadow(const std::vector<Vec3d>& points, const std::vector<std::uint32_t>& triangles,
                 const Camera& camera);

    /// How much light is missing, in [0, 1), where the ray from the camera along `direction` meets the
    /// ground.
    double along(const Vec3d& direction) const;

private:
    double at(int column, int row) const;

    Vec3d eye_, up_, axisU_, axisV_;
    double ground_, lowU_ = 0.0, lowV_ = 0.0, cell_ = 0.0;
    int columns_ = 0, rows_ = 0;
    std::vector<float> darkness_;
};

} // namespace talvisora::host
