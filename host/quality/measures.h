// SPDX-License-Identifier: Apache-2.0
// What a deformation does to a made-up limb, in four numbers.
#pragma once

#include "host/quality/limb.h"

namespace talvisora::host {

struct LimbMeasures {
    double volume = 1.0;           ///< enclosed volume over rest; folded parts count negative
    double crossSection = 1.0;     ///< over the full rings the smallest area of a ring over its area at rest
    double edgeStretch = 1.0;      ///< the largest length of an edge over its length at rest
    std::size_t crossingFaces = 0; ///< triangles that pass through another one
    std::size_t brokenPoints = 0;  ///< points that are not finite: the other numbers mean nothing then
};

/// The enclosed volume of a closed surface: positive when its faces turn counter-clockwise seen from outside.
double enclosedVolume(const std::vector<Vec3d>& points, const std::vector<Triangle>& triangles);

/// The area that a closed line of points goes round: the length of its vector area, so that a line that runs
/// round twice one way and back counts nothing.
double ringArea(const std::vector<Vec3d>& points, const std::vector<std::uint32_t>& ring);

/// `points` are the limb's points, moved. `crossing` (may be null) receives one entry per triangle of
/// Character::pointTriangles().
LimbMeasures measureLimb(const Limb& limb, const std::vector<Vec3d>& points,
                         std::vector<bool>* crossing = nullptr);

} // namespace talvisora::host
