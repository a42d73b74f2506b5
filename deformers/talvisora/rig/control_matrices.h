// SPDX-License-Identifier: Apache-2.0
// Control matrices of one block: the frames that carry a point's offset from its rest to its current pose.
#pragma once

#include <cstdint>
#include <vector>

#include "kernels/curve.h"
#include "maths/matrix44.h"
#include "maths/quaternion.h"
#include "rig/control_polygon.h"
#include "rig/joint_chain.h"

namespace talvisora {

/// Three perpendicular unit axes as a turn, and whether the matrix they come from was mirrored.
struct Orientation {
    Quatd turn;
    bool mirrored = false;
};

/// The orientation of a matrix whose axes may be scaled, sheared or mirrored: x is kept, y is made
/// perpendicular to it, z follows. A missing axis leaves some orientation, never a number that is not one.
Orientation orientationOf(const Matrix44d& matrix);

/// The row matrix of an orientation; a mirrored one has its third axis turned round.
Matrix44d toMatrix(const Orientation& orientation);

/// Unit tangent at u, in the direction of growing parameter; zero where the curve stands still. Measured over
/// a step of 0.001. `relative` are the control points less the first one: single-precision basis values do
/// not sum to exactly 1, and far from the origin the difference would drown in that.
Vec3d curveTangent(const Vec3d* relative, const std::vector<float>& knots, float u);

/// The turn that a current control matrix takes from its curve, from the rest tangent to the current one,
/// both of unit length or zero. Both are world directions, so a rig that turns as a whole turns its offsets a
/// second time. With `carried` the rest tangent is first carried into the current pose by the point's own
/// frame, and only what the curve does beyond that turns the matrix.
Matrix44d tangentTurn(const Vec3d& restTangent, const Vec3d& tangent, const Matrix44d& restOrientation,
                      const Matrix44d& orientation, bool carried);

/// What buildControlMatrices reads. World space, doubles.
struct ControlMatrixInputs {
    const JointChain& chain; ///< n joints with their frames
    const Curve& current;    ///< C control points, after the bends
    const Curve& rest;       ///< C control points
    const float* parameters; ///< C, on the rest curve
    bool simple;             ///< one control point per joint
    InBetween factors;       ///< of the two in-between points
    bool carryTangents;      ///< see tangentTurn
};

/// Where a tangent is measured: the two curve points of curveTangent, as spans and basis values. They depend
/// on knots and parameter only.
struct TangentStencil {
    std::int32_t firstHere, firstThere; ///< the first of the four control points that count
    float basisHere[4], basisThere[4];
    bool forward;
};

/// Memory that is used again by the next evaluation, and what holds until the rest pose changes.
struct ControlMatrixScratch {
    std::vector<Vec3d> relative;

    bool restKept =
        false; ///< all of the following, and the rest matrices, were made of the rest pose at hand
    bool simple = false;
    InBetween factors{};
    std::vector<float> parameters; ///< C, that the stencils were made for
    std::vector<TangentStencil> stencils;
    std::vector<Vec3d> restTangents;
    std::vector<Matrix44d> restOrientations;
};

/// Fills C current matrices, C rest matrices and the rests' inverses. Row-major, row vectors; a rest matrix
/// without an inverse gives the identity. Needs at most MAX_CV_MATRICES joints and control points. Cannot
/// fail. The rest side is left as it is while `scratch.restKept` holds, the chain's rest is kept, and
/// parameters and the way of building are the same; the arrays must then be those of the last call.
void buildControlMatrices(const ControlMatrixInputs& inputs, ControlMatrixScratch& scratch,
                          Matrix44d* current, Matrix44d* rest, Matrix44d* restInverse);

} // namespace talvisora
