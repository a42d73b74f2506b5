// SPDX-License-Identifier: Apache-2.0
// Painting a flat drawing over a picture of the mesh, as pixels or as SVG, with a title and a legend.
#pragma once

#include "host/draw/flat_drawing.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct LegendEntry {
    Rgb colour;
    std::string text;
};

struct PaintStyle {
    std::string title;
    std::vector<LegendEntry> legend;
    double labelHeight = 11.0;
    Rgb paper{255, 255, 255};
    Rgb ink{50, 50, 54};
};

/// Left, top, right, bottom of the title and of the legend's lines, on a picture of that height.
std::vector<std::array<double, 4>> textBoxes(const PaintStyle& style, int pictureHeight);

/// Over `picture`, in place: lines with a light edge, dots, labels on a light ground, then title and legend.
void paintPixels(Image& picture, const FlatDrawing& drawing, const PaintStyle& style);

/// The same as a whole SVG document. The mesh becomes one polygon per visible triangle, coloured as
/// `picture` shows it; `places` are the points on the picture, `triangles` what `depth` was made of.
std::string paintSvg(const Image& picture, const DepthMap& depth, const std::vector<ScreenPlace>& places,
                     const std::vector<std::array<std::uint32_t, 3>>& triangles, const FlatDrawing& drawing,
                     const PaintStyle& style);

} // namespace talvisora::host
