// SPDX-License-Identifier: Apache-2.0
// Plain linear-blend skinning with the file's own weights: the yardstick that the spline deformation is
// compared with, and nothing else.
#pragma once

#include "host/character/clip.h"

namespace talvisora::host {

/// The joined points moved by the pose: sum of weight · (point · inverse rest · world). Points without
/// weights stay. Doubles throughout; evaluation units, world. The pose must belong to the character.
std::vector<Vec3d> linearBlend(const Character& character, const Pose& pose);

} // namespace talvisora::host
