// SPDX-License-Identifier: Apache-2.0
// For a fixed set of directions the character is drawn from far away into a small depth map; a point is open
// in a direction when nothing lies before it there. One map serves a direction and its opposite. The answers
// per point are soft because the directions are many, so the maps can be coarse.
#include "host/picture/occlusion.h"

#include "host/picture/cells.h"
#include "host/picture/render.h"

namespace talvisora::host {

namespace {

constexpr int kAxes = 40; // pairs of opposite directions, spread evenly
constexpr int kKeyDirections = 16;
constexpr double kKeySpread = 0.22; // radius of the key light, as a tangent
constexpr int kMapSize = 160;
constexpr double kStandOff = 2.0; // cells by which a point is lifted off its surface before it looks round
constexpr double kGoldenAngle = 2.39996322972865332;

// Nearest and farthest depth along one axis, seen as a square grid of cells.
class DepthMap {
public:
    DepthMap(const Vec3d& middle, double radius, const Vec3d& axis)
        : middle_(middle), cell_(2.0 * radius / kMapSize) {
        axis_ = axis;
        const Vec3d helper = std::abs(axis.x) < 0.6 ? Vec3d{1.0, 0.0, 0.0} : Vec3d{0.0, 1.0, 0.0};
        u_ = normalise(cross(helper, axis_));
        v_ = cross(axis_, u_);
        low_.assign(static_cast<std::size_t>(kMapSize) * kMapSize, HUGE_VAL);
        high_.assign(low_.size(), -HUGE_VAL);
    }

    void draw(const std::vector<Vec3d>& points, const std::vector<std::uint32_t>& triangles) {
        seen_.resize(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) seen_[i] = toMap(points[i]);
        for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
            const Vec3d &p = seen_[triangles[t]], &q = seen_[triangles[t + 1]], &r = seen_[triangles[t + 2]];
            forEachCell({p.x, q.x, r.x}, {p.y, q.y, r.y}, kMapSize, kMapSize,
                        [&](int column, int row, double a, double b, double c) {
                            const double depth = a * p.z + b * q.z + c * r.z;
                            const std::size_t cell = cellAt(column, row);
                            low_[cell] = std::min(low_[cell], depth);
                            high_[cell] = std::max(high_[cell], depth);
                        });
        }
    }

    /// Whether nothing lies before `point` along the axis (`forward`) or against it.
    bool open(const Vec3d& point, bool forward) const {
        const Vec3d p = toMap(point);
        if (!(p.x >= 0.0 && p.y >= 0.0 && p.x < kMapSize && p.y < kMapSize)) return true;
        const std::size_t cell = cellAt(static_cast<int>(p.x), static_cast<int>(p.y));
        return forward ? p.z >= high_[cell] - kStandOff : p.z <= low_[cell] + kStandOff;
    }

private:
    static std::size_t cellAt(int column, int row) {
        return static_cast<std::size_t>(row) * kMapSize + static_cast<std::size_t>(column);
    }
    Vec3d toMap(const Vec3d& point) const {
        const Vec3d offset = (point - middle_) / cell_;
        return {dot(offset, u_) + kMapSize / 2.0, dot(offset, v_) + kMapSize / 2.0, dot(offset, axis_)};
    }

    Vec3d middle_, axis_, u_, v_;
    double cell_;
    std::vector<double> low_, high_;
    std::vector<Vec3d> seen_; // the points in cells, depth in z
};

} // namespace

std::vector<Openness> openness(const std::vector<Vec3d>& points, const std::vector<Vec3d>& normals,
                               const std::vector<std::uint32_t>& triangles, const Vec3d& keyDirection) {
    std::vector<Openness> result(points.size());
    Bounds bounds;
    bounds.add(points);
    const double radius = bounds.empty() ? 0.0 : length(bounds.high - bounds.low) / 2.0;
    if (!(radius > 0.0) || !std::isfinite(radius)) return result;
    const Vec3d middle = bounds.low * 0.5 + bounds.high * 0.5;
    const double standOff = kStandOff * 2.0 * radius / kMapSize;

    std::vector<std::array<double, 2>> seen(points.size(), {0.0, 0.0}), possible = seen;
    // Adds what `direction` brings to every point: weighted by how squarely it meets the surface, or alike.
    const auto look = [&](const DepthMap& map, const Vec3d& direction, bool forward, bool squarely) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            if (!isFinite(points[i])) continue;
            const double facing = dot(normals[i], direction);
            const std::size_t side = facing >= 0.0 ? 0 : 1;
            const double weight = squarely ? std::abs(facing) : 1.0;
            const Vec3d lifted = points[i] + normals[i] * (side == 0 ? standOff : -standOff);
            possible[i][side] += weight;
            if (map.open(lifted, forward)) seen[i][side] += weight;
        }
    };
    const auto share = [&](std::size_t i, std::size_t side) {
        return possible[i][side] > 0.0 ? static_cast<float>(seen[i][side] / possible[i][side]) : 1.0f;
    };

    for (int k = 0; k < kAxes; ++k) {
        // A spiral from the pole to the equator: even spacing on the half sphere.
        const double height = 1.0 - (k + 0.5) / kAxes, aside = std::sqrt(1.0 - height * height);
        const Vec3d axis{aside * std::cos(k * kGoldenAngle), height, aside * std::sin(k * kGoldenAngle)};
        DepthMap map(middle, radius, axis);
        map.draw(points, triangles);
        look(map, axis, true, true);
        look(map, -axis, false, true);
    }
    for (std::size_t i = 0; i < points.size(); ++i) result[i].around = {share(i, 0), share(i, 1)};

    seen.assign(points.size(), {0.0, 0.0});
    possible = seen;
    const Vec3d helper = std::abs(keyDirection.x) < 0.6 ? Vec3d{1.0, 0.0, 0.0} : Vec3d{0.0, 1.0, 0.0};
    const Vec3d across = normalise(cross(helper, keyDirection)), upwards = cross(keyDirection, across);
    for (int k = 0; k < kKeyDirections; ++k) {
        const double aside = kKeySpread * std::sqrt((k + 0.5) / kKeyDirections);
        const Vec3d axis = normalise(keyDirection + across * (aside * std::cos(k * kGoldenAngle)) +
                                     upwards * (aside * std::sin(k * kGoldenAngle)));
        DepthMap map(middle, radius, axis);
        map.draw(points, triangles);
        look(map, axis, true, false);
    }
    for (std::size_t i = 0; i < points.size(); ++i) result[i].key = {share(i, 0), share(i, 1)};
    return result;
}

} // namespace talvisora::host
