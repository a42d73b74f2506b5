// SPDX-License-Identifier: Apache-2.0
// Which bone a point lies nearest to: what can be said about a mesh and a skeleton that nobody has bound yet.
// A bone runs from a joint to a joint below it and belongs to the upper one, which moves it. A joint without
// joints below it has a bone of no length, so what lies past it is its own.
#pragma once

#include "host/character/character.h"

#include <cstdint>
#include <vector>

namespace talvisora::host {

struct Bone {
    std::uint32_t joint = 0; ///< index into Character::joints
    Vec3d start, end;        ///< at rest, world
};

/// All bones, by their joints in order; at least one for each joint.
std::vector<Bone> bonesOf(const Character& character);

double distanceTo(const Bone& bone, const Vec3d& point);

/// The same character with every point given wholly to the joint of its nearest bone; of equally near ones
/// the lowest joint of the tree takes it. For planning chains and their ends, not for weights.
Character boundToNearestBones(const Character& character);

} // namespace talvisora::host
