// SPDX-License-Identifier: Apache-2.0
// What a camera sees of a mesh, pixel by pixel: the nearest triangle and how near it is. Tells which labels
// are hidden and which triangles a drawing needs at all.
#pragma once

#include "host/picture/render.h"

#include <array>
#include <cstdint>
#include <vector>

namespace talvisora::host {

/// A place on the picture, in pixels from the top left. `nearness` is 1 / depth, 0 at or behind the nearest
/// plane: x and y mean nothing then.
struct ScreenPlace {
    double x = 0.0, y = 0.0, nearness = 0.0;
};

ScreenPlace toScreen(const Vec3d& point, const Camera& camera, int width, int height);

class DepthMap {
public:
    /// triangles  indices into points, all in range. width and height are at least 1.
    DepthMap(const std::vector<Vec3d>& points, const std::vector<std::array<std::uint32_t, 3>>& triangles,
             const Camera& camera, int width, int height);

    /// Whether the mesh lies before the place by more than `slack` (a length). Places outside the picture
    /// are not hidden.
    bool hides(const ScreenPlace& place, double slack) const;

    /// The nearest triangle at a pixel, -1 for none; x and y must lie inside.
    int triangleAt(int x, int y) const;

    int width() const { return width_; }
    int height() const { return height_; }

private:
    int width_, height_;
    std::vector<double> nearness_;
    std::vector<int> triangle_;
};

} // namespace talvisora::host
