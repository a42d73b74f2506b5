// SPDX-License-Identifier: Apache-2.0
// The shape in which meshes reach everything that puts them out: topology once, positions per frame.
// Deformation works on joined points (one per place), files want vertices (split again where texture
// coordinates part), so each vertex names its point.
#pragma once

#include "maths/vec3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

/// One mesh of a character. V vertices, F faces; the frame's points are shared by all meshes of the
/// character.
struct OutputMesh {
    /// Name of the mesh, for `o` lines and glTF nodes; may be empty.
    std::string name;
    /// V entries: which point of the frame's point list each vertex lies on.
    std::vector<std::uint32_t> pointOfVertex;
    /// F entries: how many corners each face has. Faces with fewer than three corners are written by no one.
    std::vector<std::uint32_t> faceCounts;
    /// Sum of faceCounts entries: the corners, as indices of this mesh's vertices, counter-clockwise from
    /// outside.
    std::vector<std::uint32_t> faceVertices;
    /// Empty, or V entries: texture coordinates, v upwards (0 is the lower edge of the picture).
    std::vector<std::array<float, 2>> uvs;
};

/// Throws HostError (kOutput, the line begins with `path`) when an index leaves its range, the counts do not
/// add up or the number of texture coordinates is wrong. The writers and the renderer call it; afterwards
/// they index without tests.
void checkMeshes(const std::vector<OutputMesh>& meshes, std::size_t pointCount, const std::string& path);

/// Throws HostError (kOutput) when there are not `pointCount` points, or one of them is not finite or does
/// not fit a float after multiplication by `scale`. The line names `path`, the frame and the point.
void checkPoints(const std::vector<Vec3d>& points, std::size_t pointCount, double scale, int frame,
                 const std::string& path);

/// Number of vertices of all meshes together: what a point cache has per frame.
std::size_t vertexCount(const std::vector<OutputMesh>& meshes);

/// The points once per vertex, meshes one after the other. `vertices` is resized to vertexCount(meshes).
void splitToVertices(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                     std::vector<Vec3d>& vertices);

/// Triangles of one mesh as vertex indices, three each: every face as a fan from its first corner.
std::vector<std::uint32_t> triangulate(const OutputMesh& mesh);

/// Unit normals per joined point, area-weighted over the faces of all meshes, so that seams do not show.
/// `normals` gets one entry per point; the zero vector where no face with an area touches.
void smoothNormals(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                   std::vector<Vec3d>& normals);

} // namespace talvisora::host
