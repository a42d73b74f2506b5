// SPDX-License-Identifier: Apache-2.0
// Closest points and rays. Maya's rays are single precision: every number is narrowed here, once, and none is
// handed over that single precision does not hold.
#include "commands/mesh_reach.h"

#include <maya/MFloatPoint.h>
#include <maya/MFloatPointArray.h>
#include <maya/MFloatVector.h>
#include <maya/MPoint.h>
#include <maya/MSpace.h>

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace talvisora {

namespace {

/// Rays that ask for the inside end here; the unit is that of the mesh.
constexpr double kInsideRayLength = 100.0;
/// Part of the way towards the curve at which a ray starts, so that it leaves the point's own faces alone.
constexpr double kStartOffset = 0.01;
constexpr float kRayTolerance = 0.000001f;

/// To single precision; numbers beyond it become infinite by name, as a plain conversion need not.
float narrow(double value) {
    if (value > static_cast<double>(FLT_MAX)) return HUGE_VALF;
    if (value < -static_cast<double>(FLT_MAX)) return -HUGE_VALF;
    return static_cast<float>(value);
}

bool fitsSingle(const Vec3d& v) {
    return std::isfinite(narrow(v.x)) && std::isfinite(narrow(v.y)) && std::isfinite(narrow(v.z));
}

} // namespace

MeshReach::MeshReach(const MObject& mesh) : mesh_(mesh), acceleration_(MFnMesh::autoUniformGridParams()) {}

float MeshReach::thickness(const Curve& curve, std::vector<ThicknessProbe>* probes) {
    float thickness = 0.0f;
    for (int k = 0; k < kThicknessProbes; ++k) {
        ThicknessProbe probe;
        probe.t = static_cast<float>(k) / static_cast<float>(kThicknessProbes - 1);
        probe.point = evaluate(curve, probe.t);
        probe.closest = probe.point;
        if (isFinite(probe.point)) {
            MPoint closest(probe.point.x, probe.point.y, probe.point.z);
            mesh_.getClosestPoint(MPoint(probe.point.x, probe.point.y, probe.point.z), closest,
                                  MSpace::kObject);
            probe.closest = {closest.x, closest.y, closest.z};
        }
        const Vec3d away = probe.closest - probe.point;
        probe.distance = safeLength(away);
        if (probe.distance > static_cast<double>(thickness)) {
            probe.tested = true;
            probe.hits = hitsAlong(probe.point, normalise(away), kInsideRayLength);
            if (probe.hits % 2 == 1) thickness = narrow(probe.distance);
        }
        if (probes) probes->push_back(probe);
    }
    return thickness;
}

bool MeshReach::isFree(const Vec3d& point, const Vec3d& sample) {
    const Vec3d away = point - sample;
    const double distance = safeLength(away);
    const Vec3d source = point - kStartOffset * away;
    if (!fitsSingle(source) || !fitsSingle(away)) return false;
    const Vec3d direction = normalise(-away);
    return direction == Vec3d{} || narrow(distance) == 0.0f || hitsAlong(source, direction, distance) == 0;
}

unsigned MeshReach::hitsAlong(const Vec3d& source, const Vec3d& direction, double maxParam) {
    if (direction == Vec3d{} || !fitsSingle(source)) return 0;
    const MFloatPoint from(narrow(source.x), narrow(source.y), narrow(source.z));
    const MFloatVector along(narrow(direction.x), narrow(direction.y), narrow(direction.z));
    const float length = std::min(narrow(maxParam), FLT_MAX);
    MFloatPointArray hits;
    const bool any = mesh_.allIntersections(from, along, nullptr, nullptr, false, MSpace::kObject, length,
                                            false, &acceleration_, false, hits, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, kRayTolerance);
    return any ? hits.length() : 0;
}

float reachOf(float thickness, double coefficient) {
    return narrow(static_cast<double>(thickness) * coefficient);
}

double safeLength(const Vec3d& v) {
    const double largest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    // Where no square leaves the range, scaling would only add roundings.
    if ((largest > 1e-140 && largest < 1e140) || !(largest > 0.0 && largest < HUGE_VAL)) return length(v);
    return length(v / largest) * largest;
}

} // namespace talvisora
