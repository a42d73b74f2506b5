// SPDX-License-Identifier: Apache-2.0
// The box round points, along the axes.
#pragma once

#include "maths/vec3.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvisora::host {

struct Box {
    Vec3d low{HUGE_VAL, HUGE_VAL, HUGE_VAL},
        high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL}; ///< at first round nothing

    void add(const Vec3d& p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    /// 0 round nothing.
    double diagonal() const { return low.x <= high.x ? length(high - low) : 0.0; }
    /// They share a point at least.
    bool meets(const Box& o) const {
        return low.x <= o.high.x && o.low.x <= high.x && low.y <= o.high.y && o.low.y <= high.y &&
               low.z <= o.high.z && o.low.z <= high.z;
    }
};

inline Box boxRound(const std::vector<Vec3d>& points) {
    Box box;
    for (const Vec3d& p : points) box.add(p);
    return box;
}

} // namespace talvisora::host
