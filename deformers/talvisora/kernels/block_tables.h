// SPDX-License-Identifier: Apache-2.0
// What the point stage reads of a block, prepared once per evaluation: rest points, the matrices that carry
// an offset from rest to current pose in one product, and the centre joints whose tweaks act, with the
// products that are the same for every point. Plain doubles: included by the processor variants.
#pragma once

#include "kernels/records.h"

namespace talvisora {

struct Matrix44d;

/// Steps of one centre joint's tweaks that have an effect at all.
enum TweakSteps : uint32_t {
    kCentreStep = 1,
    kSlideStep = 2,
    kOrthoStep = 4,
    kCollisionBulgeStep = 8,
    kBulgeStep = 16,
    kCollisionStep = 32,
};

/// Carries an offset from rest to current pose: the offset copy of the control point is offset · linear +
/// constant. Row-major, row vectors, world space.
struct OffsetCarrier {
    double rest[3]; ///< the rest control point
    double linear[9];
    double constant[3];
};

/// One centre joint with at least one step that acts. Single-precision values are widened.
struct TweakJoint {
    int32_t controlPoint; ///< its own control point n
    uint32_t steps;       ///< TweakSteps
    int32_t reach;        ///< it moves control points n - reach to n + reach
    double zAxisDot[4];   ///< dot(zAxis, displacement) = offset · [0..2] + [3]
    double deformDot[4];  ///< dot(deformVec, displacement), likewise
    double deformVec[3];
    double nextVec[3];
    double prevVec[3];
    double planeNormal[3];
    double planePoint[3];
    double zAxis[3];
    double angleWeight;
    double centerIn, centerOut;
    double slidePrevIn, slideNextIn, slidePrevOut, slideNextOut;
    double slideOrthoPrevIn, slideOrthoNextIn, slideOrthoPrevOut, slideOrthoNextOut;
    double collisionBulge;
    double bulgeAngle; ///< bulge · angleWeight, a single-precision product
    double collision;
    double collisionClamp; ///< angleWeight held in [0, 1]
};

struct BlockTable {
    float env;
    int32_t controlPoints;
    OffsetCarrier carriers[MAX_CV_MATRICES];
    int32_t jointCount;
    TweakJoint joints[MAX_CV_MATRICES];  ///< ascending
    uint8_t firstJoint[MAX_CV_MATRICES]; ///< per span: the joints that move one of its four control points
    uint8_t spanJoints[MAX_CV_MATRICES];
};

/// Fills the table of one block. The matrices are the block's 30 slots and affine (the rig set-up makes no
/// others); the same for tweaks and vectors.
void buildBlockTable(const BlockInfo& block, const Matrix44d* current, const Matrix44d* rest,
                     const Matrix44d* restInverse, const Tweak* tweaks, const TweakVectors* vectors,
                     BlockTable& table);

} // namespace talvisora
