// SPDX-License-Identifier: Apache-2.0
// Sizes first, then drawing from the top: title, pictures, labels, row after row.
#include "host/picture/contact_sheet.h"

#include "host/picture/text.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

// A label's line: capitals, descenders and some air.
int lineHeight(double textHeight) {
    return static_cast<int>(std::ceil(textHeight * 1.9));
}

struct RowSize {
    int pictures = 0; ///< height of its highest cell
    bool labelled = false;
    bool noted = false;
    bool titled = false;
};

} // namespace

Image layOutSheet(const std::vector<SheetRow>& rows, const SheetStyle& style, const Image& foot) {
    const int line = lineHeight(style.textHeight);
    const double noteHeight = style.textHeight * 0.8;
    const int noteLine = lineHeight(noteHeight);
    const double titleHeight = style.textHeight * 1.25;
    const int titleLine = lineHeight(titleHeight);
    std::vector<int> columns;
    std::vector<RowSize> sizes;
    int height = style.gap, width = 0;
    for (const SheetRow& row : rows) {
        RowSize size;
        size.titled = !row.title.empty();
        for (std::size_t c = 0; c < row.cells.size(); ++c) {
            const SheetCell& cell = row.cells[c];
            if (c == columns.size()) columns.push_back(0);
            columns[c] = std::max({columns[c], cell.picture.width, textWidth(cell.label, style.textHeight),
                                   textWidth(cell.note, noteHeight)});
            size.pictures = std::max(size.pictures, cell.picture.height);
            size.labelled = size.labelled || !cell.label.empty();
            size.noted = size.noted || !cell.note.empty();
        }
        if (size.titled) width = std::max(width, textWidth(row.title, titleHeight));
        height += (size.titled ? titleLine : 0) + size.pictures + (size.labelled ? line : 0) +
                  (size.noted ? noteLine : 0) + style.gap;
        sizes.push_back(size);
    }
    int cells = style.gap;
    for (const int column : columns) cells += column + style.gap;
    width = std::max({cells, width + 2 * style.gap, foot.width > 0 ? foot.width + 2 * style.gap : 0});
    if (foot.height > 0) height += foot.height + style.gap;

    Image sheet(std::max(width, 1), std::max(height, 1), style.paper);
    int y = style.gap;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        if (sizes[r].titled) {
            drawText(sheet, style.gap, y + 0.2 * titleHeight, rows[r].title, titleHeight, style.ink);
            y += titleLine;
        }
        int x = style.gap;
        for (std::size_t c = 0; c < rows[r].cells.size(); ++c) {
            const SheetCell& cell = rows[r].cells[c];
            sheet.paste(cell.picture, x + (columns[c] - cell.picture.width) / 2, y);
            const int labelX = x + (columns[c] - textWidth(cell.label, style.textHeight)) / 2;
            drawText(sheet, labelX, y + sizes[r].pictures + 0.5 * style.textHeight, cell.label,
                     style.textHeight, style.ink);
            const int noteX = x + (columns[c] - textWidth(cell.note, noteHeight)) / 2;
            drawText(sheet, noteX, y + sizes[r].pictures + (sizes[r].labelled ? line : 0) + 0.2 * noteHeight,
                     cell.note, noteHeight, style.ink);
            x += columns[c] + style.gap;
        }
        y += sizes[r].pictures + (sizes[r].labelled ? line : 0) + (sizes[r].noted ? noteLine : 0) + style.gap;
    }
    sheet.paste(foot, style.gap, y);
    return sheet;
}

} // namespace talvisora::host
