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

/// How a mesh's object space lies in the world, for tables that take points as they come. Only matrices that
/// are affine, have a true inverse and are not too lopsided are folded into tables: the others would cost
/// digits.
struct ObjectFrame {
    int32_t folded;
    double toWorld[9];  ///< linear part, row-major, row vectors
    double toObject[9]; ///< of the inverse
    double shift[4];    ///< added to an object-space point: its place relative to the tables' rest points
};

/// Control point of the rest curve, and what carries an offset from it. Rows of four doubles, the fourth 0;
/// row-major, row vectors. When folded, rest points and offsets are in object axes and so is the result; else
/// the rest point is in the world and the others are not filled.
struct OffsetCarrier {
    double rest[4];
    double linear[12];
    double constant[4]; ///< the offset copy is offset · linear + constant
};

/// The same offset carried into the world, where tweaks act. Offsets in object axes when folded.
struct WorldCarrier {
    double linear[12];
    double constant[4];
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
    double planeDistance; ///< of the collision plane from the origin, along its normal
    double zAxis[3];
    double angleWeight;
    double centerIn, centerOut;
    double slidePrevIn, slideNextIn, slidePrevOut, slideNextOut;
    double slideOrthoPrevIn, slideOrthoNextIn, slideOrthoPrevOut, slideOrthoNextOut;
    double collisionBulgeAngle; ///< collisionBulge · angleWeight
    double bulgeAngle;          ///< bulge · angleWeight, a single-precision product
    float planeNormalFloat[3];
    float collision;
    float collisionClamp; ///< angleWeight held in [0, 1]
};

struct BlockTable {
    float env;
    int32_t controlPoints;
    OffsetCarrier carriers[MAX_CV_MATRICES];
    WorldCarrier world[MAX_CV_MATRICES];
    int32_t jointCount;
    TweakJoint joints[MAX_CV_MATRICES];  ///< ascending
    uint8_t firstJoint[MAX_CV_MATRICES]; ///< per span: the joints that move one of its four control points
    uint8_t spanJoints[MAX_CV_MATRICES];
};

/// The frame of a geometry matrix and its inverse.
void makeObjectFrame(const Matrix44d& geoMatrix, const Matrix44d& geoMatrixInverse, ObjectFrame& frame);

/// Fills the table of one block. The matrices are the block's 30 slots and affine (the rig set-up makes no
/// others); the same for tweaks and vectors.
void buildBlockTable(const BlockInfo& block, const Matrix44d* current, const Matrix44d* rest,
                     const Matrix44d* restInverse, const Tweak* tweaks, const TweakVectors* vectors,
                     const ObjectFrame& frame, BlockTable& table);

} // namespace talvisora
