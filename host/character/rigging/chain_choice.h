// SPDX-License-Identifier: Apache-2.0
// Chains that somebody chose by hand: "spine=Pelvis..Neck, tail=Tail01..Tail06". Private to the automatic
// rig.
#pragma once

#include "host/character/rigging/chains.h"

namespace talvisora::host::rigging {

/// The chains of a text: NAME=FIRST..LAST, or NAME=JOINT for a rigid part, separated by commas or line ends;
/// a backslash takes the character after it as it is. Blanks around names do not count.
///
/// A joint that stands in several chains belongs to the one that arrives at it; where all of them start with
/// it, to the first. A joint in none gives its points to the nearest joint above that has a chain (a note
/// says so). A chain gets a virtual end when its last joint is its own and moves points, or when it has no
/// other joint. HostError kUsage, "--blocks: …": text that cannot be read, unknown joints, LAST not below
/// FIRST, a joint inside two chains, more records than the limit.
ChainPlan planChosenChains(const Character& character, const std::string& choice, std::size_t recordLimit);

} // namespace talvisora::host::rigging
