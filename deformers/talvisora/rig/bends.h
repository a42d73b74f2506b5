// SPDX-License-Identifier: Apache-2.0
// Bend controls: a control of the rig carries the two in-between control points of its segment.
#pragma once

#include <vector>

#include "fault.h"
#include "gr_data.h"
#include "hierarchy.h"
#include "maths/vec3.h"
#include "node/messages.h"

namespace talvisora {

/// Moves the current control points (3 n - 2, world space) by the bend controls named in `bends`, whose
/// logical index is the segment. Entries act in list order, each on what the earlier ones left. Empty names
/// and segments outside the chain are skipped; lists of different length move nothing. Every control that is
/// not in the table adds a fault, and the next one is tried.
void applyBends(const GrString& bends, const GrHierarchy& hierarchy, const SetupLines& lines,
                std::vector<Vec3d>& controlPoints, std::vector<Fault>& faults);

} // namespace talvisora
