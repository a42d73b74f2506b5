// SPDX-License-Identifier: Apache-2.0
// Chain order matters: world matrices first, then the aim correction from the first joint on, then the
// frames, which read the corrected axes of two neighbours.
#include "rig/joint_chain.h"

#include <algorithm>

#include "kernels/records.h"
#include "maths/quaternion.h"
#include "world_matrices.h"

namespace talvisora {
namespace {

/// World matrix of joint i. In a chain the previous joint is mostly the parent, and its matrix, which is the
/// walk up to the root, is at hand.
Fault worldMatrix(const std::vector<std::string>& names, const GrHierarchy& hierarchy,
                  const JointRecord& record, Pose pose, std::size_t i, std::vector<Matrix44d>& world) {
    if (i > 0 && !record.parent.empty() && record.parent == names[i - 1]) {
        world[i] = GrHierarchy::underParent(record, pose, world[i - 1]);
        return {};
    }
    return hierarchy.worldMatrix(names[i], pose, world[i]);
}

/// Joints that no block has room for are not used, but one that is not there is still reported first.
Fault checkFurtherJoints(const std::vector<std::string>& names, std::size_t first,
                         const GrHierarchy& hierarchy, const SetupLines& lines) {
    WorldMatrices world(hierarchy, Pose::kCurrent);
    Matrix44d unused;
    for (std::size_t i = first; i < names.size(); ++i) {
        if (!hierarchy.find(names[i])) return jointNotFound(lines, names[i]);
        if (Fault fault = world.of(names[i], unused)) return fault;
    }
    return {};
}

void translationsOf(const std::vector<Matrix44d>& matrices, std::vector<Vec3d>& positions) {
    positions.resize(matrices.size());
    for (std::size_t i = 0; i < matrices.size(); ++i) positions[i] = translation(matrices[i]);
}

void buildFrames(const std::vector<Matrix44d>& world, std::vector<Matrix44d>& frames) {
    frames.resize(world.size());
    for (std::size_t i = 0; i < world.size(); ++i) {
        Matrix44d frame = world[i];
        if (i > 0) frame = frame * toMatrix(shortestTurn(row(world[i], 0), row(world[i - 1], 0)));
        for (int axis = 0; axis < 3; ++axis) setRow(frame, axis, normalise(row(frame, axis)));
        setTranslation(frame, translation(world[i]));
        frames[i] = frame;
    }
}

} // namespace

Fault readJointChain(const std::vector<std::string>& names, const GrHierarchy& hierarchy,
                     const SetupLines& lines, JointChain& chain) {
    const std::size_t used = std::min(names.size(), static_cast<std::size_t>(MAX_CV_MATRICES));
    chain.world.resize(used);
    chain.restWorld.resize(used);
    for (std::size_t i = 0; i < used; ++i) {
        const JointRecord* record = hierarchy.find(names[i]);
        if (!record) return jointNotFound(lines, names[i]);
        if (Fault fault = worldMatrix(names, hierarchy, *record, Pose::kCurrent, i, chain.world))
            return fault;
        if (Fault fault = worldMatrix(names, hierarchy, *record, Pose::kRest, i, chain.restWorld))
            return fault;
    }
    if (Fault fault = checkFurtherJoints(names, used, hierarchy, lines)) return fault;
    translationsOf(chain.world, chain.positions);
    translationsOf(chain.restWorld, chain.restPositions);
    return {};
}

void aimJoints(JointChain& chain) {
    for (std::size_t i = 0; i + 1 < chain.world.size(); ++i) {
        Matrix44d& world = chain.world[i];
        const Vec3d here = translation(world);
        const Vec3d predicted = translation(chain.restWorld[i + 1] * inverse(chain.restWorld[i]) * world);
        const Matrix44d turn =
            toMatrix(shortestTurn(predicted - here, translation(chain.world[i + 1]) - here));
        world = world * turn;
        setTranslation(world, here);
    }
}

void buildJointFrames(JointChain& chain) {
    buildFrames(chain.world, chain.frames);
    buildFrames(chain.restWorld, chain.restFrames);
}

} // namespace talvisora
