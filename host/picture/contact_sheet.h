// SPDX-License-Identifier: Apache-2.0
// Several pictures on one sheet: a grid with a title over each row and a label under each cell.
#pragma once

#include "host/picture/image.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct SheetCell {
    Image picture;
    std::string label;  ///< e.g. "frame 12"; may be empty
    std::string note{}; ///< a smaller line under the label; may be empty
};

struct SheetRow {
    std::string title; ///< e.g. "talvisora"; may be empty
    std::vector<SheetCell> cells;
};

struct SheetStyle {
    int gap = 12;           ///< between cells and round the sheet, pixels
    double textHeight = 11; ///< of capitals, pixels
    Rgb paper{252, 252, 250};
    Rgb ink{70, 70, 72};
};

/// Lays the rows out under each other. Columns are as wide as their widest cell, rows as high as their
/// highest; rows may have different numbers of cells. A sheet without cells is one empty pixel-wide border of
/// paper. `foot` stands under all rows, at the left.
Image layOutSheet(const std::vector<SheetRow>& rows, const SheetStyle& style = {}, const Image& foot = {});

} // namespace talvisora::host
