// SPDX-License-Identifier: Apache-2.0
#include "host/draw/depth_map.h"

#include "host/picture/cells.h"

namespace talvisora::host {

ScreenPlace toScreen(const Vec3d& point, const Camera& camera, int width, int height) {
    const Vec3d offset = point - camera.eye;
    const double depth = dot(offset, camera.forward);
    if (!(depth > camera.nearest) || !isFinite(point)) return {};
    const double scale = camera.focal * height / 2.0;
    return {width / 2.0 + scale * dot(offset, camera.right) / depth,
            height / 2.0 - scale * dot(offset, camera.up) / depth, 1.0 / depth};
}

DepthMap::DepthMap(const std::vector<Vec3d>& points,
                   const std::vector<std::array<std::uint32_t, 3>>& triangles, const Camera& camera,
                   int width, int height)
    : width_(width),
      height_(height),
      nearness_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0.0),
      triangle_(nearness_.size(), -1) {
    std::vector<ScreenPlace> places;
    places.reserve(points.size());
    for (const Vec3d& p : points) places.push_back(toScreen(p, camera, width, height));
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        const ScreenPlace &p = places[triangles[t][0]], &q = places[triangles[t][1]],
                          &r = places[triangles[t][2]];
        if (p.nearness == 0.0 || q.nearness == 0.0 || r.nearness == 0.0) continue;
        forEachCell(
            {p.x, q.x, r.x}, {p.y, q.y, r.y}, width, height, [&](int x, int y, double a, double b, double c) {
                const double near = a * p.nearness + b * q.nearness + c * r.nearness;
                const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                                       static_cast<std::size_t>(x);
                if (near <= nearness_[at]) return;
                nearness_[at] = near;
                triangle_[at] = static_cast<int>(t);
            });
    }
}

bool DepthMap::hides(const ScreenPlace& place, double slack) const {
    if (!(place.x >= 0.0 && place.y >= 0.0 && place.x < width_ && place.y < height_)) return false;
    const double near = nearness_[static_cast<std::size_t>(place.y) * static_cast<std::size_t>(width_) +
                                  static_cast<std::size_t>(place.x)];
    return near > 0.0 && place.nearness > 0.0 && 1.0 / place.nearness - 1.0 / near > slack;
}

int DepthMap::triangleAt(int x, int y) const {
    return triangle_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                     static_cast<std::size_t>(x)];
}

} // namespace talvisora::host
