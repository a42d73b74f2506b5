// SPDX-License-Identifier: Apache-2.0
// How far each joint moves against its parent over all clips, compared with rest. Private to the automatic
// rig.
#pragma once

#include "host/character/clip.h"

namespace talvisora::host::rigging {

struct JointMotion {
    double turn = 0.0; ///< largest turn against the parent, radians
    double swing =
        0.0; ///< largest change of the axis given for the joint, radians (a pure twist leaves it at 0)
    double shift = 0.0; ///< largest way of the joint's origin in its parent's rest frame, evaluation units
};

/// axes: per joint a direction in rest world space to watch for swing (zero: not watched); may be empty.
/// Root joints answer zeros. Clips are looked at 30 times a second, long ones at 240 even steps.
std::vector<JointMotion> measureMotion(const Character& character, const std::vector<Vec3d>& axes);

} // namespace talvisora::host::rigging
