// SPDX-License-Identifier: Apache-2.0
// Every control point gets a frame: orientation interpolated between the joints' world matrices and their
// frames (Shoemake 1985), turned with the curve, scaled like the joints, standing on the control point.
#include "rig/control_matrices.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "kernels/records.h"

namespace talvisora {
namespace {

/// What is interpolated between the joints of one pose.
struct PosedJoints {
    std::array<Orientation, MAX_CV_MATRICES> own;    ///< of the world matrices
    std::array<Orientation, MAX_CV_MATRICES> framed; ///< of the joint frames
    std::array<double, MAX_CV_MATRICES> lengthY;
    std::array<double, MAX_CV_MATRICES> lengthZ;
};

void poseJoints(const std::vector<Matrix44d>& world, const std::vector<Matrix44d>& frames,
                PosedJoints& joints) {
    for (std::size_t i = 0; i < world.size(); ++i) {
        joints.own[i] = orientationOf(world[i]);
        joints.framed[i] = orientationOf(frames[i]);
        joints.lengthY[i] = length(row(world[i], 1));
        joints.lengthZ[i] = length(row(world[i], 2));
    }
}

/// Where control point k stands in its chain: on joint i (fraction 0), or between joints i and i + 1.
struct Place {
    std::size_t joint;
    double fraction;
    bool between;
    bool end;
};

Place placeOf(std::size_t k, std::size_t count, bool simple, const InBetween& factors) {
    const bool end = k == 0 || k + 1 == count;
    if (simple) return {k, 0.0, false, end};
    const std::size_t step = k % 3;
    return {k / 3, step == 0 ? 0.0 : step == 1 ? factors.first : factors.second, step != 0, end};
}

Matrix44d orientationAt(const PosedJoints& joints, const Place& place) {
    const std::size_t i = place.joint;
    if (place.end) return toMatrix(joints.framed[i]);
    const Quatd turn = place.between ? slerp(joints.own[i].turn, joints.framed[i + 1].turn, place.fraction)
                                     : slerp(joints.framed[i].turn, joints.own[i].turn, 0.5);
    return toMatrix(Orientation{turn, joints.own[i].mirrored});
}

double lengthAt(const std::array<double, MAX_CV_MATRICES>& lengths, const Place& place) {
    const double start = lengths[place.joint];
    return place.between ? start + place.fraction * (lengths[place.joint + 1] - start) : start;
}

/// Brings the axes to their lengths (the first one to 1) and puts the frame on its control point. Into place
/// element by element: a copy of a matrix that was just written would wait for its parts.
void scaleAndPlace(const Matrix44d& frame, const PosedJoints& joints, const Place& place, const Vec3d& point,
                   Matrix44d& placed) {
    setRow(placed, 0, normalise(row(frame, 0)));
    setRow(placed, 1, row(frame, 1) * lengthAt(joints.lengthY, place));
    setRow(placed, 2, row(frame, 2) * lengthAt(joints.lengthZ, place));
    setTranslation(placed, point);
    placed.m[3] = placed.m[7] = placed.m[11] = 0.0;
    placed.m[15] = 1.0;
}

void fromFirst(const std::vector<Vec3d>& points, std::vector<Vec3d>& relative) {
    relative.resize(points.size());
    for (std::size_t k = 0; k < points.size(); ++k) relative[k] = points[k] - points[0];
}

TangentStencil makeStencil(const std::vector<float>& knots, float u) {
    const unsigned knotCount = static_cast<unsigned>(knots.size());
    TangentStencil stencil;
    stencil.forward = u + 0.001f < 1.0f;
    const float other = stencil.forward ? u + 0.001f : u - 0.001f;
    float basis[8];
    const unsigned here = NURBS_findSpan(knots.data(), knotCount, 3, u);
    NURBS_basisFunction(knots.data(), 3, here, u, basis);
    std::copy(basis, basis + 4, stencil.basisHere);
    const unsigned there = NURBS_findSpan(knots.data(), knotCount, 3, other);
    NURBS_basisFunction(knots.data(), 3, there, other, basis);
    std::copy(basis, basis + 4, stencil.basisThere);
    stencil.firstHere = static_cast<std::int32_t>(here) - 3;
    stencil.firstThere = static_cast<std::int32_t>(there) - 3;
    return stencil;
}

Vec3d curvePoint(const Vec3d* controlPoints, const float* basis) {
    Vec3d point{};
    for (int k = 0; k < 4; ++k) point += controlPoints[k] * static_cast<double>(basis[k]);
    return point;
}

Vec3d tangentOf(const TangentStencil& stencil, const Vec3d* relative) {
    const Vec3d here = curvePoint(relative + stencil.firstHere, stencil.basisHere);
    const Vec3d there = curvePoint(relative + stencil.firstThere, stencil.basisThere);
    return normalise(stencil.forward ? there - here : here - there);
}

bool restHolds(const ControlMatrixInputs& inputs, std::size_t count, const ControlMatrixScratch& scratch) {
    return scratch.restKept && inputs.chain.restKept && scratch.simple == inputs.simple &&
           scratch.factors.first == inputs.factors.first && scratch.factors.second == inputs.factors.second &&
           scratch.parameters.size() == count &&
           std::memcmp(scratch.parameters.data(), inputs.parameters, count * sizeof(float)) == 0;
}

/// Everything that follows from rest pose and parameters.
void buildRest(const ControlMatrixInputs& inputs, std::size_t count, ControlMatrixScratch& scratch,
               Matrix44d* rest, Matrix44d* restInverse) {
    PosedJoints joints;
    poseJoints(inputs.chain.restWorld, inputs.chain.restFrames, joints);
    scratch.parameters.assign(inputs.parameters, inputs.parameters + count);
    scratch.stencils.resize(count);
    scratch.restTangents.resize(count);
    scratch.restOrientations.resize(count);
    fromFirst(inputs.rest.controlPoints, scratch.relative);
    for (std::size_t k = 0; k < count; ++k) {
        const Place place = placeOf(k, count, inputs.simple, inputs.factors);
        scratch.stencils[k] = makeStencil(inputs.rest.knots, inputs.parameters[k]);
        scratch.restTangents[k] = tangentOf(scratch.stencils[k], scratch.relative.data());
        scratch.restOrientations[k] = orientationAt(joints, place);
        scaleAndPlace(scratch.restOrientations[k], joints, place, inputs.rest.controlPoints[k], rest[k]);
        restInverse[k] = inverse(rest[k]);
    }
    scratch.simple = inputs.simple;
    scratch.factors = inputs.factors;
    scratch.restKept = true;
}

} // namespace

Orientation orientationOf(const Matrix44d& matrix) {
    const Vec3d x = normalise(row(matrix, 0));
    Vec3d y = normalise(row(matrix, 1));
    const Vec3d z = normalise(row(matrix, 2));
    const bool mirrored = dot(x, cross(y, z)) < 0.0;
    y = normalise(y - x * dot(x, y));
    return {fromRotation(x, y, cross(x, y)), mirrored};
}

Matrix44d toMatrix(const Orientation& orientation) {
    Matrix44d matrix = toMatrix(orientation.turn);
    if (orientation.mirrored) setRow(matrix, 2, -row(matrix, 2));
    return matrix;
}

Vec3d curveTangent(const Vec3d* relative, const std::vector<float>& knots, float u) {
    return tangentOf(makeStencil(knots, u), relative);
}

Matrix44d tangentTurn(const Vec3d& restTangent, const Vec3d& tangent, const Matrix44d& restOrientation,
                      const Matrix44d& orientation, bool carried) {
    if (!carried) return toMatrix(shortestUnitTurn(restTangent, tangent));
    // The axes are perpendicular unit vectors: products with the rows are the inverse.
    const Vec3d own{dot(restTangent, row(restOrientation, 0)), dot(restTangent, row(restOrientation, 1)),
                    dot(restTangent, row(restOrientation, 2))};
    return toMatrix(shortestUnitTurn(vectorMultMat(own, orientation), tangent));
}

void buildControlMatrices(const ControlMatrixInputs& inputs, ControlMatrixScratch& scratch,
                          Matrix44d* current, Matrix44d* rest, Matrix44d* restInverse) {
    const std::size_t count = inputs.current.controlPoints.size();
    if (!restHolds(inputs, count, scratch)) buildRest(inputs, count, scratch, rest, restInverse);

    PosedJoints joints;
    poseJoints(inputs.chain.world, inputs.chain.frames, joints);
    fromFirst(inputs.current.controlPoints, scratch.relative);
    for (std::size_t k = 0; k < count; ++k) {
        const Place place = placeOf(k, count, inputs.simple, inputs.factors);
        const Matrix44d orientation = orientationAt(joints, place);
        const Matrix44d turn =
            tangentTurn(scratch.restTangents[k], tangentOf(scratch.stencils[k], scratch.relative.data()),
                        scratch.restOrientations[k], orientation, inputs.carryTangents);
        scaleAndPlace(turned(orientation, turn), joints, place, inputs.current.controlPoints[k], current[k]);
    }
}

} // namespace talvisora
