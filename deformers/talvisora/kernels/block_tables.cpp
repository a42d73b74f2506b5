// SPDX-License-Identifier: Apache-2.0
// One block's table: offset carriers, then the centre joints that act with their reach over the spans.
#include "kernels/block_tables.h"

#include <algorithm>

#include "maths/matrix44.h"

namespace talvisora {

namespace {

Vec3d widen(const Float3Slot& v) {
    return {v.x, v.y, v.z};
}

void put(double (&to)[3], const Vec3d& v) {
    to[0] = v.x;
    to[1] = v.y;
    to[2] = v.z;
}

Vec3d get(const double (&from)[3]) {
    return {from[0], from[1], from[2]};
}

OffsetCarrier makeCarrier(const Matrix44d& current, const Matrix44d& rest, const Matrix44d& restInverse) {
    OffsetCarrier carrier;
    const Matrix44d carry = restInverse * current;
    put(carrier.rest, translation(rest));
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) carrier.linear[3 * r + c] = carry(r, c);
    // The rest control point is the origin of its own matrix, so this is the current control point up to
    // rounding; written out because the inverse of a singular matrix is the identity.
    put(carrier.constant, pointMultMat(pointMultMat(translation(rest), restInverse), current));
    return carrier;
}

/// Coefficients of dot(direction, displacement) over the offset; the displacement is that of the joint's
/// offset control point from its current one.
void putDot(double (&to)[4], const Vec3d& direction, const OffsetCarrier& carrier, const Vec3d& current) {
    for (int r = 0; r < 3; ++r)
        to[r] = carrier.linear[3 * r] * direction.x + carrier.linear[3 * r + 1] * direction.y +
                carrier.linear[3 * r + 2] * direction.z;
    to[3] = dot(direction, get(carrier.constant) - current);
}

/// Steps that can move anything. With no extra bend every amount is zero, and so is every collision.
uint32_t actingSteps(const Tweak& t, float angleWeight, bool simple) {
    if (angleWeight == 0.0f) return 0;
    uint32_t steps = t.centerIn != 0.0f || t.centerOut != 0.0f ? kCentreStep : 0u;
    if (simple) return steps; // a simple block has no in-between points to move
    if (t.slidePrevIn != 0.0f || t.slideNextIn != 0.0f || t.slidePrevOut != 0.0f || t.slideNextOut != 0.0f)
        steps |= kSlideStep;
    if (t.slideOrthoPrevIn != 0.0f || t.slideOrthoNextIn != 0.0f || t.slideOrthoPrevOut != 0.0f ||
        t.slideOrthoNextOut != 0.0f)
        steps |= kOrthoStep;
    if (t.collisionBulge != 0.0f) steps |= kCollisionBulgeStep;
    if (t.bulge != 0.0f) steps |= kBulgeStep;
    if (t.collision > 0.0f) steps |= kCollisionStep;
    return steps;
}

void fillJoint(const Tweak& t, const TweakVectors& v, const OffsetCarrier& carrier, const Vec3d& current,
               TweakJoint& joint) {
    putDot(joint.zAxisDot, widen(v.zAxis), carrier, current);
    putDot(joint.deformDot, widen(v.deformVec), carrier, current);
    put(joint.deformVec, widen(v.deformVec));
    put(joint.nextVec, widen(v.nextVec));
    put(joint.prevVec, widen(v.prevVec));
    put(joint.planeNormal, widen(v.planeNormal));
    put(joint.planePoint, widen(v.planePoint));
    put(joint.zAxis, widen(v.zAxis));
    joint.angleWeight = v.angleWeight;
    joint.centerIn = t.centerIn;
    joint.centerOut = t.centerOut;
    joint.slidePrevIn = t.slidePrevIn;
    joint.slideNextIn = t.slideNextIn;
    joint.slidePrevOut = t.slidePrevOut;
    joint.slideNextOut = t.slideNextOut;
    joint.slideOrthoPrevIn = t.slideOrthoPrevIn;
    joint.slideOrthoNextIn = t.slideOrthoNextIn;
    joint.slideOrthoPrevOut = t.slideOrthoPrevOut;
    joint.slideOrthoNextOut = t.slideOrthoNextOut;
    joint.collisionBulge = t.collisionBulge;
    // Kept in single precision: in double this product would shift results by 3e-10.
    joint.bulgeAngle = t.bulge * v.angleWeight;
    joint.collision = t.collision;
    joint.collisionClamp = std::min(std::max(v.angleWeight, 0.0f), 1.0f);
}

} // namespace

void buildBlockTable(const BlockInfo& block, const Matrix44d* current, const Matrix44d* rest,
                     const Matrix44d* restInverse, const Tweak* tweaks, const TweakVectors* vectors,
                     BlockTable& table) {
    table.env = block.env;
    table.controlPoints = controlPointCount(block);
    for (int k = 0; k < table.controlPoints; ++k)
        table.carriers[k] = makeCarrier(current[k], rest[k], restInverse[k]);

    table.jointCount = 0;
    for (int j = 0; j < centreJointCount(block); ++j) {
        const uint32_t steps = actingSteps(tweaks[j], vectors[j].angleWeight, block.simple != 0);
        if (!steps) continue;
        TweakJoint& joint = table.joints[table.jointCount++];
        joint.controlPoint = (j + 1) * pointsPerJoint(block);
        joint.steps = steps;
        joint.reach = steps & kCollisionStep ? 2 : steps == kCentreStep ? 0 : 1;
        fillJoint(tweaks[j], vectors[j], table.carriers[joint.controlPoint],
                  translation(current[joint.controlPoint]), joint);
    }

    for (int span = 0; span < MAX_CV_MATRICES; ++span) {
        int first = 0, count = 0;
        for (int j = 0; j < table.jointCount; ++j) {
            const TweakJoint& joint = table.joints[j];
            const bool reaches =
                joint.controlPoint + joint.reach >= span - 3 && joint.controlPoint - joint.reach <= span;
            if (!reaches) continue;
            if (count == 0) first = j;
            count = j - first + 1;
        }
        table.firstJoint[span] = static_cast<uint8_t>(first);
        table.spanJoints[span] = static_cast<uint8_t>(count);
    }
}

} // namespace talvisora
