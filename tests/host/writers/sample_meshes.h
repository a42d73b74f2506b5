// SPDX-License-Identifier: Apache-2.0
// Two small meshes over seven points: a folded sheet of two quads whose common edge is a seam (six points,
// eight vertices), and a triangle without texture coordinates.
#pragma once

#include "host/writers/output_mesh.h"

namespace talvisora::host {

inline std::vector<OutputMesh> sampleMeshes() {
    OutputMesh sheet;
    sheet.name = "sheet";
    sheet.pointOfVertex = {0, 1, 4, 3, 1, 2, 5, 4};
    sheet.faceCounts = {4, 4};
    sheet.faceVertices = {0, 1, 2, 3, 4, 5, 6, 7};
    sheet.uvs = {{0.0f, 0.0f},  {0.5f, 0.0f}, {0.5f, 1.0f}, {0.0f, 1.0f},
                 {0.25f, 0.1f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.25f, 0.9f}};
    OutputMesh corner;
    corner.name = "small corner";
    corner.pointOfVertex = {2, 6, 5};
    corner.faceCounts = {3};
    corner.faceVertices = {0, 1, 2};
    return {sheet, corner};
}

inline std::vector<Vec3d> samplePoints() {
    return {{0, 0, 0}, {1, 0, 0}, {2, 0, 0.5}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0.5}, {3, 0.5, 1.0 / 3.0}};
}

} // namespace talvisora::host
