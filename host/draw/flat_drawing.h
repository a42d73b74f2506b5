// SPDX-License-Identifier: Apache-2.0
// A recording of draw calls as it lies on the picture: lines, dots and labels in pixels with their colours,
// cut at the camera's nearest plane, labels thinned out until they can be read.
#pragma once

#include "headless/scene/draw_log.h"
#include "host/draw/depth_map.h"

#include <set>
#include <string>
#include <vector>

namespace talvisora::host {

struct FlatLine {
    double x0, y0, x1, y1;
    double width;
    Rgb colour;
};

struct FlatDot {
    double x, y;
    double size; ///< diameter
    Rgb colour;
};

struct FlatLabel {
    double x, y; ///< top left corner of the text
    std::string text;
    Rgb colour;
};

struct FlatDrawing {
    std::vector<FlatLine> lines;
    std::vector<FlatDot> dots; ///< of points that stand alone; labelled ones keep theirs only with the label
    std::vector<FlatLabel> labels;
    std::size_t hiddenLabels = 0;  ///< behind the mesh or outside the picture
    std::size_t crowdedLabels = 0; ///< would have covered a label that came earlier
};

struct FlattenOptions {
    double labelHeight = 11.0; ///< of capitals, pixels
    double slack = 0.0;        ///< how far a label's point may lie under the surface, a length
    bool choose = false;       ///< only labels whose point is among `chosen` count
    std::set<std::size_t> chosen;
    std::vector<Vec3d> points; ///< with `choose`: where the numbered points stand
    /// Left, top, right, bottom of places that are taken before the first label.
    std::vector<std::array<double, 4>> reserved;
};

/// Calls are painted in their order. What lies outside a drawable is passed over, as Maya leaves it
/// undefined. Coordinates that are not finite draw nothing.
FlatDrawing flatten(const std::vector<headless::DrawCall>& calls, const Camera& camera, const DepthMap& depth,
                    const FlattenOptions& options);

} // namespace talvisora::host
