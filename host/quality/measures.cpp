// SPDX-License-Identifier: Apache-2.0
#include "host/quality/measures.h"

#include "host/quality/crossings.h"

#include <algorithm>

namespace talvisora::host {

double enclosedVolume(const std::vector<Vec3d>& points, const std::vector<Triangle>& triangles) {
    if (points.empty()) return 0.0;
    // Against a point nearby: far from the origin the parts would cancel badly.
    const Vec3d origin = points.front();
    double sum = 0.0;
    for (const Triangle& t : triangles)
        sum += dot(points[t[0]] - origin, cross(points[t[1]] - origin, points[t[2]] - origin));
    return sum / 6.0;
}

double ringArea(const std::vector<Vec3d>& points, const std::vector<std::uint32_t>& ring) {
    Vec3d sum;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const Vec3d& origin = points[ring.front()];
        sum += cross(points[ring[k]] - origin, points[ring[(k + 1) % ring.size()]] - origin);
    }
    return length(sum) / 2.0;
}

LimbMeasures measureLimb(const Limb& limb, const std::vector<Vec3d>& points, std::vector<bool>* crossing) {
    LimbMeasures m;
    const std::vector<Vec3d>& rest = limb.character.points;
    const std::vector<Triangle> triangles = limb.character.pointTriangles();
    for (const Vec3d& p : points) m.brokenPoints += isFinite(p) ? 0 : 1;
    m.volume = enclosedVolume(points, triangles) / enclosedVolume(rest, triangles);
    m.crossSection = HUGE_VAL;
    for (const auto& ring : limb.rings)
        m.crossSection = std::min(m.crossSection, ringArea(points, ring) / ringArea(rest, ring));
    m.edgeStretch = 0.0;
    for (const Triangle& t : triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t a = t[k], b = t[(k + 1) % 3];
            m.edgeStretch =
                std::max(m.edgeStretch, length(points[b] - points[a]) / length(rest[b] - rest[a]));
        }
    }
    const std::vector<bool> crosses = crossingTriangles(points, triangles);
    m.crossingFaces = static_cast<std::size_t>(std::count(crosses.begin(), crosses.end(), true));
    if (crossing) *crossing = crosses;
    return m;
}

} // namespace talvisora::host
