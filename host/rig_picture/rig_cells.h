// SPDX-License-Identifier: Apache-2.0
// What the pictures of a rig show, as values per point. Pure functions.
#pragma once

#include "host/picture/value_sheet.h"
#include "host/rig_picture/rig_picture.h"

namespace talvisora::host {

/// The cells: `marked` first when there are any, then one per block, or the two of points left behind.
/// Each cell's note tells the smallest and the largest value and on how many points. The rig's lists must
/// have `points` entries.
std::vector<ValueCell> rigCells(const AutoRig& rig, std::size_t points, PictureOf show,
                                const MarkedPoints& marked);

/// Title and words of the legend for such cells.
void describeCells(PictureOf show, const std::vector<ValueCell>& cells, ValueSheetOptions& sheet);

} // namespace talvisora::host
