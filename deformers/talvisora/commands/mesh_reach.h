// SPDX-License-Identifier: Apache-2.0
// What the mesh says about a curve inside it: how thick it is round the curve, and whether it stands between
// the curve and one of its own points. Asks Maya; calling thread only.
#pragma once

#include <maya/MFnMesh.h>
#include <maya/MObject.h>

#include <vector>

#include "kernels/curve.h"

namespace talvisora {

/// Curve points that the thickness is measured at.
inline constexpr int kThicknessProbes = 20;

/// One of them, as it was measured.
struct ThicknessProbe {
    float t = 0.0f;
    Vec3d point;         ///< on the curve
    Vec3d closest;       ///< on the mesh, object space; the curve point itself when Maya finds none
    double distance = 0; ///< between the two
    bool tested = false; ///< whether a ray was cast; only for a larger distance than all before
    unsigned hits = 0;   ///< of that ray; odd: the curve point lies inside
};

/// The queries of one mesh, with the search structure that Maya keeps for them.
class MeshReach {
public:
    /// `mesh` must be one that MFnMesh takes, or all queries find nothing.
    explicit MeshReach(const MObject& mesh);

    /// The largest distance of an inside curve point from the surface among twenty; 0 when none is inside.
    float thickness(const Curve& curve, std::vector<ThicknessProbe>* probes = nullptr);

    /// Whether the mesh can be seen from `point`, one of its own, at `sample`: a ray from a hundredth of the
    /// way on meets nothing. True without a ray when both coincide; false when numbers are too large for one.
    bool isFree(const Vec3d& point, const Vec3d& sample);

private:
    /// Crossings with the surface within `maxParam`; the direction is a unit vector or zero, which hits
    /// nothing.
    unsigned hitsAlong(const Vec3d& source, const Vec3d& direction, double maxParam);

    MFnMesh mesh_;
    MMeshIsectAccelParams acceleration_;
};

/// Thickness times the coefficient, in the widths that decide who is just within reach: single, times double,
/// rounded to single. Not a number, and with it within nobody's reach, for 0 times infinity.
float reachOf(float thickness, double coefficient);

/// Length that neither underflows nor overflows on the way.
double safeLength(const Vec3d& v);

} // namespace talvisora
