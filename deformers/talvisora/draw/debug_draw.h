// SPDX-License-Identifier: Apache-2.0
// Diagnostic geometry for a viewport: a toolkit for draw callbacks, without state of its own. All points and
// vectors are in the space that the callback draws in. Cannot fail. Threads: the callback's own, as the draw
// manager asks for.
#pragma once

#include <maya/MUIDrawManager.h>

#include <vector>

#include "maths/matrix44.h"
#include "maths/vec3.h"

namespace talvisora {

/// One line from each point to the next; nothing for fewer than two points. The caller opens and closes the
/// drawable.
void drawPolyline(MHWRender::MUIDrawManager& manager, const std::vector<Vec3d>& points);

/// A drawable of its own with the three axes of `matrix` (row vectors), each `length` long before the matrix
/// scales it: x red, y green, z blue.
void drawFrame(MHWRender::MUIDrawManager& manager, const Matrix44d& matrix, double length);

/// Points with a text beside each. The caller opens and closes the drawable.
/// labelByIndex   each point with its number, from 0; `values` and `colourByValue` do not count
/// otherwise      each point with its value: whole numbers (to within 0.01) without decimals, others with
///                two. Points whose value is missing, or at most 0.00001 in size, are left out
/// values         one per point; may be null, may be shorter
/// colourByValue  each text (and whatever follows it) in a grey from black for 0 and less to white for 1 and
///                more; the point itself still has the colour from before
/// The texts are those of the "C" locale whatever the present one is.
void drawLabelledPoints(MHWRender::MUIDrawManager& manager, const std::vector<Vec3d>& points,
                        const std::vector<float>* values, bool labelByIndex, bool colourByValue);

/// The point, and the line from it to point + vector. The caller opens and closes the drawable; point size
/// and line width stay set.
void drawPointAndVector(MHWRender::MUIDrawManager& manager, const Vec3d& point, const Vec3d& vector,
                        float pointSize, float lineWidth);

} // namespace talvisora
