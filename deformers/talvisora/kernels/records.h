// SPDX-License-Identifier: Apache-2.0
// The records that the rig set-up fills and the point mathematics reads, in the layout in which they cross to
// the device (twin: records.cl), and every index formula, once. Included by the processor variants: no header
// with ordinary inline functions or templates may be added here.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace talvisora {

/// Control points (and control matrices, tweak records, tweak vectors) that a block can hold.
static constexpr int MAX_CV_MATRICES = 30;
/// Knots of the largest block: degree 3 needs four more than control points.
static constexpr int kMaxKnots = MAX_CV_MATRICES + 4;
/// Per-point tweak weight maps, in this order: collision, bulge, centre in, centre out, slide in, slide out.
static constexpr int kWeightMapCount = 6;

/// What a block is, apart from its matrices.
struct BlockInfo {
    int32_t numMatrices; ///< joints of the chain
    float env;           ///< the block's envelope
    int32_t simple;      ///< 1: one control point per joint; 0: three (two in-between points per segment)
};

/// The user's fourteen amounts for one centre joint. Zeros have no effect.
struct Tweak {
    float collision;
    float collisionPlane;
    float bulge;
    float collisionBulge;
    float centerIn;
    float centerOut;
    float slidePrevIn;
    float slideNextIn;
    float slidePrevOut;
    float slideNextOut;
    float slideOrthoPrevIn;
    float slideOrthoNextIn;
    float slideOrthoPrevOut;
    float slideOrthoNextOut;
};

/// Three floats in a slot of sixteen bytes, as the device lays out its three-component vectors.
struct Float3Slot {
    float x;
    float y;
    float z;
    float unused;
};

/// The frame of one centre joint in the current pose, world space.
struct TweakVectors {
    Float3Slot deformVec;   ///< bisector, into the inside of the bend
    Float3Slot nextVec;     ///< towards the next joint
    Float3Slot prevVec;     ///< towards the previous joint
    Float3Slot planeNormal; ///< of the collision plane
    Float3Slot planePoint;  ///< on the collision plane
    Float3Slot zAxis;       ///< bend axis
    float angleWeight;      ///< radians that the joint is bent more than at rest, 0 to 2 pi
    float padding[3];
};

static_assert(sizeof(BlockInfo) == 12 && offsetof(BlockInfo, simple) == 8, "device layout");
static_assert(sizeof(Tweak) == 56 && offsetof(Tweak, slideOrthoNextOut) == 52, "device layout");
static_assert(sizeof(TweakVectors) == 112 && offsetof(TweakVectors, zAxis) == 80 &&
                  offsetof(TweakVectors, angleWeight) == 96,
              "device layout");

/// Control points of a block: one per joint when simple, else three per joint less the two that would follow
/// the last one.
static inline int controlPointCount(const BlockInfo& block) {
    return block.simple ? block.numMatrices : block.numMatrices * 3 - 2;
}

/// Control points per joint: the control point of centre joint j is (j + 1) times this.
static inline int pointsPerJoint(const BlockInfo& block) {
    return block.simple ? 1 : 3;
}

/// Joints with a joint before and after them; never negative.
static inline int centreJointCount(const BlockInfo& block) {
    return block.numMatrices > 2 ? block.numMatrices - 2 : 0;
}

/// Place of control point, matrix, tweak record or tweak vectors k of block b in the per-block arrays.
static inline size_t slot(int b, int k) {
    return (size_t)b * MAX_CV_MATRICES + (size_t)k;
}
/// Place of knot k of block b.
static inline size_t knotSlot(int b, int k) {
    return (size_t)b * kMaxKnots + (size_t)k;
}
/// Place of point i of block b in the block-major per-point arrays of N points.
static inline size_t pointSlot(int b, size_t pointCount, size_t i) {
    return (size_t)b * pointCount + i;
}
/// Place of point i in weight map m.
static inline size_t mapSlot(int m, size_t pointCount, size_t i) {
    return (size_t)m * pointCount + i;
}

} // namespace talvisora
