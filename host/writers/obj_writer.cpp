// SPDX-License-Identifier: Apache-2.0
// One frame is one string, written at once: an .obj of a million points is some 60 MB, and frames go one by
// one.
#include "host/writers/obj_writer.h"

#include "host/writers/atomic_file.h"

#include <charconv>
#include <cstdlib>

namespace talvisora::host {

namespace {

void putNumber(std::string& text, double value) {
    char digits[40];
    const std::to_chars_result end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 9);
    text.append(digits, end.ptr);
}

void putNumber(std::string& text, std::uint64_t value) {
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    text.append(digits, end.ptr);
}

void putLine(std::string& text, const char* keyword, const Vec3d& v) {
    text += keyword;
    for (const double value : {v.x, v.y, v.z}) {
        text += ' ';
        putNumber(text, value);
    }
    text += '\n';
}

// Names end at the first white space for many readers, and a line break would begin a new statement.
std::string objectName(const OutputMesh& mesh, std::size_t number) {
    if (mesh.name.empty()) return "mesh" + std::to_string(number + 1);
    std::string name = mesh.name;
    for (char& c : name) {
        if (static_cast<unsigned char>(c) <= ' ' || c == 0x7f) c = '_';
    }
    return name;
}

} // namespace

std::string framePath(const std::string& pattern, int frame) {
    std::string digits = std::to_string(std::llabs(frame));
    const std::string sign = frame < 0 ? "-" : "";
    const auto padded = [&](std::size_t width) {
        return sign + (digits.size() < width ? std::string(width - digits.size(), '0') : "") + digits;
    };
    const std::size_t slash = pattern.find_last_of("/\\");
    const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    const std::size_t runEnd = pattern.find_last_of('#');
    if (runEnd != std::string::npos && runEnd >= nameStart) {
        std::size_t runStart = runEnd;
        while (runStart > nameStart && pattern[runStart - 1] == '#') --runStart;
        return pattern.substr(0, runStart) + padded(runEnd + 1 - runStart) + pattern.substr(runEnd + 1);
    }
    const std::size_t dot = pattern.find_last_of('.');
    // A dot in front is a hidden file's name, not an extension.
    const std::size_t end = dot == std::string::npos || dot <= nameStart ? pattern.size() : dot;
    return pattern.substr(0, end) + "." + padded(4) + pattern.substr(end);
}

void writeObj(const std::string& path, const std::vector<OutputMesh>& meshes,
              const std::vector<Vec3d>& points, bool withNormals) {
    AtomicFile file(path);
    checkMeshes(meshes, points.size(), path);
    checkPoints(points, points.size(), 1.0, 1, path);
    std::vector<Vec3d> normals;
    if (withNormals) smoothNormals(meshes, points, normals);

    std::string text = "# talvisora\n";
    std::uint64_t vertexBase = 1, uvBase = 1; // .obj counts from 1, through all objects of the file
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        const OutputMesh& mesh = meshes[m];
        text += "o " + objectName(mesh, m) + "\n";
        for (const std::uint32_t point : mesh.pointOfVertex) putLine(text, "v", points[point]);
        for (const std::array<float, 2>& uv : mesh.uvs) {
            text += "vt ";
            putNumber(text, static_cast<double>(uv[0]));
            text += ' ';
            putNumber(text, static_cast<double>(uv[1]));
            text += '\n';
        }
        if (withNormals) {
            for (const std::uint32_t point : mesh.pointOfVertex) putLine(text, "vn", normals[point]);
        }
        std::size_t first = 0;
        for (const std::uint32_t count : mesh.faceCounts) {
            if (count >= 3) {
                text += 'f';
                for (std::size_t corner = first; corner < first + count; ++corner) {
                    const std::uint64_t vertex = mesh.faceVertices[corner];
                    text += ' ';
                    putNumber(text, vertexBase + vertex);
                    if (!mesh.uvs.empty() || withNormals) text += '/';
                    if (!mesh.uvs.empty()) putNumber(text, uvBase + vertex);
                    if (withNormals) {
                        text += '/';
                        putNumber(text, vertexBase + vertex);
                    }
                }
                text += '\n';
            }
            first += count;
        }
        vertexBase += mesh.pointOfVertex.size();
        uvBase += mesh.uvs.size();
    }
    file.write(text);
    file.commit();
}

} // namespace talvisora::host
