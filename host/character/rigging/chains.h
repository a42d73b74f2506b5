// SPDX-License-Identifier: Apache-2.0
// Which joints form which chain. Private to the automatic rig.
//
// A chain is a maximal unbranched run. Every joint that moves points is owned by exactly one chain: the run
// that arrives at it; a root joint by the first run that it starts. Left out before: joints above the first
// that moves points, branches that move nothing. Folded into their parents: joints that coincide with the
// parent and never move against it, and twist helpers on a bone.
#pragma once

#include "host/character/auto_blocks.h"

namespace talvisora::host::rigging {

struct Chain {
    std::string name;           ///< of the block; empty: the name of the first joint that it owns
    std::vector<int> joints;    ///< indices into Character::joints, in chain order
    std::size_t firstOwned = 0; ///< 1 when the chain starts with the branching joint that another chain owns
    bool sharedLast = false;    ///< the last joint belongs to the piece that goes on from it
    bool leafEnd = false;       ///< the last joint has no joints below it
    bool needsEnd = false;      ///< the last joint moves points: a virtual end must follow
};

struct ChainPlan {
    std::vector<Chain> chains;   ///< in depth-first order of the joints
    std::vector<int> foldedInto; ///< per joint: the joint that carries its weights; itself when not folded
    std::vector<std::string> notes;
};

/// recordLimit: most joints of one chain, virtual end included (10, or 30 for simple blocks).
ChainPlan planChains(const Character& character, std::size_t recordLimit);

} // namespace talvisora::host::rigging
