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

/// The camera that shows everything in the box, in a cell of the options' shape.
Camera sheetCamera(const Bounds& bounds, const SheetOptions& options);

/// One column per frame through the given camera; two rows when a frame has a reference.
Image drawFrameSheet(const std::vector<OutputMesh>& meshes, const std::vector<SheetFrame>& frames,
                     const Camera& camera, const SheetOptions& options);

/// Draws the frames through the camera that shows them all and writes the PNG, whole or not at all. Throws
/// HostError kOutput.
void writeFrameSheet(const std::string& path, const std::vector<OutputMesh>& meshes,
                     const std::vector<SheetFrame>& frames, const SheetOptions& options);

} // namespace talvisora::host
