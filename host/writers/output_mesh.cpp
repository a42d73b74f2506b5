// SPDX-License-Identifier: Apache-2.0
// Checks of meshes and points before they are written, and the few things that several writers derive from
// them: vertices from points, triangles from polygons, smooth normals.
#include "host/writers/output_mesh.h"

#include "host/figures.h"
#include "host/host_error.h"

#include <cmath>
#include <limits>

namespace talvisora::host {

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& text) {
    throw HostError(ExitCode::kOutput, "cannot write '" + path + "': " + text);
}

bool fitsFloat(double value) {
    return std::abs(value) <= std::numeric_limits<float>::max();
} // false for NaN

} // namespace

void checkMeshes(const std::vector<OutputMesh>& meshes, std::size_t pointCount, const std::string& path) {
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        const OutputMesh& mesh = meshes[m];
        const std::string name = "mesh '" + (mesh.name.empty() ? std::to_string(m) : mesh.name) + "' ";
        for (const std::uint32_t point : mesh.pointOfVertex) {
            if (point >= pointCount)
                refuse(path, name + "names point " + std::to_string(point) + ", but there are only " +
                                 std::to_string(pointCount));
        }
        std::uint64_t corners = 0;
        for (const std::uint32_t count : mesh.faceCounts) corners += count;
        if (corners != mesh.faceVertices.size())
            refuse(path, name + "has " + std::to_string(mesh.faceVertices.size()) +
                             " face corners, its faces ask for " + std::to_string(corners));
        for (const std::uint32_t vertex : mesh.faceVertices) {
            if (vertex >= mesh.pointOfVertex.size())
                refuse(path, name + "has a face with vertex " + std::to_string(vertex) +
                                 ", but there are only " + std::to_string(mesh.pointOfVertex.size()));
        }
        if (!mesh.uvs.empty() && mesh.uvs.size() != mesh.pointOfVertex.size())
            refuse(path, name + "has " + counted(mesh.uvs.size(), "texture coordinate") + " for " +
                             counted(mesh.pointOfVertex.size(), "vertex", "vertices"));
        for (const std::array<float, 2>& uv : mesh.uvs) {
            if (!std::isfinite(uv[0]) || !std::isfinite(uv[1]))
                refuse(path, name + "has a texture coordinate that is not finite");
        }
    }
}

void checkPoints(const std::vector<Vec3d>& points, std::size_t pointCount, double scale, int frame,
                 const std::string& path) {
    if (points.size() != pointCount)
        refuse(path, "frame " + std::to_string(frame) + " has " + counted(points.size(), "point") +
                         " instead of " + std::to_string(pointCount));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vec3d& p = points[i];
        if (!fitsFloat(p.x * scale) || !fitsFloat(p.y * scale) || !fitsFloat(p.z * scale))
            refuse(path, "point " + std::to_string(i) + " of frame " + std::to_string(frame) +
                             " is not a finite number; look at the rig with `grhost info`");
    }
}

std::size_t vertexCount(const std::vector<OutputMesh>& meshes) {
    std::size_t count = 0;
    for (const OutputMesh& mesh : meshes) count += mesh.pointOfVertex.size();
    return count;
}

void splitToVertices(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                     std::vector<Vec3d>& vertices) {
    vertices.clear();
    vertices.reserve(vertexCount(meshes));
    for (const OutputMesh& mesh : meshes) {
        for (const std::uint32_t point : mesh.pointOfVertex) vertices.push_back(points[point]);
    }
}

std::vector<std::uint32_t> triangulate(const OutputMesh& mesh) {
    std::vector<std::uint32_t> triangles;
    triangles.reserve(mesh.faceVertices.size());
    std::size_t first = 0;
    for (const std::uint32_t count : mesh.faceCounts) {
        for (std::uint32_t corner = 2; corner < count; ++corner) {
            triangles.push_back(mesh.faceVertices[first]);
            triangles.push_back(mesh.faceVertices[first + corner - 1]);
            triangles.push_back(mesh.faceVertices[first + corner]);
        }
        first += count;
    }
    return triangles;
}

void smoothNormals(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                   std::vector<Vec3d>& normals) {
    normals.assign(points.size(), Vec3d{});
    for (const OutputMesh& mesh : meshes) {
        const std::vector<std::uint32_t> triangles = triangulate(mesh);
        for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
            const std::uint32_t a = mesh.pointOfVertex[triangles[t]];
            const std::uint32_t b = mesh.pointOfVertex[triangles[t + 1]];
            const std::uint32_t c = mesh.pointOfVertex[triangles[t + 2]];
            // Twice the area times the unit normal: large faces count more.
            const Vec3d areaNormal = cross(points[b] - points[a], points[c] - points[a]);
            if (!isFinite(areaNormal)) continue;
            normals[a] += areaNormal;
            normals[b] += areaNormal;
            normals[c] += areaNormal;
        }
    }
    for (Vec3d& normal : normals) normal = normalise(normal);
}

} // namespace talvisora::host
