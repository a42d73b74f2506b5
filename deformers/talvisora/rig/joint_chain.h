// SPDX-License-Identifier: Apache-2.0
// The joints of one block: world matrices by name, the aim correction that lets every joint look at the next
// one, and the joints' own frames, which take the twist out between neighbours.
#pragma once

#include <string>
#include <vector>

#include "fault.h"
#include "hierarchy.h"
#include "maths/matrix44.h"
#include "node/messages.h"
#include "rig/parent_walk.h"

namespace talvisora {

/// n joints in chain order, world space, doubles. Vectors of n elements once the step that fills them is
/// done. Kept from one evaluation to the next: a rig is bound once, so its rest side is worked out once.
struct JointChain {
    std::vector<Matrix44d> world;     ///< current; aim-corrected from aimJoints on
    std::vector<Matrix44d> restWorld; ///< as bound, never corrected
    std::vector<Vec3d> positions;     ///< translations of `world`
    std::vector<Vec3d> restPositions;
    std::vector<Matrix44d>
        frames; ///< joint control matrices: unit axes, x turned onto the previous joint's x
    std::vector<Matrix44d> restFrames;
    std::vector<Matrix44d> restSteps; ///< n - 1: rest matrix of joint i + 1 relative to joint i

    /// The rest matrices are the last reading's, bit for bit: whatever was made of them still holds.
    bool restKept = false;
    bool restRead = false;       ///< `restWorld` and what follows from it are whole
    bool restFramesMade = false; ///< `restFrames` belong to `restWorld`
    ParentWalk walk;
    std::vector<Matrix44d> restBefore; ///< working memory
};

/// The axes of matrix · turn; translation and fourth column stay the matrix's own.
Matrix44d turned(const Matrix44d& matrix, const Matrix44d& turn);

/// Looks the joints up and fills `world`, `restWorld` and both positions. A fault names the first joint that
/// is not in the table, or the record at which a walk to the root ended. Joints past MAX_CV_MATRICES are
/// checked alike but not kept: no block takes so many.
Fault readJointChain(const std::vector<std::string>& names, const GrHierarchy& hierarchy,
                     const SetupLines& lines, JointChain& chain);

/// Turns every current joint but the last so that the next joint lies where its rest placement says: a
/// stretched or translated joint does not bend the skin. Positions stay.
void aimJoints(JointChain& chain);

/// Fills `frames` and `restFrames`. Coincident or broken axes turn nothing.
void buildJointFrames(JointChain& chain);

} // namespace talvisora
