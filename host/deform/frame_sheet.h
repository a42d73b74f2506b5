// SPDX-License-Identifier: Apache-2.0
// The picture of chosen frames: one row of deformed frames and, on request, one of the linear blend under it,
// all through one camera so that they can be compared.
#pragma once

#include "host/picture/render.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// One frame to be shown; points in any one unit.
struct SheetFrame {
    int frame = 1;
    std::vector<Vec3d> deformed;
    std::vector<Vec3d> reference; ///< empty: no second row
};

struct SheetOptions {
    View view = threeQuarterView();
    PictureSize cellSize{480, 340}; ///< of one frame
};

/// Draws the frames and writes the PNG, whole or not at all. Throws HostError kOutput.
void writeFrameSheet(const std::string& path, const std::vector<OutputMesh>& meshes,
                     const std::vector<SheetFrame>& frames, const SheetOptions& options);

} // namespace talvisora::host
