// SPDX-License-Identifier: Apache-2.0
#include "host/picture/value_sheet.h"

#include "host/picture/contact_sheet.h"
#include "host/picture/mark.h"
#include "host/picture/ramp.h"
#include "host/picture/text.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr int kBarWidth = 300, kBarHeight = 14, kSwatch = 14, kGap = 14;

// The ramp with its figures, then grey and marks with what they mean, in one line.
Image legend(const ValueSheetOptions& options, const SheetStyle& style) {
    const double height = style.textHeight * 0.9;
    const int wordWidth = textWidth(options.nothing, height), markWidth = textWidth(options.marks, height);
    const int margin = textWidth("0.00", height) / 2 + 1; // the figures stand in the middle of their places
    int width = margin + kBarWidth + margin;
    if (wordWidth) width += kGap + kSwatch + kGap / 2 + wordWidth;
    if (markWidth) width += kGap + kSwatch + kGap / 2 + markWidth;
    Image image(width, kBarHeight + static_cast<int>(std::ceil(height * 2.1)), style.paper);
    image.paste(rampBar(kBarWidth, kBarHeight), margin, 0);
    const char* figures[] = {"0", "0.25", "0.5", "0.75", "1"};
    for (int k = 0; k < 5; ++k) {
        const char* figure = figures[k];
        const int x = margin + (kBarWidth - 1) * k / 4;
        for (int y = kBarHeight; y < kBarHeight + 3; ++y) image.blend(x, y, style.ink, 1.0f);
        drawText(image, x + 0.5 - textWidth(figure, height) / 2.0, kBarHeight + 5, figure, height, style.ink);
    }
    int x = margin + kBarWidth + margin + kGap;
    const double textTop = (kBarHeight - height) / 2.0;
    if (wordWidth) {
        image.paste(Image(kSwatch, kSwatch, kNoValueColour), x, 0);
        drawText(image, x + kSwatch + kGap / 2, textTop, options.nothing, height, style.ink);
        x += kSwatch + kGap / 2 + wordWidth + kGap;
    }
    if (markWidth) {
        drawMark(image, x + kSwatch / 2.0, kBarHeight / 2.0, true);
        drawText(image, x + kSwatch + kGap / 2, textTop, options.marks, height, style.ink);
    }
    return image;
}

// A name may be as long as it likes; a sheet may not.
std::string shortened(const std::string& name) {
    constexpr std::size_t kMost = 80;
    return name.size() <= kMost ? name : name.substr(0, kMost - 3) + "...";
}

Image besideEachOther(const std::vector<Image>& pictures, Rgb paper) {
    constexpr int kSlit = 2;
    int width = -kSlit, height = 0;
    for (const Image& picture : pictures) {
        width += picture.width + kSlit;
        height = std::max(height, picture.height);
    }
    Image all(width, height, paper);
    int x = 0;
    for (const Image& picture : pictures) {
        all.paste(picture, x, 0);
        x += picture.width + kSlit;
    }
    return all;
}

} // namespace

Image drawValueSheet(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                     const std::vector<ValueCell>& cells, const ValueSheetOptions& options) {
    RenderOptions render;
    render.width = options.cellSize.width;
    render.height = options.cellSize.height;
    render.shadow = false;
    render.shading = 0.5; // enough to see the form, and the colours stay those of the ramp
    const double aspect = static_cast<double>(render.width) / std::max(render.height, 1);
    std::vector<MeshView> views;
    for (const View& view : options.views)
        views.emplace_back(meshes, points, makeCamera(points, view, aspect), render);

    const SheetStyle style;
    const std::int64_t cellSpace =
        std::int64_t{std::max(render.width, 1)} * static_cast<std::int64_t>(views.size()) + style.gap;
    const auto perRow = static_cast<std::size_t>(
        std::max<std::int64_t>(options.rowWidth / std::max<std::int64_t>(cellSpace, 1), 1));
    std::vector<SheetRow> rows;
    for (std::size_t k = 0; k < cells.size(); ++k) {
        if (k % perRow == 0) rows.emplace_back();
        std::vector<Image> pictures;
        for (const MeshView& view : views) pictures.push_back(view.draw(cells[k].values));
        rows.back().cells.push_back(
            {besideEachOther(pictures, style.paper), shortened(cells[k].name), cells[k].note});
    }
    if (!rows.empty()) rows.front().title = options.title;
    return layOutSheet(rows, style, legend(options, style));
}

} // namespace talvisora::host
