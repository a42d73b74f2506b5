// SPDX-License-Identifier: Apache-2.0
// The one loop that fills triangles: samples of the picture, cells of the ground's shade and of the maps that
// tell what hides what are all filled by it.
#pragma once

#include <algorithm>
#include <cmath>

namespace talvisora::host {

/// Calls visit(column, row, a, b, c) for each cell of a grid whose middle lies in a triangle or on its edge;
/// a, b and c are the shares of the corners and sum to 1. Cell (i, j) has its middle at (i + 0.5, j + 0.5).
/// u, v  the corners in cells, in either order of turn; a triangle without area or with a corner that is not
/// finite
///       has no cells.
template <typename Visit>
void forEachCell(const double (&u)[3], const double (&v)[3], int columns, int rows, Visit visit) {
    const double area = (u[1] - u[0]) * (v[2] - v[0]) - (u[2] - u[0]) * (v[1] - v[0]);
    if (area == 0.0 || !std::isfinite(area)) return;
    // Clamped before it becomes a whole number: a point beside the eye projects arbitrarily far out.
    const auto clamped = [](double value, int size) {
        return static_cast<int>(std::clamp(std::floor(value), 0.0, static_cast<double>(size)));
    };
    const int left = clamped(std::min({u[0], u[1], u[2]}) - 0.5, columns);
    const int right = clamped(std::max({u[0], u[1], u[2]}) + 0.5, columns);
    const int top = clamped(std::min({v[0], v[1], v[2]}) - 0.5, rows);
    const int bottom = clamped(std::max({v[0], v[1], v[2]}) + 0.5, rows);
    const auto share = [&](std::size_t from, std::size_t to, double x, double y) {
        return ((u[to] - u[from]) * (y - v[from]) - (v[to] - v[from]) * (x - u[from])) / area;
    };
    for (int row = top; row < bottom; ++row) {
        for (int column = left; column < right; ++column) {
            const double x = column + 0.5, y = row + 0.5;
            const double a = share(1, 2, x, y), b = share(2, 0, x, y), c = share(0, 1, x, y);
            if (a >= 0.0 && b >= 0.0 && c >= 0.0) visit(column, row, a, b, c);
        }
    }
}

} // namespace talvisora::host
