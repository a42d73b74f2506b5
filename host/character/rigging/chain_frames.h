// SPDX-License-Identifier: Apache-2.0
// The frames that a chain brings to the deformer, and its virtual end. Private to the automatic rig.
#pragma once

#include "host/character/rigging/chains.h"

namespace talvisora::host::rigging {

/// Where the virtual end of a chain lies at rest, in world space. A leaf's end lies towards the centroid of
/// its points, a branching joint's straight on along the last bone; as far as the points reach. shares: per
/// point how much the last joint weighs on it (folded joints included).
Vec3d virtualEnd(const Character& character, const Chain& chain, const std::vector<double>& shares);

/// One orthonormal frame per rest position: x towards the next one, the first y from the joint's own y axis
/// (z where that is nearly parallel), then with least twist from frame to frame; the last copies its
/// predecessor's axes. ownAxes: the first joint's rest matrix. Positions that coincide keep the previous
/// axes.
std::vector<Matrix44d> chainFrames(const std::vector<Vec3d>& positions, const Matrix44d& ownAxes);

} // namespace talvisora::host::rigging
