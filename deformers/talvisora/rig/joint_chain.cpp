// SPDX-License-Identifier: Apache-2.0
// Chain order matters: world matrices first, then the aim correction from the first joint on, then the
// frames, which read the corrected axes of two neighbours.
#include "rig/joint_chain.h"

#include <algorithm>
#include <cstring>

#include "kernels/records.h"
#include "maths/quaternion.h"
#include "world_matrices.h"

namespace talvisora {
namespace {

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

bool sameBits(const std::vector<Matrix44d>& a, const std::vector<Matrix44d>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

/// The fourth row of a · b.
Vec3d translationOfProduct(const Matrix44d& a, const Matrix44d& b) {
    const auto at = [&](int c) {
        return a.m[12] * b.m[c] + a.m[13] * b.m[4 + c] + a.m[14] * b.m[8 + c] + a.m[15] * b.m[12 + c];
    };
    return {at(0), at(1), at(2)};
}

void translationsOf(const std::vector<Matrix44d>& matrices, std::vector<Vec3d>& positions) {
    positions.resize(matrices.size());
    for (std::size_t i = 0; i < matrices.size(); ++i) positions[i] = translation(matrices[i]);
}

void buildFrames(const std::vector<Matrix44d>& world, std::vector<Matrix44d>& frames) {
    frames.resize(world.size());
    for (std::size_t i = 0; i < world.size(); ++i) {
        Matrix44d& frame = frames[i]; // filled in place: copies of fresh matrices wait for their parts
        const Matrix44d turn =
            i > 0 ? toMatrix(shortestTurn(row(world[i], 0), row(world[i - 1], 0))) : Matrix44d{};
        for (int axis = 0; axis < 3; ++axis) {
            setRow(frame, axis, normalise(vectorMultMat(row(world[i], axis), turn)));
            frame.m[4 * axis + 3] = world[i].m[4 * axis + 3];
        }
        setTranslation(frame, translation(world[i]));
        frame.m[15] = world[i].m[15];
    }
}

} // namespace

Matrix44d turned(const Matrix44d& matrix, const Matrix44d& turn) {
    Matrix44d product;
    for (int r = 0; r < 3; ++r) {
        setRow(product, r, vectorMultMat(row(matrix, r), turn));
        product.m[4 * r + 3] = matrix.m[4 * r + 3];
    }
    setTranslation(product, translation(matrix));
    product.m[15] = matrix.m[15];
    return product;
}

Fault readJointChain(const std::vector<std::string>& names, const GrHierarchy& hierarchy,
                     const SetupLines& lines, JointChain& chain) {
    const std::size_t used = std::min(names.size(), static_cast<std::size_t>(MAX_CV_MATRICES));
    const bool restRead = chain.restRead;
    chain.restRead = false; // until all of it is
    chain.restKept = false;
    chain.restWorld.swap(chain.restBefore);
    chain.world.resize(used);
    chain.restWorld.resize(used);
    chain.walk.start();
    for (std::size_t i = 0; i < used; ++i) {
        const JointRecord* record = hierarchy.find(names[i]);
        if (!record) return jointNotFound(lines, names[i]);
        if (Fault fault = chain.walk.of(hierarchy, *record, names[i], chain.world[i], chain.restWorld[i]))
            return fault;
    }
    if (names.size() > used)
        if (Fault fault = checkFurtherJoints(names, used, hierarchy, lines)) return fault;
    translationsOf(chain.world, chain.positions);
    chain.restRead = true;
    chain.restKept = restRead && sameBits(chain.restWorld, chain.restBefore);
    if (chain.restKept) return {};
    chain.restFramesMade = false;
    translationsOf(chain.restWorld, chain.restPositions);
    chain.restSteps.resize(used > 0 ? used - 1 : 0);
    for (std::size_t i = 0; i + 1 < used; ++i)
        chain.restSteps[i] = chain.restWorld[i + 1] * inverse(chain.restWorld[i]);
    return {};
}

void aimJoints(JointChain& chain) {
    for (std::size_t i = 0; i + 1 < chain.world.size(); ++i) {
        Matrix44d& world = chain.world[i];
        const Vec3d here = translation(world);
        const Vec3d predicted = translationOfProduct(chain.restSteps[i], world);
        const Matrix44d turn =
            toMatrix(shortestTurn(predicted - here, translation(chain.world[i + 1]) - here));
        world = turned(world, turn);
        setTranslation(world, here);
    }
}

void buildJointFrames(JointChain& chain) {
    buildFrames(chain.world, chain.frames);
    if (chain.restFramesMade) return;
    buildFrames(chain.restWorld, chain.restFrames);
    chain.restFramesMade = true;
}

} // namespace talvisora
