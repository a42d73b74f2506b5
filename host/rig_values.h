// SPDX-License-Identifier: Apache-2.0
// From a character and its rig to the typed values that a node is handed: run settings, attributes, the
// shared joint table, the deform record. Built once; per frame only the joint table's current matrices and
// the points change.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/session.h"

namespace talvisora::host {

/// Fills attributes, shared inputs and record of the session for the rig in its present pose: caching on,
/// envelope 1, every point active. `tangentTurn` puts the run setting TANGENT_TURN 1 in; without it the
/// setting is left out.
void fillSession(Session& session, const Character& character, const AutoRig& rig, bool tangentTurn);

/// Before each evaluation: the rig's current matrices into the shared joint table, the rest points into the
/// record. The session must have been filled for this rig and character.
void setFrame(Session& session, const Character& character, const AutoRig& rig);

} // namespace talvisora::host
