// SPDX-License-Identifier: Apache-2.0
// Dual-quaternion skinning (Kavan, Collins, Zara and O'Sullivan, "Geometric skinning with approximate dual
// quaternion blending", 2008) with the character's own weights: a yardstick, and nothing else.
#pragma once

#include "host/character/clip.h"

namespace talvisora::host {

/// The joined points moved by the pose. Joints move as rigid bodies: scale and shear of their matrices are
/// dropped. Points without weights stay. The pose must belong to the character.
std::vector<Vec3d> dualQuaternionBlend(const Character& character, const Pose& pose);

} // namespace talvisora::host
