// SPDX-License-Identifier: Apache-2.0
// Values per point as colours on the mesh: one sheet with a cell per list, all through one camera.
#pragma once

#include "host/picture/render.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// From dark (0) to light (1), rising in brightness all the way, so that it reads in grey, too. Values
/// outside are clamped; what is no number counts as 0.
Rgb rampColour(float value);

struct ValueCell {
    std::string label;
    std::vector<float> values; ///< one per point, in [0, 1]
};

struct ValueSheetOptions {
    View view = threeQuarterView();
    int cellWidth = 360;
    int cellHeight = 280;
    std::size_t cellsPerRow = 4;
};

/// Draws the cells and writes the PNG, whole or not at all. Throws HostError kOutput, also when a cell has
/// another number of values than there are points.
void writeValueSheet(const std::string& path, const std::vector<OutputMesh>& meshes,
                     const std::vector<Vec3d>& points, const std::vector<ValueCell>& cells,
                     const ValueSheetOptions& options = {});

} // namespace talvisora::host
