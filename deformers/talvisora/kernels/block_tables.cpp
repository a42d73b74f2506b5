// SPDX-License-Identifier: Apache-2.0
// One block's table: offset carriers, then the centre joints that act with their reach over the spans.
#include "kernels/block_tables.h"

#include <algorithm>
#include <cmath>

#include "maths/matrix44.h"

namespace talvisora {

namespace {

Vec3d widen(const Float3Slot& v) {
    return {v.x, v.y, v.z};
}

void put3(double* to, const Vec3d& v) {
    to[0] = v.x;
    to[1] = v.y;
    to[2] = v.z;
}

/// v · m for nine doubles.
void times(const double* v, const double* m, double* to) {
    for (int c = 0; c < 3; ++c) to[c] = v[0] * m[c] + v[1] * m[3 + c] + v[2] * m[6 + c];
}

/// What carries an offset from rest to current pose, in the world: the linear part of restInverse · current.
void makeWorldCarrier(const Matrix44d& current, const Matrix44d& rest, const Matrix44d& restInverse,
                      WorldCarrier& world) {
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            world.linear[4 * r + c] = restInverse(r, 0) * current(0, c) + restInverse(r, 1) * current(1, c) +
                                      restInverse(r, 2) * current(2, c);
        world.linear[4 * r + 3] = 0.0;
    }
    // The rest control point is the origin of its own matrix, so this is the current control point up to
    // rounding; written out because the inverse of a singular matrix is the identity.
    const Vec3d origin = pointMultMat(pointMultMat(translation(rest), restInverse), current);
    put3(world.constant, origin);
    world.constant[3] = 0.0;
}

/// The same for offsets in object axes, and from there back into object space.
void foldCarrier(const ObjectFrame& frame, const Matrix44d& rest, WorldCarrier& world,
                 OffsetCarrier& carrier) {
    times(rest.m + 12, frame.toObject, carrier.rest);
    times(world.constant, frame.toObject, carrier.constant);
    double folded[12];
    for (int r = 0; r < 3; ++r) {
        const double* axis = frame.toWorld + 3 * r;
        for (int c = 0; c < 3; ++c)
            folded[4 * r + c] =
                axis[0] * world.linear[c] + axis[1] * world.linear[4 + c] + axis[2] * world.linear[8 + c];
        folded[4 * r + 3] = 0.0;
        times(folded + 4 * r, frame.toObject, carrier.linear + 4 * r);
        carrier.linear[4 * r + 3] = 0.0;
    }
    carrier.rest[3] = carrier.constant[3] = 0.0;
    std::copy(folded, folded + 12, world.linear);
}

/// Coefficients of dot(direction, displacement) over the offset; the displacement is that of the joint's
/// offset control point from its current one.
void putDot(double (&to)[4], const Vec3d& direction, const WorldCarrier& carrier, const Vec3d& current) {
    for (int r = 0; r < 3; ++r)
        to[r] = carrier.linear[4 * r] * direction.x + carrier.linear[4 * r + 1] * direction.y +
                carrier.linear[4 * r + 2] * direction.z;
    to[3] = direction.x * (carrier.constant[0] - current.x) +
            direction.y * (carrier.constant[1] - current.y) + direction.z * (carrier.constant[2] - current.z);
}

bool isZero(const Float3Slot& v) {
    return v.x == 0.0f && v.y == 0.0f && v.z == 0.0f;
}

/// Steps whose amounts are not all zero.
uint32_t stepsOf(const Tweak& t, bool simple) {
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

/// Steps that can move anything. With no extra bend every amount is zero, and so is every collision; without
/// a bend direction so are those that grow with the displacement along it.
uint32_t actingSteps(const Tweak& t, const TweakVectors& v, bool simple) {
    if (v.angleWeight == 0.0f) return 0;
    const uint32_t always = kBulgeStep | kCollisionStep;
    return stepsOf(t, simple) & (isZero(v.deformVec) ? always : ~0u);
}

void fillJoint(const Tweak& t, const TweakVectors& v, const WorldCarrier& carrier, const Vec3d& current,
               TweakJoint& joint) {
    putDot(joint.zAxisDot, widen(v.zAxis), carrier, current);
    putDot(joint.deformDot, widen(v.deformVec), carrier, current);
    put3(joint.deformVec, widen(v.deformVec));
    put3(joint.nextVec, widen(v.nextVec));
    put3(joint.prevVec, widen(v.prevVec));
    put3(joint.planeNormal, widen(v.planeNormal));
    joint.planeDistance = dot(widen(v.planeNormal), widen(v.planePoint));
    joint.planeNormalFloat[0] = v.planeNormal.x;
    joint.planeNormalFloat[1] = v.planeNormal.y;
    joint.planeNormalFloat[2] = v.planeNormal.z;
    put3(joint.zAxis, widen(v.zAxis));
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
    joint.collisionBulgeAngle = static_cast<double>(t.collisionBulge) * v.angleWeight;
    // Kept in single precision: in double this product would shift results by 3e-10.
    joint.bulgeAngle = t.bulge * v.angleWeight;
    joint.collision = t.collision;
    joint.collisionClamp = std::min(std::max(v.angleWeight, 0.0f), 1.0f);
}

} // namespace

void makeObjectFrame(const Matrix44d& geoMatrix, const Matrix44d& geoMatrixInverse, ObjectFrame& frame) {
    // Folding multiplies by matrix and inverse once more than need be: their stretches bound what that costs.
    constexpr double kMostStretch = 64.0, kTrueInverse = 1e-13;
    frame = {};
    double length = 0.0, lengthInverse = 0.0, error = 0.0;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            frame.toWorld[3 * r + c] = geoMatrix(r, c);
            frame.toObject[3 * r + c] = geoMatrixInverse(r, c);
            length += geoMatrix(r, c) * geoMatrix(r, c);
            lengthInverse += geoMatrixInverse(r, c) * geoMatrixInverse(r, c);
            const double product = geoMatrixInverse(r, 0) * geoMatrix(0, c) +
                                   geoMatrixInverse(r, 1) * geoMatrix(1, c) +
                                   geoMatrixInverse(r, 2) * geoMatrix(2, c);
            error = std::max(error, std::fabs(product - (r == c ? 1.0 : 0.0)));
        }
    times(geoMatrix.m + 12, frame.toObject, frame.shift);
    // A sum that is not a number fails every comparison.
    frame.folded = isAffine(geoMatrix) && isAffine(geoMatrixInverse) &&
                   length * lengthInverse <= kMostStretch * kMostStretch && error <= kTrueInverse &&
                   std::isfinite(frame.shift[0] + frame.shift[1] + frame.shift[2]);
}

void buildBlockTable(const BlockInfo& block, const Matrix44d* current, const Matrix44d* rest,
                     const Matrix44d* restInverse, const Tweak* tweaks, const TweakVectors* vectors,
                     const ObjectFrame& frame, BlockTable& table) {
    table.env = block.env;
    table.controlPoints = controlPointCount(block);
    for (int k = 0; k < table.controlPoints; ++k) {
        makeWorldCarrier(current[k], rest[k], restInverse[k], table.world[k]);
        if (frame.folded)
            foldCarrier(frame, rest[k], table.world[k], table.carriers[k]);
        else
            put3(table.carriers[k].rest, translation(rest[k])); // nothing else of it is read then
    }

    table.jointCount = 0;
    for (int j = 0; j < centreJointCount(block); ++j) {
        const uint32_t steps = actingSteps(tweaks[j], vectors[j], block.simple != 0);
        if (!steps) continue;
        TweakJoint& joint = table.joints[table.jointCount++];
        joint.controlPoint = (j + 1) * pointsPerJoint(block);
        joint.steps = steps;
        joint.reach = steps & kCollisionStep ? 2 : steps == kCentreStep ? 0 : 1;
        fillJoint(tweaks[j], vectors[j], table.world[joint.controlPoint],
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
