// SPDX-License-Identifier: Apache-2.0
#include "host/check/value_sheet.h"

#include "host/host_error.h"
#include "host/picture/contact_sheet.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace talvisora::host {

Rgb rampColour(float value) {
    // Evenly spaced stops: night blue, violet, red, orange, pale yellow.
    static constexpr std::array<Rgb, 5> kStops = {
        {{28, 28, 58}, {98, 38, 110}, {190, 62, 84}, {242, 142, 66}, {250, 240, 170}}};
    const float place = value > 0.0f ? std::min(value, 1.0f) * (kStops.size() - 1) : 0.0f;
    const std::size_t lower = std::min(static_cast<std::size_t>(place), kStops.size() - 2);
    const float part = place - static_cast<float>(lower);
    Rgb colour{};
    for (std::size_t c = 0; c < 3; ++c)
        colour[c] = static_cast<std::uint8_t>(
            std::lround((1.0f - part) * kStops[lower][c] + part * kStops[lower + 1][c]));
    return colour;
}

void writeValueSheet(const std::string& path, const std::vector<OutputMesh>& meshes,
                     const std::vector<Vec3d>& points, const std::vector<ValueCell>& cells,
                     const ValueSheetOptions& options) {
    RenderOptions render;
    render.width = options.cellWidth;
    render.height = options.cellHeight;
    render.shadow = false;
    const Camera camera =
        makeCamera(points, options.view, static_cast<double>(options.cellWidth) / options.cellHeight);
    std::vector<SheetRow> rows;
    for (std::size_t k = 0; k < cells.size(); ++k) {
        if (cells[k].values.size() != points.size())
            throw HostError(ExitCode::kOutput,
                            "cannot draw '" + path + "': " + std::to_string(cells[k].values.size()) +
                                " values for " + std::to_string(points.size()) + " points");
        std::vector<Rgb> colours(points.size());
        std::transform(cells[k].values.begin(), cells[k].values.end(), colours.begin(), rampColour);
        if (k % std::max<std::size_t>(options.cellsPerRow, 1) == 0) rows.emplace_back();
        rows.back().cells.push_back({renderMeshes(meshes, points, camera, render, colours), cells[k].label});
    }
    writePng(path, layOutSheet(rows));
}

} // namespace talvisora::host
