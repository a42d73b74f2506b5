// SPDX-License-Identifier: Apache-2.0
#include "host/deform/frame_sheet.h"

#include "host/picture/contact_sheet.h"

namespace talvisora::host {

void writeFrameSheet(const std::string& path, const std::vector<OutputMesh>& meshes,
                     const std::vector<SheetFrame>& frames, const SheetOptions& options) {
    Bounds bounds;
    bool reference = false;
    for (const SheetFrame& frame : frames) {
        bounds.add(frame.deformed);
        bounds.add(frame.reference);
        reference = reference || !frame.reference.empty();
    }
    const Camera camera = makeCamera(bounds, options.view,
                                     static_cast<double>(options.cellSize.width) / options.cellSize.height);
    RenderOptions render;
    render.width = options.cellSize.width;
    render.height = options.cellSize.height;

    SheetRow deformedRow{"talvisora", {}}, referenceRow{"linear blend", {}};
    for (const SheetFrame& frame : frames) {
        const std::string label = "frame " + std::to_string(frame.frame);
        deformedRow.cells.push_back({renderMeshes(meshes, frame.deformed, camera, render), label});
        if (reference)
            referenceRow.cells.push_back({renderMeshes(meshes, frame.reference, camera, render), label});
    }
    std::vector<SheetRow> rows{std::move(deformedRow)};
    if (reference) rows.push_back(std::move(referenceRow));
    writePng(path, layOutSheet(rows));
}

} // namespace talvisora::host
