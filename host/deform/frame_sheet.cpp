// SPDX-License-Identifier: Apache-2.0
#include "host/deform/frame_sheet.h"

#include "host/picture/contact_sheet.h"

#include <algorithm>

namespace talvisora::host {

Camera sheetCamera(const Bounds& bounds, const SheetOptions& options) {
    return makeCamera(bounds, options.view,
                      static_cast<double>(options.cellSize.width) / options.cellSize.height);
}

Image drawFrameSheet(const std::vector<OutputMesh>& meshes, const std::vector<SheetFrame>& frames,
                     const Camera& camera, const SheetOptions& options) {
    RenderOptions render;
    render.width = options.cellSize.width;
    render.height = options.cellSize.height;
    const bool reference = std::any_of(frames.begin(), frames.end(),
                                       [](const SheetFrame& frame) { return !frame.reference.empty(); });
    SheetRow deformedRow{"talvisora", {}}, referenceRow{"linear blend", {}};
    for (const SheetFrame& frame : frames) {
        const std::string label = "frame " + std::to_string(frame.frame);
        deformedRow.cells.push_back({renderMeshes(meshes, frame.deformed, camera, render), label});
        if (reference)
            referenceRow.cells.push_back({renderMeshes(meshes, frame.reference, camera, render), label});
    }
    std::vector<SheetRow> rows{std::move(deformedRow)};
    if (reference) rows.push_back(std::move(referenceRow));
    return layOutSheet(rows);
}

void writeFrameSheet(const std::string& path, const std::vector<OutputMesh>& meshes,
                     const std::vector<SheetFrame>& frames, const SheetOptions& options) {
    Bounds bounds;
    for (const SheetFrame& frame : frames) {
        bounds.add(frame.deformed);
        bounds.add(frame.reference);
    }
    writePng(path, drawFrameSheet(meshes, frames, sheetCamera(bounds, options), options));
}

} // namespace talvisora::host
