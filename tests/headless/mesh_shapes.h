// SPDX-License-Identifier: Apache-2.0
// Closed meshes whose inside is known, for the tests of mesh queries.
#pragma once

#include "scene/scene.h"

#include <cmath>
#include <map>
#include <tuple>
#include <vector>

namespace mesh_shapes {

struct Shape {
    std::vector<headless::Position> points;
    std::vector<int> counts;
    std::vector<int> vertices;

    void face(const std::vector<int>& corners) {
        counts.push_back(static_cast<int>(corners.size()));
        vertices.insert(vertices.end(), corners.begin(), corners.end());
    }
};

/// Ring of radius 1 around the z axis, tube of radius 0.4; two triangles per cell.
inline Shape torus(int around, int across) {
    const double turn = 2.0 * 3.14159265358979323846;
    Shape shape;
    for (int i = 0; i < around; ++i) {
        for (int j = 0; j < across; ++j) {
            const double a = turn * i / around, b = turn * j / across, r = 1.0 + 0.4 * std::cos(b);
            shape.points.push_back({r * std::cos(a), r * std::sin(a), 0.4 * std::sin(b)});
        }
    }
    const auto at = [&](int i, int j) { return (i % around) * across + j % across; };
    for (int i = 0; i < around; ++i) {
        for (int j = 0; j < across; ++j) {
            shape.face({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            shape.face({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    }
    return shape;
}

/// Cube [0, 1]³ of n × n quads per side; all coordinates are multiples of 1/n.
inline Shape griddedCube(int n) {
    Shape shape;
    std::map<std::tuple<int, int, int>, int> known;
    const auto vertex = [&](int x, int y, int z) {
        const auto made = known.emplace(std::make_tuple(x, y, z), static_cast<int>(shape.points.size()));
        if (made.second) {
            shape.points.push_back(
                {static_cast<double>(x) / n, static_cast<double>(y) / n, static_cast<double>(z) / n});
        }
        return made.first->second;
    };
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            for (int end : {0, n}) {
                shape.face({vertex(end, i, j), vertex(end, i + 1, j), vertex(end, i + 1, j + 1),
                            vertex(end, i, j + 1)});
                shape.face({vertex(i, end, j), vertex(i + 1, end, j), vertex(i + 1, end, j + 1),
                            vertex(i, end, j + 1)});
                shape.face({vertex(i, j, end), vertex(i + 1, j, end), vertex(i + 1, j + 1, end),
                            vertex(i, j + 1, end)});
            }
        }
    }
    return shape;
}

} // namespace mesh_shapes
