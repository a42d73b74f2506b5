// SPDX-License-Identifier: Apache-2.0
// Carries a rig's weights, parameters and weight maps from one mesh to another one over the same skeleton, by
// the closest place on the surface. Pure functions: nothing here reads or writes files.
#pragma once

#include "host/character/character.h"
#include "host/rig_file/rig_file.h"

#include <vector>

namespace talvisora::host {

struct TransferResult {
    std::vector<std::uint32_t> unmatched; ///< points too far from the old surface; filled all the same
    std::size_t islands = 0; ///< those of them that no neighbour leads to: closest place, far away
    double farthest = 0.0;   ///< largest distance of a matched point from the old surface
};

/// `rig` must fit `from`; afterwards its per-point values are those for `to`. Each point takes the
/// barycentric mean of shares, parameters and maps at the closest place of the triangles of `from`;
/// parameters weigh as much as the block acts. Points farther than `maxDistance` (below 0: 0.05 of the size
/// of `from`) take the mean of their neighbours along the edges, wave after wave. HostError kInput when
/// `from` has no triangle or no point of `to` is near enough.
TransferResult transferRig(RigFile& rig, const Character& from, const Character& to,
                           double maxDistance = -1.0);

} // namespace talvisora::host
