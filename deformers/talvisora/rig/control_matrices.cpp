// SPDX-License-Identifier: Apache-2.0
// Every control point gets a frame: orientation interpolated between the joints' world matrices and their
// frames (Shoemake 1985), turned with the curve, scaled like the joints, standing on the control point.
#include "rig/control_matrices.h"

#include <array>

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

/// Brings the axes to their lengths (the first one to 1) and puts the frame on its control point.
Matrix44d scaleAndPlace(Matrix44d frame, const PosedJoints& joints, const Place& place, const Vec3d& point) {
    setRow(frame, 0, normalise(row(frame, 0)));
    setRow(frame, 1, row(frame, 1) * lengthAt(joints.lengthY, place));
    setRow(frame, 2, row(frame, 2) * lengthAt(joints.lengthZ, place));
    setTranslation(frame, point);
    return frame;
}

void fromFirst(const std::vector<Vec3d>& points, std::vector<Vec3d>& relative) {
    relative.resize(points.size());
    for (std::size_t k = 0; k < points.size(); ++k) relative[k] = points[k] - points[0];
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
    const unsigned knotCount = static_cast<unsigned>(knots.size());
    const bool forward = u + 0.001f < 1.0f;
    const float other = forward ? u + 0.001f : u - 0.001f;
    const Vec3d here = NURBS_evaluate(relative, knots.data(), 3, knotCount, u);
    const Vec3d there = NURBS_evaluate(relative, knots.data(), 3, knotCount, other);
    return normalise(forward ? there - here : here - there);
}

Matrix44d tangentTurn(const Vec3d& restTangent, const Vec3d& tangent, const Matrix44d& restOrientation,
                      const Matrix44d& orientation, bool carried) {
    if (!carried) return toMatrix(shortestTurn(restTangent, tangent));
    // The axes are perpendicular unit vectors: products with the rows are the inverse.
    const Vec3d own{dot(restTangent, row(restOrientation, 0)), dot(restTangent, row(restOrientation, 1)),
                    dot(restTangent, row(restOrientation, 2))};
    return toMatrix(shortestTurn(vectorMultMat(own, orientation), tangent));
}

void buildControlMatrices(const ControlMatrixInputs& inputs, ControlMatrixScratch& scratch,
                          Matrix44d* current, Matrix44d* rest, Matrix44d* restInverse) {
    PosedJoints joints, restJoints;
    poseJoints(inputs.chain.world, inputs.chain.frames, joints);
    poseJoints(inputs.chain.restWorld, inputs.chain.restFrames, restJoints);
    fromFirst(inputs.current.controlPoints, scratch.relative);
    fromFirst(inputs.rest.controlPoints, scratch.restRelative);

    const std::size_t count = inputs.current.controlPoints.size();
    for (std::size_t k = 0; k < count; ++k) {
        const float u = inputs.parameters[k];
        const Place place = placeOf(k, count, inputs.simple, inputs.factors);
        const Matrix44d orientation = orientationAt(joints, place);
        const Matrix44d restOrientation = orientationAt(restJoints, place);
        const Matrix44d turn = tangentTurn(curveTangent(scratch.restRelative.data(), inputs.rest.knots, u),
                                           curveTangent(scratch.relative.data(), inputs.current.knots, u),
                                           restOrientation, orientation, inputs.carryTangents);

        current[k] = scaleAndPlace(orientation * turn, joints, place, inputs.current.controlPoints[k]);
        rest[k] = scaleAndPlace(restOrientation, restJoints, place, inputs.rest.controlPoints[k]);
        restInverse[k] = inverse(rest[k]);
    }
}

} // namespace talvisora
