// SPDX-License-Identifier: Apache-2.0
// Which faces of a surface pass through other faces of it.
#pragma once

#include "host/character/character.h"

namespace talvisora::host {

/// Whether two triangles without a common corner pass through each other: an edge of one goes from one side
/// of the other to the other side, through it. Lying flat upon each other does not count, nor does touching
/// with a corner.
bool trianglesCross(const Vec3d (&a)[3], const Vec3d (&b)[3]);

/// For every triangle whether it crosses another one. Of triangles with one common corner the edges opposite
/// to it are tested; with two common corners they cannot cross without lying in one plane. Triangles with
/// corners that are not finite cross nothing. A tree of boxes finds the pairs.
std::vector<bool> crossingTriangles(const std::vector<Vec3d>& points, const std::vector<Triangle>& triangles);

} // namespace talvisora::host
