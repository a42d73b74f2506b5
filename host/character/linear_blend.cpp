// SPDX-License-Identifier: Apache-2.0
// One matrix per joint carries rest space to the pose; a point is the weighted mean of where its joints carry
// it.
#include "host/character/linear_blend.h"

namespace talvisora::host {

std::vector<Vec3d> linearBlend(const Character& character, const Pose& pose) {
    std::vector<Matrix44d> carry;
    carry.reserve(character.joints.size());
    for (std::size_t j = 0; j < character.joints.size(); ++j)
        carry.push_back(character.joints[j].inverseRest * pose.world[j]);
    std::vector<Vec3d> moved = character.points;
    for (std::size_t p = 0; p < moved.size(); ++p) {
        const std::uint32_t start = character.influenceStart[p], end = character.influenceStart[p + 1];
        if (start == end) continue;
        Vec3d sum;
        for (std::uint32_t i = start; i < end; ++i)
            sum += pointMultMat(character.points[p], carry[character.influences[i].joint]) *
                   character.influences[i].weight;
        moved[p] = sum;
    }
    return moved;
}

} // namespace talvisora::host
