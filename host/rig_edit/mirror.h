// SPDX-License-Identifier: Apache-2.0
// Mirrors a rig's weights, parameters and weight maps from one side of a character to the other. Pure
// functions: nothing here reads or writes files.
#pragma once

#include "host/character/character.h"
#include "host/rig_file/rig_file.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace talvisora::host {

/// Parts of names that tell the sides apart, "_L" and "_R".
using NamePairs = std::vector<std::pair<std::string, std::string>>;

/// "_L/_R,Left/Right". HostError kUsage for anything else.
NamePairs parseNamePairs(const std::string& text);
/// _L/_R, .L/.R, L_/R_, the same in small letters, Left/Right, left/right, LEFT/RIGHT.
const NamePairs& defaultNamePairs();

/// All names that `name` may have on the other side, in the order of the pairs, each once; none when it has
/// no side. A part counts where it stands by itself: "_L" in "Leg_L_01", not in "Leg_Low"; "Left" in
/// "upperLeftArm", not in "Leftover".
std::vector<std::string> otherSideNames(const std::string& name, const NamePairs& pairs);

struct MirrorOptions {
    int axis = 0;             ///< 0, 1, 2: x, y, z; the plane goes through the origin
    bool fromPositive = true; ///< from the side where the axis is positive to the other one
    double seam = -1.0;      ///< points at most so far from the plane are on the seam; below 0: the tolerance
    double tolerance = -1.0; ///< how far a mirrored point may miss its partner; below 0: 0.001 of the size
    NamePairs pairs = defaultNamePairs();
};

struct MirrorResult {
    std::vector<std::pair<std::string, std::string>> pairs; ///< blocks, the earlier one first
    std::vector<std::string> centre;                        ///< blocks without a side
    std::size_t mirrored = 0;                               ///< points that took over the other side's values
    std::size_t seam = 0;                                   ///< points that got the mean of both sides
    std::vector<std::uint32_t> unmatched;                   ///< points without a partner; left as they were
};

/// Per point the one that lies where it is mirrored to; of several the one whose neighbours fit, too.
std::vector<std::optional<std::uint32_t>> mirrorPartners(const Character& character, int axis,
                                                         double tolerance);

/// The rig must fit the character. A point of the other side gets, for every block, share and parameter of
/// the paired block at its partner; centre blocks are their own pair. A point on the seam gets the mean of
/// its own and that. HostError kInput: a block with a side but without a pair, a pair with unequal numbers of
/// joints.
MirrorResult mirrorRig(RigFile& rig, const Character& character, const MirrorOptions& options = {});

} // namespace talvisora::host
