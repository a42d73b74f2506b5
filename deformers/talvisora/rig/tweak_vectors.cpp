// SPDX-License-Identifier: Apache-2.0
// Frames of the centre joints: bisector, bend axis, collision plane, and the angle weight.
#include "rig/tweak_vectors.h"

#include <algorithm>
#include <cmath>

namespace talvisora {
namespace {

constexpr double kPi = 3.141592653589;
constexpr float kMostBent = 6.2831855f;
/// Below this length a sum or product of unit vectors is rounding noise of a straight joint (up to 4e-12 at
/// coordinates of 1000) and must not become a direction.
constexpr double kNoDirection = 1e-9;

Vec3d directionOf(const Vec3d& v) {
    return length(v) < kNoDirection ? Vec3d{} : normalise(v);
}

Float3Slot narrow(const Vec3d& v) {
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z), 0.0f};
}

double jointAngle(const std::vector<Vec3d>& positions, std::size_t joint) {
    return vectorsAngle(normalise(positions[joint - 1] - positions[joint]),
                        normalise(positions[joint + 1] - positions[joint]));
}

double polygonAngle(const std::vector<Vec3d>& points, std::size_t n) {
    return vectorsAngle(points[n - 1] - points[n], points[n + 1] - points[n]);
}

} // namespace

double vectorsAngle(const Vec3d& a, const Vec3d& b) {
    const double lengths = length(a) * length(b);
    if (!(lengths > 1e-5)) return 0.0;
    const double cosine = dot(a, b) / lengths;
    return std::acos(cosine < -1.0 ? -1.0 : cosine > 1.0 ? 1.0 : cosine);
}

float angleWeight(double angle, double restAngle) {
    const float weight = static_cast<float>(kPi - angle) - static_cast<float>(kPi - restAngle);
    return !(weight > 0.0f) ? 0.0f : weight > kMostBent ? kMostBent : weight;
}

void buildTweakVectors(const std::vector<Vec3d>& positions, const std::vector<Vec3d>& restPositions,
                       const Tweak* tweaks, TweakVectors* vectors, bool angles) {
    for (std::size_t joint = 1; joint + 1 < positions.size(); ++joint) {
        const std::size_t j = joint - 1;
        const Vec3d prevVec = normalise(positions[joint - 1] - positions[joint]);
        const Vec3d nextVec = normalise(positions[joint + 1] - positions[joint]);
        const Vec3d deformVec = directionOf(prevVec + nextVec);
        const Vec3d zAxis = directionOf(cross(deformVec, nextVec));
        const double plane = tweaks[j].collisionPlane;
        const Vec3d planeNormal =
            directionOf(plane * cross(nextVec, zAxis) + (1.0 - plane) * cross(prevVec, zAxis));

        TweakVectors& v = vectors[j];
        v = TweakVectors{};
        v.deformVec = narrow(deformVec);
        v.nextVec = narrow(nextVec);
        v.prevVec = narrow(prevVec);
        v.planeNormal = narrow(planeNormal);
        // Kept on purpose: the plane passes one unit from the joint, not through it.
        v.planePoint = narrow(positions[joint] + deformVec);
        v.zAxis = narrow(zAxis);
        if (angles)
            v.angleWeight = angleWeight(vectorsAngle(prevVec, nextVec), jointAngle(restPositions, joint));
    }
}

void measureAngleWeights(const std::vector<Vec3d>& controlPoints, const std::vector<Vec3d>& restControlPoints,
                         TweakVectors* vectors) {
    for (std::size_t n = 3; n + 3 < controlPoints.size(); n += 3)
        vectors[n / 3 - 1].angleWeight =
            angleWeight(polygonAngle(controlPoints, n), polygonAngle(restControlPoints, n));
}

} // namespace talvisora
