// SPDX-License-Identifier: Apache-2.0
// Values per point as colours on the mesh: one sheet with a cell per list, or one picture per list, all
// through the same cameras, with the ramp under them.
#pragma once

#include "host/picture/render.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct ValueCell {
    std::string name; ///< e.g. the block's
    std::string note; ///< second line, e.g. "0.02 to 1.00 on 312 points"; may be empty
    DrawnValues values;
};

struct ValueSheetOptions {
    std::vector<View> views = {threeQuarterView()}; ///< one or more; they stand beside each other in a cell
    PictureSize cellSize{300, 230};                 ///< of one view
    int rowWidth = 1860; ///< so many pixels at most in a row, if more than one cell fits
    std::string title;   ///< over the sheet; may be empty
    std::string nothing; ///< what the grey of the legend means; empty: it is left out
    std::string marks;   ///< what the marks mean; empty: they are left out of the legend
};

/// Draws the cells in rows, and the legend of the ramp from 0 to 1 under them. Throws HostError kOutput, also
/// when a cell has another number of values than there are points.
Image drawValueSheet(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                     const std::vector<ValueCell>& cells, const ValueSheetOptions& options = {});

} // namespace talvisora::host
